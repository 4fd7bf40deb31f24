// The "Check your tracks" panel on takes written for the test: the tracks it finds, the
// sleeve's count, moving, adding and joining by mouse and keyboard, and the cut on Next.

#include "RecordingController.h"
#include "capture/Localization.h"
#include "platform/VirtualAudioHardware.h"
#include "tracks/TakeFiles.h"
#include "ui/CustomView.h"
#include "ui/ImageForView.h"
#include "ui/SubViewController.h"
#include "ui/TrackCheckPanel.h"
#include "ui/TrackCheckView.h"

#include <QAbstractButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include "SoundFile.h"

#include <QtTest>
#include <cmath>
#include <sndfile.h>

using namespace Tolm::Ui;

namespace {

constexpr double kRate = 44100.0;
// Lead-in, three pieces of 20 s with gaps of 3 s, run-out.
constexpr double kLeadIn = 2.0;
constexpr double kPiece = 20.0;
constexpr double kGap = 3.0;
constexpr double kSide = kLeadIn + 3 * kPiece + 2 * kGap + 4.0;

double PieceStart(int piece) { return kLeadIn + piece * (kPiece + kGap); }

float Sample(std::int64_t frame, int channel)
{
    const double t = double(frame) / kRate;
    for (int piece = 0; piece < 3; ++piece) {
        if (t >= PieceStart(piece) && t < PieceStart(piece) + kPiece)
            return float(0.3 * std::sin(2.0 * M_PI * (330.0 + 50.0 * piece + channel) * t));
    }
    return float(1e-4 * std::sin(double(frame) * 0.37)); // surface noise
}

std::int64_t Frame(double seconds) { return std::int64_t(seconds * kRate); }

// The side as the recording left it: split once, late in the first gap; the second gap was missed.
std::vector<std::string> WriteTakes(const QTemporaryDir& folder)
{
    const std::int64_t split = Frame(PieceStart(1) - 0.5);
    const std::int64_t ends[] = {split, Frame(kSide)};
    std::vector<std::string> paths;
    std::int64_t frame = 0;
    for (int take = 0; take < 2; ++take) {
        paths.push_back(folder.filePath(QStringLiteral("TolmACTmpFile.%1.wav").arg(take + 1)).toStdString());
        SF_INFO info{};
        info.samplerate = int(kRate);
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        SNDFILE* file = sf_open(paths.back().c_str(), SFM_WRITE, &info);
        std::vector<float> samples;
        for (; frame < ends[take]; ++frame) {
            samples.push_back(Sample(frame, 0));
            samples.push_back(Sample(frame, 1));
        }
        sf_writef_float(file, samples.data(), sf_count_t(samples.size() / 2));
        sf_close(file);
    }
    return paths;
}

std::vector<float> ReadAll(const std::string& path)
{
    return Tolm::Test::ReadSoundFile(path).samples;
}

struct Panel {
    explicit Panel(AudioDeviceID output = kAudioDeviceUnknown)
        : view(SubViewController(QStringLiteral("Tolm_Tab13"), nullptr).takeView()),
          panel(std::make_unique<TrackCheckPanel>(view.get()))
    {
        view->setController(&controller);
        view->setBackgroundImage(ImageForView(13));
        view->show();
        takes = WriteTakes(folder);
        panel->open(takes, Morvo::Audio::Filters::AudioFilter::NoFilter, output);
    }
    TrackCheckView* side() const { return panel->trackView(); }
    QAbstractButton* button(const char* name) const
    {
        return view->findChild<QAbstractButton*>(QString::fromLatin1(name));
    }
    std::vector<std::int64_t> markers() const { return side()->markers().positions(); }
    QPoint pointAt(std::int64_t frame) const { return QPoint(int(std::lround(side()->xOf(frame))), side()->height() / 2); }

    QTemporaryDir folder;
    RecordingController controller;
    std::unique_ptr<CustomView> view;
    std::unique_ptr<TrackCheckPanel> panel;
    std::vector<std::string> takes;
};

} // namespace

class TrackCheckPanelTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() { Tolm::InstallTranslations(); }

    // The analysis finds the gap the recording missed and leaves out the lead-in and the
    // run-out; the sleeve's count runs it again.
    void findsTheTracksAndTheCountRunsItAgain()
    {
        Panel p;
        QVERIFY(QTest::qWaitFor([&] { return p.panel->ready(); }));
        auto markers = p.markers();
        QCOMPARE(markers.size(), 4u);
        QVERIFY(markers[0] > Frame(kLeadIn - 1.0) && markers[0] < Frame(kLeadIn));
        for (int gap = 1; gap <= 2; ++gap) {
            // Just before the next piece, in its gap.
            QVERIFY2(markers[std::size_t(gap)] > Frame(PieceStart(gap) - 1.0) &&
                         markers[std::size_t(gap)] <= Frame(PieceStart(gap)),
                     qPrintable(QString::number(double(markers[std::size_t(gap)]) / kRate)));
        }
        const std::int64_t musicEnd = Frame(PieceStart(2) + kPiece);
        QVERIFY(markers[3] > musicEnd && markers[3] < musicEnd + Frame(1.0));
        QVERIFY(!p.button("joinButton")->isEnabled());

        auto* count = p.view->findChild<QSpinBox*>(QStringLiteral("trackCountField"));
        count->setValue(2);
        QCOMPARE(p.markers().size(), 3u);
        QVERIFY(p.view->findChild<QLabel*>(QStringLiteral("summaryField"))->text().contains(QLatin1Char('2')));
        count->setValue(3);
        QCOMPARE(p.markers(), markers);
    }

    // Drag a boundary, double-click a new one, join with Delete, nudge with the keyboard, and
    // Next cuts the takes where the markers are, to the frame.
    void editsByMouseAndKeyboardAndCutsWhereTheMarkersAre()
    {
        Panel p;
        QVERIFY(QTest::qWaitFor([&] { return p.panel->ready(); }));
        TrackCheckView* side = p.side();
        const std::vector<float> before = [&] {
            std::vector<float> all;
            for (const auto& take : p.takes) {
                const auto samples = ReadAll(take);
                all.insert(all.end(), samples.begin(), samples.end());
            }
            return all;
        }();

        // Drag the boundary 2 s later.
        const std::int64_t boundary = p.markers()[1];
        const QPoint from = p.pointAt(boundary);
        const QPoint to = p.pointAt(boundary + Frame(2.0));
        QTest::mousePress(side, Qt::LeftButton, Qt::NoModifier, from);
        QTest::mouseMove(side, to);
        QTest::mouseRelease(side, Qt::LeftButton, Qt::NoModifier, to);
        QCOMPARE(side->selectedMarker(), std::optional<std::size_t>(1));
        QVERIFY(std::llabs(p.markers()[1] - (boundary + Frame(2.0))) < side->viewFrames() / side->width() + 1);

        // A new boundary in the third piece, by double-click; one in the first by the
        // button, then joined again with Delete.
        QTest::mouseDClick(side, Qt::LeftButton, Qt::NoModifier, p.pointAt(Frame(PieceStart(2) + 10.0)));
        QCOMPARE(p.markers().size(), 5u);
        QTest::mouseClick(side, Qt::LeftButton, Qt::NoModifier, p.pointAt(Frame(PieceStart(0) + 10.0)));
        QVERIFY(p.button("splitHereButton")->isEnabled());
        p.button("splitHereButton")->click();
        QCOMPARE(p.markers().size(), 6u);
        QVERIFY(p.button("joinButton")->isEnabled());
        QTest::keyClick(side, Qt::Key_Delete);
        QCOMPARE(p.markers().size(), 5u);

        // The keyboard: to the next marker, and 10 ms later, twice.
        QTest::keyClick(side, Qt::Key_Right);
        const std::size_t chosen = *side->selectedMarker();
        const std::int64_t was = p.markers()[chosen];
        QTest::keyClick(side, Qt::Key_Right, Qt::ShiftModifier);
        QTest::keyClick(side, Qt::Key_Right, Qt::ShiftModifier);
        QCOMPARE(p.markers()[chosen], was + 2 * Frame(0.01));

        const std::vector<std::int64_t> markers = p.markers();
        // As the recording session does: the new files in place of the takes.
        const auto take = [&](unsigned n) { return p.folder.filePath(QStringLiteral("TolmACTmpFile.%1.wav").arg(n)); };
        const auto tracks = p.panel->cut([&](unsigned n) { return (take(n) + QStringLiteral(".cut")).toStdString(); },
                                         [&](const std::vector<std::string>& files, QString&) {
                                             for (unsigned n = 1; n <= files.size(); ++n) {
                                                 QFile::remove(take(n));
                                                 QFile::rename(QString::fromStdString(files[n - 1]), take(n));
                                             }
                                             return true;
                                         });
        QCOMPARE(tracks, std::optional<unsigned>(unsigned(markers.size() - 1)));
        for (unsigned track = 1; track <= *tracks; ++track) {
            const std::vector<float> samples = ReadAll(
                p.folder.filePath(QStringLiteral("TolmACTmpFile.%1.wav").arg(track)).toStdString());
            const std::size_t first = std::size_t(markers[track - 1]) * 2;
            QCOMPARE(std::int64_t(samples.size() / 2), markers[track] - markers[track - 1]);
            QVERIFY(std::equal(samples.begin(), samples.end(), before.begin() + std::ptrdiff_t(first)));
        }
        QCOMPARE(QDir(p.folder.path()).entryList(QDir::Files).size(), qsizetype(*tracks));
    }

    // Space with a boundary chosen plays the seconds around it, as recorded, through the
    // output device it is given.
    void listensAcrossTheChosenBoundary()
    {
        auto hardware = std::make_shared<Tolm::Platform::VirtualAudioHardware>(
            Tolm::Platform::VirtualAudioHardware::Clock::Manual);
        Tolm::Platform::VirtualDeviceSpec spec;
        spec.name = "Speakers";
        spec.outputChannels = 2;
        spec.sampleRate = kRate;
        const AudioDeviceID speakers = hardware->AddDevice(spec);
        hardware->SetCaptureOutput(speakers, true);
        Tolm::Platform::SetHardware(hardware);
        struct Restore {
            ~Restore() { Tolm::Platform::SetHardware(nullptr); }
        } restore;

        Panel p(speakers);
        QVERIFY(QTest::qWaitFor([&] { return p.panel->ready(); }));
        p.side()->selectMarker(1);
        QTest::keyClick(p.side(), Qt::Key_Space);
        QVERIFY(p.panel->listening());
        const auto span = Frame(TrackCheckPanel::kListenSeconds);
        hardware->Pump(speakers, UInt32(span + 4096));
        QVERIFY(!p.panel->listening());

        const std::vector<float> played = hardware->TakeCapturedOutput(speakers);
        QVERIFY(played.size() >= std::size_t(span) * 2);
        const std::int64_t from = p.markers()[1] - span / 2;
        for (std::int64_t i = 0; i < span; ++i) {
            QCOMPARE(played[std::size_t(2 * i)], Sample(from + i, 0));
            QCOMPARE(played[std::size_t(2 * i + 1)], Sample(from + i, 1));
        }
    }
};

QTEST_MAIN(TrackCheckPanelTest)
#include "TrackCheckPanelTest.moc"
