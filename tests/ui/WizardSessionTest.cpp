// One record from start to finish, as a user goes through it: connect, turntable, level,
// Record, the side splits itself at its gaps and ends by itself, the tracks checked and
// corrected, names typed, the tracks exported into a music library, and the question
// whether to record another.

#include "WizardTestSupport.h"
#include "library/LibrarySettings.h"
#include "ui/TrackCheckPanel.h"
#include "ui/TrackCheckView.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cmath>
#include <sndfile.h>
#include <taglib/fileref.h>
#include <taglib/tag.h>

using namespace WizardTest;

namespace {

constexpr double kRate = 44100.0;

// A short side: three pieces of 16 s with gaps of 3 s, then silence. The detector needs more
// than 10 s of sound before it may split and more than 60 s of quiet for the end of the side.
struct ShortSide {
    static constexpr double kPiece = 16.0;
    static constexpr double kGap = 3.0;
    static constexpr int kPieces = 3;
    static constexpr double kMusicEnd = kPieces * kPiece + (kPieces - 1) * kGap;
    static constexpr double kLength = kMusicEnd + 66.0;

    static float Sample(UInt64 frame, UInt32 channel)
    {
        const double t = double(frame) / kRate;
        if (t >= kMusicEnd)
            return 0.0f;
        const int piece = int(t / (kPiece + kGap));
        const double within = t - piece * (kPiece + kGap);
        if (within >= kPiece)
            return 0.0f;
        // A tone near the detector's band, each piece its own, a little apart per channel.
        const double hz = 440.0 + 60.0 * piece + (channel ? 3.0 : 0.0);
        return float(0.1 * std::sin(2.0 * M_PI * hz * t));
    }
};

// Interleaved stereo samples of a sound file, as floats.
std::vector<float> ReadSamples(const QString& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (!file)
        return {};
    std::vector<float> samples(std::size_t(info.frames) * std::size_t(info.channels));
    sf_readf_float(file, samples.data(), info.frames);
    sf_close(file);
    return samples;
}

QStringList LibraryFiles(const QString& folder)
{
    QStringList files;
    for (QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
        files << QDir(folder).relativeFilePath(it.next());
    files.sort();
    return files;
}

struct Tags {
    QString artist, album, title;
    unsigned track = 0;
};

Tags ReadTags(const QString& path)
{
    TagLib::FileRef file(QFile::encodeName(path).constData());
    Tags tags;
    if (file.isNull() || !file.tag())
        return tags;
    tags.artist = QString::fromStdString(file.tag()->artist().to8Bit(true));
    tags.album = QString::fromStdString(file.tag()->album().to8Bit(true));
    tags.title = QString::fromStdString(file.tag()->title().to8Bit(true));
    tags.track = file.tag()->track();
    return tags;
}

// A music library in a temporary folder, `below` it, for the test's run.
struct TemporaryLibrary {
    explicit TemporaryLibrary(const char* below) : folder(root.filePath(QString::fromLatin1(below)))
    {
        Tolm::Library::LibrarySettings::overrideFolder(folder);
        Tolm::Library::LibrarySettings::overrideFormat(Tolm::Library::ImportFormat::Flac);
    }
    ~TemporaryLibrary()
    {
        Tolm::Library::LibrarySettings::overrideFolder(std::nullopt);
        Tolm::Library::LibrarySettings::overrideFormat(std::nullopt);
    }
    QTemporaryDir root;
    QString folder;
};

} // namespace

class WizardSessionTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QApplication::setQuitOnLastWindowClosed(false);
        Tolm::InstallTranslations();
    }

    void aRecordFromTurntableToLibrary()
    {
        TemporaryLibrary library("Music");
        QVERIFY(QDir().mkpath(library.folder));
        Wizard wizard({kCodec}, Tolm::Platform::MakeFunctionSource(&ShortSide::Sample));
        Audio& audio = wizard.audio();

        // Connect: a codec that may sit in a turntable or a deck, so the wizard asks.
        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard->selectedPanel(), 11u);
        QVERIFY(wizard.press("selectDevicePlatina"));
        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(wizard.playingThrough());
        QVERIFY(wizard.button(2, "automaticallySplitTracks")->isChecked());

        QVERIFY(wizard.press("nextButton")); // Record
        QCOMPARE(wizard->selectedPanel(), 3u);
        QVERIFY(!wizard.button(3, "splitTracksButton")->isVisible());

        // The side, pumped faster than it plays but paced, so the file writer keeps up.
        constexpr double kSpeedUp = 25.0;
        constexpr UInt32 kChunk = 4096;
        QElapsedTimer clock;
        clock.start();
        UInt64 pumped = 0;
        const UInt64 end = UInt64(ShortSide::kLength * kRate);
        UInt32 mostTracks = 0;
        while (pumped < end && wizard->selectedPanel() == 3) {
            wizard.rig.hardware->Pump(wizard.inputs.front(), kChunk);
            pumped += kChunk;
            QCoreApplication::processEvents();
            mostTracks = std::max(mostTracks, audio.numRecordedTracks());
            const qint64 due = qint64(double(pumped) / kRate / kSpeedUp * 1000.0);
            if (clock.elapsed() < due)
                QTest::qSleep(int(due - clock.elapsed()));
        }
        // The end of the side: the run-out's track is dropped and the tracks are shown.
        QCOMPARE(wizard->selectedPanel(), 13u);
        QVERIFY(!audio.recording());
        QVERIFY(!wizard.playingThrough());
        QCOMPARE(mostTracks, 4u);
        QCOMPARE(audio.numRecordedTracks(), 3u);
        QCOMPARE(wizard.boxes.seen.size(), 0);
        QVERIFY(WaitFor([&] { return wizard->trackCheck()->ready(); }));
        Tolm::Ui::TrackCheckView* side = wizard->trackCheck()->trackView();
        QCOMPARE(side->markers().trackCount(), 3u);
        std::vector<float> recorded;
        for (UInt32 take = 1; take <= 3; ++take) {
            const std::vector<float> samples = ReadSamples(audio.fileNameForTrack(take));
            recorded.insert(recorded.end(), samples.begin(), samples.end());
        }

        // One boundary 50 ms later, one added in the middle of the second piece, and the one
        // before the third piece taken away.
        QTest::keyClick(side, Qt::Key_Right);
        QCOMPARE(side->selectedMarker(), std::optional<std::size_t>(1));
        const std::int64_t moved = side->markers().position(1) + 5 * 441;
        for (int i = 0; i < 5; ++i)
            QTest::keyClick(side, Qt::Key_Right, Qt::ShiftModifier);
        QCOMPARE(side->markers().position(1), moved);
        QTest::mouseClick(side, Qt::LeftButton, Qt::NoModifier,
                          QPoint(int(side->xOf(std::int64_t((ShortSide::kPiece + ShortSide::kGap + 6.0) * kRate))),
                                 side->height() / 2));
        QVERIFY(wizard.press("splitHereButton"));
        QCOMPARE(side->markers().trackCount(), 4u);
        side->selectMarker(3);
        QTest::keyClick(side, Qt::Key_Delete);
        const std::vector<std::int64_t> markers = side->markers().positions();
        QCOMPARE(markers.size(), 4u);
        QCOMPARE(markers[1], moved);

        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard->selectedPanel(), 7u);
        QCOMPARE(audio.numRecordedTracks(), 3u);
        QCOMPARE(wizard.usableNameFields(7), QStringLiteral("xxx......."));
        // Back from naming shows the tracks as they were cut, not as found again.
        QVERIFY(wizard.press("backButton"));
        QVERIFY(WaitFor([&] { return wizard->trackCheck()->ready(); }));
        const std::vector<std::int64_t> asCut{0, markers[1] - markers[0], markers[2] - markers[0],
                                              markers[3] - markers[0]};
        QCOMPARE(side->markers().positions(), asCut);
        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard->selectedPanel(), 7u);

        const QStringList titles{QStringLiteral("Morning Train"), QStringLiteral("Paper Boats / Reprise"),
                                 QStringLiteral("Blue Hour")};
        QTest::keyClicks(wizard.field(7, 51), QStringLiteral("Nina Berg"));
        QTest::keyClicks(wizard.field(7, 52), QStringLiteral("Songs from the Attic"));
        for (int i = 0; i < titles.size(); ++i)
            QTest::keyClicks(wizard.field(7, 61 + i), titles[i]);

        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard->selectedPanel(), 5u);
        QVERIFY(wizard->exporting());
        QVERIFY(WaitFor([&] { return wizard->selectedPanel() == 6; }, 120000));
        QCOMPARE(wizard.boxes.seen.size(), 0);
        QCOMPARE(audio.numRecordedTracks(), 0u);

        const QStringList files = LibraryFiles(library.folder);
        QCOMPARE(files.size(), 3);
        for (int i = 0; i < titles.size(); ++i) {
            // Each track starts and ends where its markers were, to the sample.
            const std::vector<float> samples = ReadSamples(QDir(library.folder).filePath(files[i]));
            QCOMPARE(std::int64_t(samples.size() / 2), markers[std::size_t(i) + 1] - markers[std::size_t(i)]);
            const float* expected = recorded.data() + markers[std::size_t(i)] * 2;
            for (std::size_t n = 0; n < samples.size(); ++n)
                QVERIFY2(std::fabs(samples[n] - expected[n]) < 1e-6f, qPrintable(QString::number(n)));
            const Tags tags = ReadTags(QDir(library.folder).filePath(files[i]));
            QCOMPARE(tags.artist, QStringLiteral("Nina Berg"));
            QCOMPARE(tags.album, QStringLiteral("Songs from the Attic"));
            QCOMPARE(tags.title, titles[i]);
            QCOMPARE(tags.track, unsigned(i + 1));
        }
        // Each recording was let go once it was in the library.
        for (UInt32 track = 1; track <= 3; ++track)
            QVERIFY(!QFile::exists(audio.fileNameForTrack(track)));

        // Another record: "yes" is the default answer, and the level panel listens again.
        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(wizard.playingThrough());
    }

    // The export waits for a library on a drive that is not plugged in, says so and names the
    // folder; once the drive is there the track goes in. Closing while it waits loses nothing.
    void aLibraryThatIsAwayIsWaitedFor_data()
    {
        QTest::addColumn<bool>("closeWhileWaiting");
        QTest::newRow("drive plugged in") << false;
        QTest::newRow("program closed") << true;
    }

    void aLibraryThatIsAwayIsWaitedFor()
    {
        QFETCH(bool, closeWhileWaiting);
        TemporaryLibrary library("usb/Music");
        Wizard wizard({kPlainTurntable}, Tolm::Platform::MakeFunctionSource(&ShortSide::Sample));
        QVERIFY(wizard.startRecording());
        wizard.rig.hardware->Pump(wizard.inputs.front(), 3 * 44100);
        QVERIFY(wizard.press("nextButton"));
        QVERIFY(wizard.acceptTracks());
        QCOMPARE(wizard->selectedPanel(), 4u);
        QTest::keyClicks(wizard.field(4, 12), QStringLiteral("Encore"));
        QVERIFY(wizard.press("nextButton"));

        const auto& boxes = wizard.boxes.seen;
        QVERIFY(WaitFor([&] { return !boxes.isEmpty(); }));
        QCOMPARE(boxes.first().text, Tolm::Localized("IDS_WARNING"));
        QVERIFY(boxes.first().informativeText.startsWith(Tolm::Localized("IDS_ITUNES_ERROR")));
        QVERIFY(boxes.first().informativeText.contains(library.folder));
        QCOMPARE(wizard->selectedPanel(), 5u);

        if (closeWhileWaiting) {
            // Without events handled, the next alert the export asks for stays unanswered:
            // closing must not wait for it.
            QTest::qSleep(2500);
            const QString take = wizard.audio().fileNameForTrack(1);
            wizard.app.reset();
            QVERIFY(QFile::exists(take));
        } else {
            QVERIFY(QDir().mkpath(library.folder));
            QVERIFY(WaitFor([&] { return wizard->selectedPanel() == 6; }, 60000));
            const QStringList files = LibraryFiles(library.folder);
            QCOMPARE(files.size(), 1);
            QCOMPARE(ReadTags(QDir(library.folder).filePath(files[0])).title, QStringLiteral("Encore"));
            QVERIFY(!QFile::exists(wizard.audio().fileNameForTrack(1)));
        }
    }
};

QTEST_MAIN(WizardSessionTest)
#include "WizardSessionTest.moc"
