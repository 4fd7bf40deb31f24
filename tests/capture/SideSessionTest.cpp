#include "AudioTestSupport.h"
#include "capture/Localization.h"
#include "capture/SideSession.h"
#include "capture/TakeFolder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <sndfile.h>
#include <sys/mount.h>
#include <sys/stat.h>

using namespace Tolm;
using Capture::SideSession;
using Capture::TakeFolder;

namespace {

constexpr UInt32 kBlock = 512;

SF_INFO ReadInfo(const QString& path)
{
    SF_INFO info{};
    if (SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info))
        sf_close(sf);
    return info;
}

class SideSessionTest : public Tolm::Test::VirtualRig {
  protected:
    void SetUp() override
    {
        VirtualRig::SetUp();
        UseStateFolder(state.path());
        bus->Add(0x08bb, 0x2902);
        codec = AddInput("USB Audio CODEC ", [](UInt64 frame, UInt32) { return float(frame % 100) / 200.0f; });
        audio = std::make_unique<Capture::Audio>(&alerts);
        ASSERT_EQ(audio->detectAudioDevice(), Capture::Audio::kDetectSelected);
        audio->startPlayThru();
    }

    void TearDown() override
    {
        audio.reset();
        VirtualRig::TearDown();
    }

    static void UseStateFolder(const QString& folder) { qputenv("XDG_STATE_HOME", QFile::encodeName(folder)); }

    void Pump(UInt32 frames) { hardware->Pump(codec, frames); }

    QTemporaryDir state;
    Tolm::Test::RecordedAlerts alerts;
    std::unique_ptr<Capture::Audio> audio;
    AudioDeviceID codec = 0;
};

} // namespace

// Takes sit in a private folder of their own that no other program may take while the
// session runs; they stay until the library has them, and a session that went away without
// finishing is found again with its count.
TEST_F(SideSessionTest, TakesStayInTheirLockedFolderUntilTheyAreTakenOrRecovered)
{
    QString name;
    {
        SideSession session(*audio);
        ASSERT_TRUE(session.start(false));
        Pump(40 * kBlock);
        ASSERT_TRUE(session.newTrack());
        Pump(20 * kBlock);
        session.stop();
        ASSERT_EQ(session.trackCount(), 2u);
        name = session.folder()->name();

        struct stat st {};
        ASSERT_EQ(stat(QFile::encodeName(session.folder()->path()).constData(), &st), 0);
        EXPECT_EQ(st.st_mode & 0777, 0700u);
        EXPECT_TRUE(session.folder()->path().startsWith(state.path() + "/tolm-audio-converter/takes/"));
        const auto takes = session.takes();
        ASSERT_EQ(takes.size(), 2);
        EXPECT_DOUBLE_EQ(takes[0].seconds, 40.0 * kBlock / 44100.0);
        EXPECT_EQ(ReadInfo(takes[1].path).frames, 20 * kBlock);
        EXPECT_TRUE(session.hasTakes());

        EXPECT_TRUE(TakeFolder::Abandoned().isEmpty()) << "a running session is nobody else's";
        EXPECT_THROW(TakeFolder::Open(name), Capture::TakeFolderError);
        session.finish(); // nothing went to the library: everything stays
        EXPECT_TRUE(QFile::exists(takes[0].path));
    }

    const auto left = TakeFolder::Abandoned();
    ASSERT_EQ(left.size(), 1);
    EXPECT_EQ(left[0].name, name);
    EXPECT_EQ(left[0].tracks, 2u);
    EXPECT_NEAR(left[0].seconds, 60.0 * kBlock / 44100.0, 1e-9);

    SideSession later(*audio);
    ASSERT_TRUE(later.recover(name)) << qPrintable(later.errorText());
    EXPECT_EQ(later.trackCount(), 2u);
    EXPECT_EQ(audio->numRecordedTracks(), 2u);
    // As the export does: each take goes once the library has it.
    QFile::remove(later.takePath(1));
    later.finish();
    EXPECT_EQ(TakeFolder::Abandoned().size(), 1) << "the track the library did not take waits";
    ASSERT_TRUE(later.recover(name));
    QFile::remove(later.takePath(2));
    later.finish();
    EXPECT_TRUE(QDir(TakeFolder::Root()).isEmpty());
}

// The disk fills up while recording: the recording stops at once, every buffer that reached
// the disk is kept and readable, the user is told how many tracks are kept, and the next
// recording of the same process writes again (the shared work thread lives on).
TEST_F(SideSessionTest, AFullDiskStopsTheRecordingKeepsWhatWasWrittenAndTheNextRecordingWorks)
{
    QTemporaryDir small;
    const QByteArray where = QFile::encodeName(small.path());
    if (mount("tmpfs", where.constData(), "tmpfs", 0, "size=1m") != 0)
        GTEST_SKIP() << "a small disk needs a tmpfs mount, which this user may not make";
    const std::shared_ptr<void> unmount(nullptr, [&](void*) { umount2(where.constData(), MNT_DETACH); });
    UseStateFolder(small.path());

    SideSession session(*audio);
    UInt32 keptTracks = 0;
    QString told;
    QObject::connect(&session, &SideSession::recordingFailed, [&](UInt32 kept, const QString& message) {
        keptTracks = kept;
        told = message;
    });
    ASSERT_TRUE(session.start(false));
    Pump(20 * kBlock);
    ASSERT_TRUE(session.newTrack());
    const QString full = session.takePath(2);
    // Far more than fits, at the pace a work thread can follow.
    EXPECT_TRUE(Tolm::Test::ProcessEventsUntil([&] {
        Pump(8 * kBlock);
        return !told.isEmpty();
    }));
    EXPECT_FALSE(session.recording());
    EXPECT_EQ(keptTracks, 2u);
    EXPECT_EQ(told, Tolm::Localized("The disk is full. Recording stopped; the %1 tracks recorded so far are kept.").arg(2));
    EXPECT_EQ(ReadInfo(session.takePath(1)).frames, 20 * kBlock);
    const SF_INFO written = ReadInfo(full);
    EXPECT_GE(written.frames, 32768) << "at least one whole buffer reached the disk";
    EXPECT_EQ(written.channels, 2);

    UseStateFolder(state.path());
    ASSERT_TRUE(session.start(false));
    Pump(100 * kBlock);
    session.stop();
    EXPECT_EQ(session.trackCount(), 1u);
    EXPECT_EQ(ReadInfo(session.takePath(1)).frames, 100 * kBlock);
}
