// tolm-audio-converter: the wizard that takes a record or a tape to named tracks in the
// music library.

#include "capture/DemoTurntable.h"
#include "capture/Localization.h"
#include "platform/PulseAudioHardware.h"
#include "ui/AppDelegate.h"
#include "ui/CustomWindow.h"
#include "ui/ImageNamed.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QEventLoop>
#include <QIcon>
#include <QPixmap>
#include <QScreen>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <memory>

namespace {

// Qt's own message for a missing display ends in an abort; say it plainly instead.
bool DisplayAvailable()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

void PlaceWindow(Tolm::Ui::CustomWindow& window)
{
    window.adjustSize();
    if (window.restoreFrame())
        return;
    // First start: in the middle of the screen.
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect frame = window.frameGeometry();
        frame.moveCenter(screen->availableGeometry().center());
        window.move(frame.topLeft());
    }
}

struct Options {
    QCommandLineParser parser;
    QCommandLineOption demo{QStringLiteral("demo"),
                            QStringLiteral("Record from a built-in demo turntable instead of a USB device.")};

    Options()
    {
        parser.setApplicationDescription(
            QStringLiteral("Turns records and tapes played on a USB turntable or cassette deck into named, "
                           "tagged tracks in your music library."));
        parser.addHelpOption();
        parser.addVersionOption();
        parser.addOption(demo);
    }
};

void Describe()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Tolm"));
    QCoreApplication::setApplicationName(QStringLiteral("TolmAudioConverter"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TOLM_VERSION));
}

} // namespace

int main(int argc, char** argv)
{
    if (!DisplayAvailable()) {
        // --help and --version still answer.
        QCoreApplication core(argc, argv);
        Describe();
        Options options;
        options.parser.process(core);
        std::fprintf(stderr, "tolm-audio-converter needs a desktop; without one, use tolm-convert "
                             "(tolm-convert --help).\n");
        return 1;
    }
    QApplication app(argc, argv);
    Describe();
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tolm Audio Converter"));
    QGuiApplication::setDesktopFileName(QStringLiteral("tolm-audio-converter"));
    QGuiApplication::setWindowIcon(
        QIcon(QPixmap::fromImage(Tolm::Ui::ImageNamed(QStringLiteral("tolm-audio-converter")))));
    Tolm::InstallTranslations();
    Options options;
    options.parser.process(app);

    // The demo turntable alone on the bus, so it is the one device found whatever else is
    // plugged in. It asks turntable or tape, as a bare USB codec does, and plays into the
    // desktop's sound output when there is one.
    std::unique_ptr<Tolm::Capture::DemoTurntable> demo;
    if (options.parser.isSet(options.demo)) {
        demo = std::make_unique<Tolm::Capture::DemoTurntable>(Tolm::Platform::PulseAudioHardware::Connect(),
                                                              nullptr,
                                                              Tolm::Capture::DemoTurntable::Kind::BareCodec);
        demo->Install();
    }

    Tolm::Ui::AppDelegate wizard;
    if (demo) {
        // Record takes the demo back to the start of the side, as the level panel asks a user
        // to do. A user lifts the arm first; here a moment of the quiet lead-in stands in for
        // that, so the music played before Record does not count as a track that just ended.
        QObject::connect(&wizard, &Tolm::Ui::AppDelegate::recordingStarting, [&demo] {
            demo->Side().DropNeedle();
            QEventLoop lifting;
            QTimer::singleShot(std::chrono::milliseconds(1200), &lifting, &QEventLoop::quit);
            lifting.exec(QEventLoop::ExcludeUserInputEvents);
        });
    }
    PlaceWindow(*wizard.window());
    wizard.window()->show();
    // Once the window is up: what a crashed run left behind is offered back first.
    QTimer::singleShot(0, &wizard, &Tolm::Ui::AppDelegate::offerRecovery);
    return app.exec();
}
