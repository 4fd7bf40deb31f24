// Renders every wizard panel in every language to PNG files, the way the window shows them,
// so the artwork and the texts can be looked at together without going through a recording.
//
//   tolm-render-panels OUTPUT_FOLDER [--languages en,de] [--transparent]
//
// The application icon is written beside them.

#include "capture/Localization.h"
#include "ui/CustomView.h"
#include "ui/CustomWindow.h"
#include "ui/DonePanelReport.h"
#include "ui/FloatSlider.h"
#include "ui/ImageForView.h"
#include "ui/ImageNamed.h"
#include "ui/MeteringView.h"
#include "ui/SubViewController.h"
#include "ui/TrackCheckView.h"
#include "ui/TranslateView.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QLinearGradient>
#include <QLocale>
#include <QPainter>
#include <QProgressBar>

#include <array>
#include <cmath>
#include <cstdio>

using namespace Tolm::Ui;

namespace {

struct Panel {
    unsigned number;
    const char* nib;
};

constexpr std::array<Panel, 13> kPanels{{{1, "Tolm_Tab1"},
                                          {11, "Tolm_SelectDeviceTab"},
                                          {12, "Tolm_SelectTape"},
                                          {2, "Tolm_Tab2"},
                                          {3, "Tolm_Tab3"},
                                          {4, "Tolm_Tab4"},
                                          {5, "Tolm_Tab5"},
                                          {6, "Tolm_Tab6"},
                                          {7, "Tolm_Tab7"},
                                          {8, "Tolm_Tab8"},
                                          {9, "Tolm_Tab9"},
                                          {10, "Tolm_Tab10"},
                                          {13, "Tolm_Tab13"}}};

void SetText(CustomView& view, int tag, const QString& text)
{
    QWidget* widget = view.viewWithTag(tag);
    if (auto* label = qobject_cast<QLabel*>(widget))
        label->setText(text);
    else if (auto* edit = qobject_cast<QLineEdit*>(widget))
        edit->setText(text);
}

// A side of about 19 minutes: five pieces with quiet gaps, crackle in the lead-in and the
// run-out. The rate is low: only its outline is drawn.
const Tolm::Tracks::WaveformOverview& TypicalSide()
{
    static Tolm::Tracks::WaveformOverview overview;
    if (overview.frames() > 0)
        return overview;
    constexpr double kRate = 8000.0;
    const double pieces[][2] = {{6, 250}, {254, 470}, {475, 700}, {703, 905}, {910, 1120}};
    std::vector<float> block;
    std::uint32_t noise = 1;
    for (std::int64_t frame = 0; frame < std::int64_t(1140 * kRate); ++frame) {
        const double t = double(frame) / kRate;
        noise = noise * 1664525u + 1013904223u;
        double value = (double(noise >> 8) / double(1u << 24) - 0.5) * 0.01;
        for (int i = 0; i < 5; ++i) {
            if (t >= pieces[i][0] && t < pieces[i][1]) {
                const double phrase = 0.55 + 0.35 * std::sin(t * (0.07 + 0.02 * i) + i);
                value += phrase * std::sin(t * 2 * M_PI * 3.1) * std::sin(t * 2 * M_PI * (220 + 40 * i));
            }
        }
        block.push_back(float(value));
        block.push_back(float(value * 0.9));
    }
    overview.add(block.data(), std::int64_t(block.size() / 2));
    return overview;
}

void ShowTypicalSide(CustomView& view)
{
    auto* side = view.findChild<TrackCheckView*>(QStringLiteral("trackCheckView"));
    if (!side)
        return;
    constexpr double kRate = 8000.0;
    const auto at = [](double seconds) { return std::int64_t(seconds * kRate); };
    const Tolm::Tracks::WaveformOverview& overview = TypicalSide();
    side->setSide(&overview, kRate,
                  Tolm::Tracks::TrackMarkers({at(5.5), at(253.6), at(474.6), at(702.6), at(909.6), at(1120.5)},
                                             overview.frames(), at(2)),
                  {at(251.0), at(474.6), at(702.6)});
    side->selectMarker(2);
}

// What a user would see in the middle of a session.
void ShowTypicalState(unsigned panel, CustomView& view)
{
    if (auto* slider = view.gainDbSlider()) {
        slider->setFloatValue(3.0);
        view.doGainSlider(slider);
    }
    if (view.meteringViewL() && view.meteringViewR()) {
        const std::array<float, 2> left{-4.5f, -4.5f};
        const std::array<float, 2> right{panel == 3 ? 0.0f : -7.0f, panel == 3 ? 0.0f : -7.0f};
        view.meteringViewL()->updateMeters(left);
        view.meteringViewR()->updateMeters(right);
    }
    switch (panel) {
    case 3:
        SetText(view, 21, QStringLiteral("00:03:27"));
        SetText(view, 22, QStringLiteral("4"));
        break;
    case 4:
        SetText(view, 10, QStringLiteral("Nina Berg"));
        SetText(view, 11, QStringLiteral("Songs from the Attic"));
        break;
    case 5:
        if (auto* progress = qobject_cast<QProgressBar*>(view.viewWithTag(31)))
            progress->setValue(progress->maximum() * 2 / 5);
        break;
    case 6: {
        // The harder case: one track that could not be added.
        ExportOutcome outcome;
        outcome.trackCount = 4;
        outcome.added = 3;
        outcome.albumFolder = QStringLiteral("/home/nina/Music/Nina Berg/Songs from the Attic");
        outcome.notAdded.append({2, QStringLiteral("Paper Boats"), QStringLiteral("No space left on device"),
                                 QStringLiteral("/home/nina/.local/state/tolm-audio-converter/takes/"
                                                "1/TolmACTmpFile.2.wav")});
        (new DonePanelReport(view))->show(outcome, QString());
        break;
    }
    case 7: {
        SetText(view, 51, QStringLiteral("Nina Berg"));
        SetText(view, 52, QStringLiteral("Songs from the Attic"));
        SetText(view, 53, QStringLiteral("1983"));
        SetText(view, 54, QStringLiteral("A"));
        const std::array<const char*, 4> names{"Morning Train", "Paper Boats", "Old Harbour", "Blue Hour"};
        for (int i = 0; i < int(names.size()); ++i)
            SetText(view, 61 + i, QString::fromUtf8(names[i]));
        break;
    }
    case 8:
        SetText(view, 71, QStringLiteral("Lanterns"));
        break;
    case 13:
        ShowTypicalSide(view);
        break;
    default:
        break;
    }
}

QImage Render(CustomWindow& window, bool transparent)
{
    const qreal ratio = window.devicePixelRatioF();
    QImage image(window.size() * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    if (transparent) {
        image.fill(Qt::transparent);
    } else {
        // A plain desktop behind the window, so its outline and shadow show.
        QPainter backdrop(&image);
        QLinearGradient gradient(0, 0, 0, window.height());
        gradient.setColorAt(0, QColor(0x8a, 0x9b, 0xab));
        gradient.setColorAt(1, QColor(0x5d, 0x6e, 0x80));
        backdrop.fillRect(QRect(QPoint(0, 0), window.size()), gradient);
    }
    QPainter painter(&image);
    window.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

} // namespace

int main(int argc, char** argv)
{
    // Drawn off screen unless asked otherwise, so no windows flash up on the desktop.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Tolm"));
    QCoreApplication::setApplicationName(QStringLiteral("tolm-render-panels"));

    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("folder"), QStringLiteral("Where the PNG files go."));
    parser.addOption({QStringLiteral("languages"), QStringLiteral("Languages to render."), QStringLiteral("list"),
                      QStringLiteral("en,de")});
    parser.addOption({QStringLiteral("transparent"), QStringLiteral("No desktop behind the window.")});
    parser.process(app);
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);

    const QString folder = parser.positionalArguments().first();
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "tolm-render-panels: cannot create %s\n", qPrintable(folder));
        return 1;
    }

    int written = 0;
    for (const QString& language : parser.value(QStringLiteral("languages")).split(QLatin1Char(','))) {
        QLocale::setDefault(QLocale(language));
        Tolm::InstallTranslations();
        for (const Panel& panel : kPanels) {
            SubViewController controller(QString::fromLatin1(panel.nib), nullptr);
            std::unique_ptr<CustomView> view = controller.takeView();
            if (!view) {
                std::fprintf(stderr, "tolm-render-panels: no panel %s\n", panel.nib);
                return 1;
            }
            TranslateView(view.get());
            view->setBackgroundImage(ImageForView(panel.number));
            ShowTypicalState(panel.number, *view);

            CustomWindow window;
            window.setContent(view.get());
            window.show();
            // The shadow is taken from the panel's first drawing.
            Render(window, true);
            const QImage image = Render(window, parser.isSet(QStringLiteral("transparent")));
            window.setContent(nullptr);

            const QString path = QStringLiteral("%1/panel-%2-%3.%4.png")
                                     .arg(folder)
                                     .arg(panel.number, 2, 10, QLatin1Char('0'))
                                     .arg(QString::fromLatin1(panel.nib), language);
            if (!image.save(path)) {
                std::fprintf(stderr, "tolm-render-panels: cannot write %s\n", qPrintable(path));
                return 1;
            }
            ++written;
        }
    }
    // The application icon, as the desktop shows it.
    const QImage icon = ImageNamed(QStringLiteral("tolm-audio-converter"));
    if (!icon.isNull())
        icon.save(folder + QStringLiteral("/icon-tolm-audio-converter.png"));
    std::printf("%d panels written to %s\n", written, qPrintable(folder));
    return 0;
}
