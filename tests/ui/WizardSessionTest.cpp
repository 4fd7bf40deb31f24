// One record from start to finish, as a user goes through it: connect, turntable, level,
// Record, the side splits itself at its gaps and ends by itself, the tracks checked and
// corrected, names typed, the tracks exported into a music library, and the question
// whether to record another.

#include "WizardTestSupport.h"
#include "capture/TakeFolder.h"
#include "library/LibrarySettings.h"
#include "library/TrackTags.h"
#include "ui/TrackNameField.h"
#include "ui/TrackCheckPanel.h"
#include "ui/TrackCheckView.h"

#include <QDesktopServices>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextDocumentFragment>
#include <QUrl>
#include <cmath>
#include <fstream>
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

// What a run killed after recording leaves: a session folder with takes of these lengths,
// the last one written past its header's last update.
QString LeaveARecordingBehind(const std::vector<int>& frames)
{
    auto folder = Tolm::Capture::TakeFolder::Create();
    for (size_t i = 0; i < frames.size(); ++i) {
        const QString path = folder->takePath(UInt32(i + 1));
        SF_INFO info{};
        info.samplerate = int(kRate);
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
        const int counted = i + 1 == frames.size() ? frames[i] / 2 : frames[i];
        std::vector<float> samples(size_t(frames[i]) * 2, 0.25f);
        sf_writef_float(sf, samples.data(), counted);
        sf_close(sf);
        std::ofstream(QFile::encodeName(path).toStdString(), std::ios::binary | std::ios::app)
            .write(reinterpret_cast<const char*>(samples.data()), std::streamsize((frames[i] - counted) * 8));
    }
    folder->setTrackCount(UInt32(frames.size()));
    return folder->name();
}

sf_count_t Frames(const QString& path)
{
    SF_INFO info{};
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (sf)
        sf_close(sf);
    return sf ? info.frames : -1;
}

} // namespace

class WizardSessionTest : public QObject {
    Q_OBJECT

  public Q_SLOTS:
    // Stands in for the file manager.
    void openFolder(const QUrl& url) { mOpened << url; }

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
        QTest::keyClicks(wizard.field(7, 53), QStringLiteral("1983"));
        QTest::keyClicks(wizard.field(7, 54), QStringLiteral("b"));
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
        // Side B is the second disc to players; the year goes with every track.
        QVERIFY(files[0].endsWith(QStringLiteral("/2-01 Morning Train.flac")));
        const auto last = Tolm::Library::ReadTrackTags(QDir(library.folder).filePath(files[2]));
        QCOMPARE(last->disc, 2);
        QCOMPARE(last->trackTotal, 3);
        QCOMPARE(last->date, QStringLiteral("1983"));
        QCOMPARE(last->albumArtist, QStringLiteral("Nina Berg"));
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

    // A track that cannot be added is named on the last panel with the reason, its recording
    // is kept, and the album folder is a click away.
    void theLastPanelNamesATrackThatWasNotAdded()
    {
        TemporaryLibrary library("Music");
        QVERIFY(QDir().mkpath(library.folder));
        Wizard wizard({kPlainTurntable}, Tolm::Platform::MakeFunctionSource(&ShortSide::Sample));
        QVERIFY(wizard.startRecording());
        wizard.play(2 * ShortSide::kPiece + ShortSide::kGap); // two pieces
        QVERIFY(wizard.press("nextButton"));
        QVERIFY(wizard.acceptTracks());
        QCOMPARE(wizard->selectedPanel(), 7u);
        QTest::keyClicks(wizard.field(7, 51), QStringLiteral("Nina Berg"));
        QTest::keyClicks(wizard.field(7, 52), QStringLiteral("Attic"));
        QTest::keyClicks(wizard.field(7, 61), QStringLiteral("Fine"));
        QTest::keyClicks(wizard.field(7, 62), QStringLiteral("Broken"));
        QFile broken(wizard.audio().fileNameForTrack(2));
        QVERIFY(broken.open(QIODevice::WriteOnly | QIODevice::Truncate));
        broken.write("not a recording");
        broken.close();

        QVERIFY(wizard.press("nextButton"));
        QVERIFY(WaitFor([&] { return wizard->selectedPanel() == 6; }, 60000));
        const CustomView* done = wizard->panelView(6);
        const auto* title = done->findChild<QLabel*>(QStringLiteral("title"));
        QCOMPARE(title->text(), Tolm::Localized("IDS_TAB6_TITLE_NOT_ALL"));
        const QString report =
            QTextDocumentFragment::fromHtml(done->findChild<QLabel*>(QStringLiteral("exportReport"))->text())
                .toPlainText();
        const QString album = QDir(library.folder).filePath(QStringLiteral("Nina Berg/Attic"));
        QVERIFY2(report.contains(QStringLiteral("1 of 2 tracks were added to ") + album), qPrintable(report));
        QVERIFY2(report.contains(QStringLiteral("Track 2, \u201cBroken\u201d, was not added: Cannot read ") +
                                 wizard.audio().fileNameForTrack(2)),
                 qPrintable(report));
        QVERIFY2(report.contains(QFileInfo(wizard.audio().fileNameForTrack(2)).absolutePath()), qPrintable(report));
        QVERIFY(QFile::exists(wizard.audio().fileNameForTrack(2)));
        QCOMPARE(LibraryFiles(library.folder), QStringList{QStringLiteral("Nina Berg/Attic/01 Fine.flac")});

        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openFolder");
        QVERIFY(wizard.press("openAlbumButton"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        QCOMPARE(mOpened, QList<QUrl>{QUrl::fromLocalFile(album)});
    }

    // A recording a crash left behind is offered at start: Discard deletes it, Recover goes on
    // to naming its tracks, whose every frame reaches the library.
    void aRecordingLeftByACrashIsOfferedBack()
    {
        TemporaryLibrary library("Music");
        QVERIFY(QDir().mkpath(library.folder));
        Wizard wizard({kPlainTurntable});
        const QString takes = Tolm::Capture::TakeFolder::Root();

        LeaveARecordingBehind({44100});
        wizard.boxes.answer = Tolm::Localized("Discard");
        wizard->offerRecovery();
        QVERIFY(QDir(takes).isEmpty());
        QCOMPARE(wizard->selectedPanel(), 1u);

        LeaveARecordingBehind({3 * 44100, 2 * 44100});
        const auto left = Tolm::Capture::TakeFolder::Abandoned();
        QCOMPARE(left.size(), 1);
        wizard.boxes.answer = Tolm::Localized("Recover");
        wizard->offerRecovery();
        QCOMPARE(wizard.boxes.seen.size(), 2);
        QCOMPARE(wizard.boxes.seen.last().text,
                 Tolm::Localized("A recording of %1 tracks, %2, from %3 was not finished.")
                     .arg(2)
                     .arg(QStringLiteral("00:05"), QLocale().toString(left[0].started, QStringLiteral("d MMM HH:mm"))));
        QVERIFY(wizard.acceptTracks());
        QCOMPARE(wizard->selectedPanel(), 7u);
        QCOMPARE(wizard.usableNameFields(7), QStringLiteral("xx........"));
        QTest::keyClicks(wizard.field(7, 51), QStringLiteral("Nina Berg"));
        QTest::keyClicks(wizard.field(7, 52), QStringLiteral("Attic"));
        QTest::keyClicks(wizard.field(7, 61), QStringLiteral("Paper Boats"));
        QTest::keyClicks(wizard.field(7, 62), QStringLiteral("Encore"));
        QVERIFY(wizard.press("nextButton"));
        QVERIFY(WaitFor([&] { return wizard->selectedPanel() == 6; }, 60000));

        const QStringList files = LibraryFiles(library.folder);
        QCOMPARE(files.size(), 2);
        QCOMPARE(ReadTags(QDir(library.folder).filePath(files[1])).title, QStringLiteral("Encore"));
        QCOMPARE(Frames(QDir(library.folder).filePath(files[1])), sf_count_t(2 * 44100));
        QVERIFY(QDir(takes).isEmpty());
        // No device was chosen yet: another record starts at the connect panel.
        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard->selectedPanel(), 1u);
    }

  private:
    QList<QUrl> mOpened;
};

QTEST_MAIN(WizardSessionTest)
#include "WizardSessionTest.moc"
