#include "library/LibraryExport.h"

#include "LibraryTestSupport.h"
#include "capture/AlertPresenter.h"
#include "library/LibrarySettings.h"
#include "library/NamingField.h"
#include "library/TrackTags.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

using namespace Tolm::Library;

namespace {

using namespace std::chrono_literals;

// Recorded track files in a scratch folder, as the Audio controller leaves them.
class ScratchTracks final : public RecordedTracks {
  public:
    explicit ScratchTracks(QString folder) : mFolder(std::move(folder)) {}

    void record(UInt32 count)
    {
        mCount = count;
        for (UInt32 i = 1; i <= count; ++i)
            Tolm::Test::WriteTrackFile(fileNameForTrack(i), 44100, 2205);
    }
    UInt32 numRecordedTracks() override { return mCount; }
    QString fileNameForTrack(UInt32 track) override
    {
        return QDir(mFolder).filePath(QStringLiteral("TolmACTmpFile.%1.wav").arg(track));
    }
    void resetTrackCounter() override { mCount = 0; }

  private:
    QString mFolder;
    std::atomic<UInt32> mCount{0};
};

class FixedNames final : public TrackNaming {
  public:
    QString artist(UInt32) override { return QStringLiteral("Artist"); }
    QString album(UInt32) override { return mAlbum; }
    QString title(UInt32 track, UInt32) override { return QStringLiteral("Song %1").arg(track); }
    AlbumTags albumTags(UInt32) override { return mAlbumTags; }

    QString mAlbum = QStringLiteral("Album");
    AlbumTags mAlbumTags;
};

// What the export showed. The test reads the lists only after the export's thread has ended.
class RecordingView final : public ExportView {
  public:
    void exportStarted(UInt32 trackCount) override
    {
        mStarted = trackCount;
        mProgress.clear();
        mFiled.clear();
    }
    void setProgress(UInt32 tracksDone) override { mProgress.push_back(tracksDone); }
    void stopSpinner() override {}
    void libraryNotAnswering(OSStatus status) override
    {
        mLastStatus = status;
        mNotAnswering++;
    }
    void trackFiled(UInt32 track, const QString& path) override
    {
        mFiled.push_back(path);
        if (mOnFiled)
            mOnFiled(track);
    }
    void trackKept(UInt32 track, const QString&, const QString& reason) override
    {
        mKeptTrack = track;
        mKeptReason = reason;
    }

    UInt32 mStarted = 0;
    std::vector<UInt32> mProgress;
    std::vector<QString> mFiled;
    UInt32 mKeptTrack = 0;
    QString mKeptReason;
    std::atomic<int> mNotAnswering{0};
    std::atomic<OSStatus> mLastStatus{0};
    std::function<void(UInt32)> mOnFiled;
};

class CountingAlerts final : public Tolm::Capture::AlertPresenter {
  public:
    void ShowAlert(const QString& titleKey, const QString& messageKey, const QString&) override
    {
        EXPECT_EQ(titleKey, QStringLiteral("IDS_WARNING"));
        EXPECT_EQ(messageKey, QStringLiteral("IDS_ITUNES_ERROR"));
        mShown++;
    }
    std::atomic<int> mShown{0};
};

bool WaitFor(const std::function<bool()>& condition)
{
    const auto until = std::chrono::steady_clock::now() + 120s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

class LibraryExportTest : public ::testing::Test {
  protected:
    LibraryExportTest() : mTracks(mLibrary.scratch()), mExport(mTracks, mNames, mView, mAlerts, Options()) {}

    static LibraryExport::Options Options()
    {
        LibraryExport::Options options;
        options.retryPause = 20ms;
        return options;
    }

    void start(UInt32 tracks)
    {
        mTracks.record(tracks);
        mExport.processAudioFiles(false);
    }
    void finish()
    {
        ASSERT_TRUE(WaitFor([this] { return mExport.pollingTimerFired(); }));
        mExport.waitUntilDone();
    }
    // Exports `count` freshly recorded tracks and returns the track numbers they were tagged with.
    std::vector<int> exportSide(UInt32 count)
    {
        start(count);
        finish();
        std::vector<int> numbers;
        for (const QString& file : mView.mFiled)
            numbers.push_back(ReadTrackTags(file).value_or(TrackTags{}).trackNumber.toInt());
        return numbers;
    }
    bool trackFileKept(UInt32 track) { return QFileInfo::exists(mTracks.fileNameForTrack(track)); }
    QString absentFolder() const
    {
        return QDir(mLibrary.scratch()).filePath(QStringLiteral("usb-drive/Music"));
    }

    Tolm::Test::TemporaryLibrary mLibrary;
    ScratchTracks mTracks;
    FixedNames mNames;
    RecordingView mView;
    CountingAlerts mAlerts;
    LibraryExport mExport;
};

} // namespace

TEST_F(LibraryExportTest, ASecondSideOfTheSameAlbumContinuesTheNumbering)
{
    EXPECT_EQ(exportSide(8), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(mView.mStarted, 8u);
    EXPECT_EQ(mView.mProgress, (std::vector<UInt32>{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(mTracks.numRecordedTracks(), 0u) << "the track counter is reset";
    for (UInt32 i = 1; i <= 8; ++i)
        EXPECT_FALSE(trackFileKept(i)) << "track file " << i << " is deleted";

    EXPECT_EQ(exportSide(6), (std::vector<int>{9, 10, 11, 12, 13, 14}));
    EXPECT_TRUE(
        QFileInfo::exists(QDir(mLibrary.folder()).filePath(QStringLiteral("Artist/Album/14 Song 6.flac"))));
    // The saved count is the last side's alone, as it always was: a third side starts at 7.
    EXPECT_EQ(exportSide(2), (std::vector<int>{7, 8}));
    EXPECT_EQ(mExport.saveTracks(), 2u);

    mNames.mAlbum = QStringLiteral("Another Album");
    EXPECT_EQ(exportSide(3), (std::vector<int>{1, 2, 3}));
    mNames.mAlbum = QStringLiteral("another album"); // names compare exactly
    EXPECT_EQ(exportSide(1), (std::vector<int>{1}));
    EXPECT_EQ(mAlerts.mShown.load(), 0);
    EXPECT_FALSE(mExport.pollingTimerFired()) << "the done flag is taken once";
}

TEST_F(LibraryExportTest, TracksCarryTheirTotalAndANamedSideIsADiscOfItsOwn)
{
    exportSide(2);
    exportSide(3);
    auto tags = ReadTrackTags(mView.mFiled.back()).value_or(TrackTags{});
    EXPECT_EQ(tags.trackNumber, QStringLiteral("5"));
    EXPECT_EQ(tags.trackTotal, 5) << "the total is the last number known";
    EXPECT_EQ(tags.albumArtist, QStringLiteral("Artist"));
    EXPECT_EQ(tags.disc, 0);

    mNames.mAlbumTags = {QStringLiteral("Various"), 0, 2, QStringLiteral("1979")};
    EXPECT_EQ(exportSide(3), (std::vector<int>{1, 2, 3}));
    tags = ReadTrackTags(mView.mFiled.back()).value_or(TrackTags{});
    EXPECT_EQ(tags.trackTotal, 3);
    EXPECT_EQ(tags.disc, 2);
    EXPECT_EQ(tags.date, QStringLiteral("1979"));
    EXPECT_EQ(tags.albumArtist, QStringLiteral("Various"));
    EXPECT_EQ(tags.artist, QStringLiteral("Artist"));
    EXPECT_EQ(mView.mFiled.back(), QDir(mLibrary.folder()).filePath(QStringLiteral("Artist/Album/2-03 Song 3.flac")))
        << "the sides' files sort apart";
}

TEST_F(LibraryExportTest, WaitsForAMissingLibraryFolderAndLosesNoTrack)
{
    LibrarySettings::overrideFolder(absentFolder());
    start(3);
    ASSERT_TRUE(WaitFor([this] { return mView.mNotAnswering.load() >= 3; }));
    EXPECT_EQ(mView.mLastStatus.load(), -1753);
    EXPECT_GE(mAlerts.mShown.load(), 3);
    EXPECT_FALSE(mExport.pollingTimerFired());
    for (UInt32 i = 1; i <= 3; ++i)
        EXPECT_TRUE(trackFileKept(i));

    ASSERT_TRUE(QDir().mkpath(absentFolder())); // the drive is plugged in
    finish();
    EXPECT_EQ(mView.mFiled.size(), 3u);
    for (UInt32 i = 1; i <= 3; ++i) {
        EXPECT_FALSE(trackFileKept(i));
        EXPECT_TRUE(QFileInfo::exists(
            QDir(absentFolder())
                .filePath(
                    QStringLiteral("Artist/Album/%1 Song %2.flac").arg(i, 2, 10, QLatin1Char('0')).arg(i))));
    }
}

TEST_F(LibraryExportTest, AStopWhileWaitingKeepsEveryTrack)
{
    LibrarySettings::overrideFolder(absentFolder());
    start(2);
    ASSERT_TRUE(WaitFor([this] { return mView.mNotAnswering.load() >= 1; }));
    mExport.requestStop();
    finish();
    EXPECT_TRUE(mExport.stopped());
    EXPECT_EQ(mTracks.numRecordedTracks(), 2u);
    EXPECT_TRUE(trackFileKept(1) && trackFileKept(2));
}

TEST_F(LibraryExportTest, ATrackIsImportedAgainWhenTheLibraryGoesAwayAfterIt)
{
    const QString drive = mLibrary.folder();
    std::atomic<bool> pulled{false};
    mView.mOnFiled = [&](UInt32 track) {
        if (track == 2 && !pulled.exchange(true))
            QDir().rename(drive, QDir(mLibrary.scratch()).filePath(QStringLiteral("unplugged")));
    };
    start(3);
    ASSERT_TRUE(WaitFor([this] { return mView.mNotAnswering.load() >= 2; }));
    EXPECT_TRUE(trackFileKept(2)) << "kept until the library answers";
    ASSERT_TRUE(QDir().mkpath(drive));
    finish();

    const QDir album(QDir(drive).filePath(QStringLiteral("Artist/Album")));
    EXPECT_TRUE(album.exists(QStringLiteral("02 Song 2.flac")));
    EXPECT_TRUE(album.exists(QStringLiteral("03 Song 3.flac")));
    for (UInt32 i = 1; i <= 3; ++i)
        EXPECT_FALSE(trackFileKept(i));
}

TEST_F(LibraryExportTest, ATrackThatCannotBeImportedIsKept)
{
    mTracks.record(3);
    QFile broken(mTracks.fileNameForTrack(2));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly | QIODevice::Truncate));
    broken.write("not audio");
    broken.close();
    mExport.processAudioFiles(false);
    finish();
    EXPECT_EQ(mExport.keptTracks(), 1u);
    EXPECT_EQ(mView.mKeptTrack, 2u);
    EXPECT_FALSE(mView.mKeptReason.isEmpty());
    EXPECT_TRUE(trackFileKept(2));
    EXPECT_EQ(mView.mFiled.size(), 2u);
    // Nothing half-converted is left in the library, nor a copy of the recording.
    EXPECT_EQ(Tolm::Test::FilesBelow(mLibrary.folder()),
              (QStringList{QStringLiteral("Artist/Album/01 Song 1.flac"),
                           QStringLiteral("Artist/Album/03 Song 3.flac")}));
    EXPECT_EQ(mView.mProgress, (std::vector<UInt32>{1, 2, 3}));
}

TEST(NamingField, TitlesComeFromThePanelOfTheirTrack)
{
    EXPECT_EQ(ArtistField(1), (NamingField{4, 10}));
    EXPECT_EQ(AlbumField(1), (NamingField{4, 11}));
    EXPECT_EQ(TitleField(1, 1), (NamingField{4, 12}));
    EXPECT_EQ(ArtistField(2), (NamingField{7, 51}));
    EXPECT_EQ(AlbumField(40), (NamingField{7, 52}));
    EXPECT_EQ(TitleField(1, 2), (NamingField{7, 61}));
    EXPECT_EQ(TitleField(10, 12), (NamingField{7, 70}));
    EXPECT_EQ(TitleField(11, 12), (NamingField{8, 71}));
    EXPECT_EQ(TitleField(21, 30), (NamingField{9, 81}));
    EXPECT_EQ(TitleField(40, 40), (NamingField{10, 100}));
}
