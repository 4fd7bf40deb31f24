#include "ui/CustomView.h"

#include "base/SystemLog.h"
#include "capture/InputChain.h"
#include "ui/AMShapedButton.h"
#include "ui/CustomWindow.h"
#include "ui/FloatSlider.h"
#include "ui/MeteringView.h"
#include "ui/PanelController.h"

#include <QFile>
#include <QGuiApplication>
#include <QLabel>
#include <QLoggingCategory>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QWindow>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

Q_LOGGING_CATEGORY(lcPanels, "tolm.panels")

namespace Tolm::Ui {

namespace {

constexpr auto kMeterInterval = std::chrono::milliseconds(1000 / 15);

int StateOf(const QAbstractButton* button) { return button && button->isChecked() ? 1 : 0; }

void SetState(QAbstractButton* button, int state)
{
    if (button)
        button->setChecked(state != 0);
}

void SetEnabled(QWidget* widget, bool enabled)
{
    if (widget)
        widget->setEnabled(enabled);
}

QString GainText(float db) { return QString::asprintf("%+.1f", double(db)); }

// Moving a window by hand is not allowed on Wayland; the compositor moves it for us there.
bool WindowSystemMovesWindows() { return QGuiApplication::platformName().startsWith(QLatin1String("wayland")); }

} // namespace

CustomView::CustomView(QWidget* parent) : QWidget(parent)
{
    // The artwork is light whatever the desktop's colours are, so the text colours are fixed;
    // the accent colour stays the desktop's.
    QPalette colours;
    colours.setColor(QPalette::WindowText, QColor(0x2c, 0x34, 0x40));
    colours.setColor(QPalette::Text, QColor(0x1f, 0x26, 0x30));
    colours.setColor(QPalette::Base, Qt::white);
    colours.setColor(QPalette::Window, QColor(0xf4, 0xf2, 0xee));
    colours.setColor(QPalette::Button, QColor(0xf4, 0xf2, 0xee));
    colours.setColor(QPalette::ButtonText, QColor(0x2c, 0x34, 0x40));
    colours.setColor(QPalette::PlaceholderText, QColor(0x9a, 0xa1, 0xab));
    setPalette(colours);
    QFile style(QStringLiteral(":/panels/Panel.qss"));
    if (style.open(QIODevice::ReadOnly))
        setStyleSheet(QString::fromUtf8(style.readAll()));
}

CustomView::~CustomView() = default;

void CustomView::setBackgroundImage(const QImage& image)
{
    qCDebug(lcPanels, "%s(%s)", "CustomView::setBackgroundImage",
            qPrintable(image.text(QStringLiteral("name"))));
    _viewImage = image;
    update();
}

void CustomView::connectOutlets()
{
    _yesButton6 = findChild<AMShapedButton*>(QStringLiteral("_yesButton6"));
    _noButton6 = findChild<AMShapedButton*>(QStringLiteral("_noButton6"));
    o_gainDbSlider = findChild<FloatSlider*>(QStringLiteral("o_gainDbSlider"));
    o_gainValueText = findChild<QLabel*>(QStringLiteral("o_gainValueText"));
    _MeteringViewL = findChild<MeteringView*>(QStringLiteral("_MeteringViewL"));
    _MeteringViewR = findChild<MeteringView*>(QStringLiteral("_MeteringViewR"));
    splitTracksButton = findChild<QAbstractButton*>(QStringLiteral("splitTracksButton"));
    selectDevicePlatina = findChild<QAbstractButton*>(QStringLiteral("selectDevicePlatina"));
    selectDeviceCassova = findChild<QAbstractButton*>(QStringLiteral("selectDeviceCassova"));
    automaticallySplitTracks = findChild<QAbstractButton*>(QStringLiteral("automaticallySplitTracks"));
    normalTapeButton = findChild<AMShapedButton*>(QStringLiteral("normalTapeButton"));
    chromeTapeButton = findChild<AMShapedButton*>(QStringLiteral("chromeTapeButton"));
    nextButton = findChild<QAbstractButton*>(QStringLiteral("nextButton"));
}

void CustomView::awakeFromNib()
{
    if (o_gainDbSlider && o_gainValueText)
        o_gainValueText->setText(GainText(o_gainDbSlider->floatValue()));
    update();

    for (MeteringView* meter : {_MeteringViewL.data(), _MeteringViewR.data()}) {
        if (meter) {
            meter->setNumChannels(1);
            meter->setHasClipIndicator(true);
        }
    }

    // A chosen answer cannot be chosen again, only the other one.
    SetState(_noButton6, 0);
    SetEnabled(_noButton6, true);
    SetState(_yesButton6, 1);
    SetEnabled(_yesButton6, false);

    SetState(selectDevicePlatina, 1);
    SetState(selectDeviceCassova, 0);

    SetState(normalTapeButton, 1);
    SetState(chromeTapeButton, 0);
}

QWidget* CustomView::viewWithTag(int tag) const
{
    const auto widgets = findChildren<QWidget*>();
    for (QWidget* widget : widgets) {
        const QVariant value = widget->property("tag");
        if (value.isValid() && value.toInt() == tag)
            return widget;
    }
    return nullptr;
}

bool CustomView::getSelectedDeviceIsTurtable() const { return StateOf(selectDevicePlatina) == 1; }

// Read from the normal tape's button, so with neither chosen the answer is chrome.
bool CustomView::getSelectedTapeTypeIsChrome() const { return StateOf(normalTapeButton) != 1; }

bool CustomView::getAutomaticallySplitTracks() const { return StateOf(automaticallySplitTracks) == 1; }

void CustomView::setSplitButtonVisibility(bool visible)
{
    if (splitTracksButton)
        splitTracksButton->setVisible(visible);
}

std::unique_ptr<QTimer> CustomView::startMetering()
{
    stopMetering();
    auto timer = std::make_unique<QTimer>();
    timer->setTimerType(Qt::PreciseTimer);
    timer->setInterval(kMeterInterval);
    connect(timer.get(), &QTimer::timeout, this, &CustomView::updateLevelMeterTimer);
    timer->start();
    updateLevelMeterTimer();
    return timer;
}

void CustomView::stopMetering()
{
    if (_MeteringViewL)
        _MeteringViewL->update();
    if (_MeteringViewR)
        _MeteringViewR->update();
}

void CustomView::updateLevelMeterTimer() { updateChannelLevel(); }

void CustomView::updateChannelLevel()
{
    std::array<float, 2> left;
    std::array<float, 2> right;
    left.fill(std::numeric_limits<float>::lowest());
    right.fill(std::numeric_limits<float>::lowest());
    // Silence reads 0, which is minus infinity dB: the meter's floor.
    left.fill(20.0f * std::log10(Capture::GetVUMaxL()));
    right.fill(20.0f * std::log10(Capture::GetVUMaxR()));
    if (_MeteringViewL)
        _MeteringViewL->updateMeters(left);
    if (_MeteringViewR)
        _MeteringViewR->updateMeters(right);
}

template <typename Handler>
void CustomView::forward(Handler handler, QObject* sender)
{
    if (_controller)
        (_controller->*handler)(sender ? sender : this->sender());
}

void CustomView::doCloseButton(QObject* sender) { forward(&PanelController::doCloseButton, sender); }
void CustomView::showHelp(QObject* sender) { forward(&PanelController::showHelp, sender); }
void CustomView::showPreferences(QObject* sender) { forward(&PanelController::showPreferences, sender); }
void CustomView::doNextButton1(QObject* sender) { forward(&PanelController::doNextButton1, sender); }
void CustomView::doNextButtonSelectDevice(QObject* sender)
{
    forward(&PanelController::doNextButtonSelectDevice, sender);
}
void CustomView::doBackButtonSelectDevice(QObject* sender)
{
    forward(&PanelController::doBackButtonSelectDevice, sender);
}
void CustomView::doNextButtonSelectTape(QObject* sender) { forward(&PanelController::doNextButtonSelectTape, sender); }
void CustomView::doBackButtonSelectTape(QObject* sender) { forward(&PanelController::doBackButtonSelectTape, sender); }
void CustomView::doBackButton2(QObject* sender) { forward(&PanelController::doBackButton2, sender); }
void CustomView::doBackButton3(QObject* sender) { forward(&PanelController::doBackButton3, sender); }
void CustomView::doNextButton3(QObject* sender) { forward(&PanelController::doNextButton3, sender); }
void CustomView::doNewTrackButton(QObject* sender) { forward(&PanelController::doNewTrackButton, sender); }
void CustomView::doBackButton4(QObject* sender) { forward(&PanelController::doBackButton4, sender); }
void CustomView::doNextButton4(QObject* sender) { forward(&PanelController::doNextButton4, sender); }
void CustomView::doBackButton5(QObject* sender) { forward(&PanelController::doBackButton5, sender); }
void CustomView::doNextButton5(QObject* sender) { forward(&PanelController::doNextButton5, sender); }
void CustomView::doBackButton6(QObject* sender) { forward(&PanelController::doBackButton6, sender); }
void CustomView::doBackButton7(QObject* sender) { forward(&PanelController::doBackButton7, sender); }
void CustomView::doNextButton7(QObject* sender) { forward(&PanelController::doNextButton7, sender); }
void CustomView::doBackButton8(QObject* sender) { forward(&PanelController::doBackButton8, sender); }
void CustomView::doNextButton8(QObject* sender) { forward(&PanelController::doNextButton8, sender); }
void CustomView::doBackButton9(QObject* sender) { forward(&PanelController::doBackButton9, sender); }
void CustomView::doNextButton9(QObject* sender) { forward(&PanelController::doNextButton9, sender); }
void CustomView::doBackButton10(QObject* sender) { forward(&PanelController::doBackButton10, sender); }
void CustomView::doNextButton10(QObject* sender) { forward(&PanelController::doNextButton10, sender); }
void CustomView::doBackButton13(QObject* sender) { forward(&PanelController::doBackButton13, sender); }
void CustomView::doNextButton13(QObject* sender) { forward(&PanelController::doNextButton13, sender); }

void CustomView::doRecordButton(QObject*)
{
    // Normalisation and click removal are never switched on from the panels.
    if (_controller)
        _controller->doRecordButton(this, false, false);
}

void CustomView::doNextButton6(QObject* sender)
{
    if (StateOf(_noButton6) != 0) {
        // "No more records": closing the one window ends the program.
        if (QWidget* top = window())
            top->close();
        return;
    }
    forward(&PanelController::doNextButton6, sender);
}

void CustomView::doYesButton6(QObject*)
{
    SetState(_noButton6, 0);
    SetEnabled(_noButton6, true);
    SetState(_yesButton6, 1);
    SetEnabled(_yesButton6, false);
}

void CustomView::doNoButton6(QObject*)
{
    SetState(_noButton6, 1);
    SetEnabled(_noButton6, false);
    SetState(_yesButton6, 0);
    SetEnabled(_yesButton6, true);
}

void CustomView::doSelectDevicePlatina(QObject*)
{
    SetState(selectDevicePlatina, 1);
    SetState(selectDeviceCassova, 0);
}

void CustomView::doSelectDeviceCassova(QObject*)
{
    SetState(selectDevicePlatina, 0);
    SetState(selectDeviceCassova, 1);
}

void CustomView::doSelectTapeNormal(QObject*)
{
    SetState(normalTapeButton, 1);
    SetState(chromeTapeButton, 0);
}

void CustomView::doSelectTapeChrome(QObject*)
{
    SetState(normalTapeButton, 0);
    SetState(chromeTapeButton, 1);
}

void CustomView::doGainSlider(QObject*)
{
    if (!o_gainDbSlider)
        return;
    // The product in single precision, the rest in double, the result kept as a float:
    // 2.45 then rounds up to 2.5 although its double value lies just below.
    const float gain = o_gainDbSlider->floatValue();
    const float tenths = gain * 10.0f;
    const float rounded = float(std::floor(double(tenths) + 0.5) / 10.0);
    if (o_gainValueText)
        o_gainValueText->setText(GainText(rounded));
    if (_controller)
        _controller->setRecordingGainDb(rounded);
}

void CustomView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // The window is cleared to transparent before its views draw, so outside the artwork
    // the desktop (and the window's shadow) shows through.
    if (_viewImage.isNull())
        Tolm::SystemLog::Write("drawRect (_viewImage == NULL)\n");
    else
        painter.drawImage(QPointF(0, 0), _viewImage);
    if (auto* customWindow = qobject_cast<CustomWindow*>(window()))
        customWindow->invalidateShadow(_viewImage, mapTo(customWindow, QPoint(0, 0)));
}

QPoint CustomView::DragOrigin(QPointF mouse, QPointF grab, const QRect& screen, int panelTopInWindow)
{
    QPointF origin = mouse - grab;
    if (origin.y() + panelTopInWindow < screen.top())
        origin.setY(screen.top() - panelTopInWindow);
    return origin.toPoint();
}

void CustomView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    QWidget* top = window();
    if (WindowSystemMovesWindows() && top->windowHandle()) {
        _dragging = false;
        top->windowHandle()->startSystemMove();
        return;
    }
    _dragging = true;
    _dragInitialLocation = event->globalPosition() - QPointF(top->frameGeometry().topLeft());
}

void CustomView::mouseMoveEvent(QMouseEvent* event)
{
    if (!_dragging || !(event->buttons() & Qt::LeftButton))
        return;
    QWidget* top = window();
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QRect screenFrame = screen ? screen->geometry() : QRect();
    const int panelTop = mapTo(top, QPoint(0, 0)).y();
    top->move(DragOrigin(event->globalPosition(), _dragInitialLocation, screenFrame, panelTop));
}

} // namespace Tolm::Ui
