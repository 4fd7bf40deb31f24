#pragma once

#include "ui/AMShapedButton.h"
#include "ui/FloatSlider.h"
#include "ui/MeteringView.h"

#include <QAbstractButton>
#include <QImage>
#include <QLabel>
#include <QPointF>
#include <QPointer>
#include <QWidget>

#include <memory>

class QTimer;

namespace Tolm::Ui {

class PanelController;

// One panel of the wizard: paints its background artwork over the transparent window, lets
// the user drag the window by any point of the background, owns the panel's controls and
// forwards every button to the controller. Every panel uses this class; a panel's interface
// file names only the controls it has, and whatever it lacks is left alone.
class CustomView : public QWidget {
    Q_OBJECT

public:
    explicit CustomView(QWidget* parent = nullptr);
    ~CustomView() override;

    void setBackgroundImage(const QImage& image);
    QImage backgroundImage() const { return _viewImage; }
    void setController(PanelController* controller) { _controller = controller; }
    PanelController* controller() const { return _controller; }

    // Finds the panel's controls by their names in the interface file.
    void connectOutlets();
    // Shows the gain, gives the meters their channel and clip light, sets the default choices.
    Q_INVOKABLE void awakeFromNib();

    // The panel's widget carrying this tag (dynamic property "tag"), or none.
    QWidget* viewWithTag(int tag) const;

    bool getSelectedDeviceIsTurtable() const;
    bool getSelectedTapeTypeIsChrome() const;
    bool getAutomaticallySplitTracks() const;
    void setSplitButtonVisibility(bool visible);

    // Starts the level meters: a timer 15 times a second, fired once at once. The caller
    // owns the timer; the view keeps no reference to it.
    std::unique_ptr<QTimer> startMetering();
    // Only redraws the meters; it stops no timer.
    void stopMetering();
    void updateChannelLevel();

    // The controls, for the controller and for tests; each may be missing.
    AMShapedButton* yesButton6() const { return _yesButton6; }
    AMShapedButton* noButton6() const { return _noButton6; }
    FloatSlider* gainDbSlider() const { return o_gainDbSlider; }
    QLabel* gainValueText() const { return o_gainValueText; }
    MeteringView* meteringViewL() const { return _MeteringViewL; }
    MeteringView* meteringViewR() const { return _MeteringViewR; }
    QAbstractButton* splitButton() const { return splitTracksButton; }
    QAbstractButton* platinaButton() const { return selectDevicePlatina; }
    QAbstractButton* cassovaButton() const { return selectDeviceCassova; }
    QAbstractButton* splitCheckBox() const { return automaticallySplitTracks; }
    AMShapedButton* normalTape() const { return normalTapeButton; }
    AMShapedButton* chromeTape() const { return chromeTapeButton; }
    QAbstractButton* next() const { return nextButton; }

    // Where a drag moves the window: the mouse minus where it grabbed the window, with the
    // panel's top edge kept from going above the top of the screen. No other edge is limited.
    static QPoint DragOrigin(QPointF mouse, QPointF grab, const QRect& screen, int panelTopInWindow);

public Q_SLOTS:
    // The sender is the clicked button when not given.
    void doCloseButton(QObject* sender = nullptr);
    void showHelp(QObject* sender = nullptr);
    void showPreferences(QObject* sender = nullptr);
    void doNextButton1(QObject* sender = nullptr);
    void doNextButtonSelectDevice(QObject* sender = nullptr);
    void doBackButtonSelectDevice(QObject* sender = nullptr);
    void doNextButtonSelectTape(QObject* sender = nullptr);
    void doBackButtonSelectTape(QObject* sender = nullptr);
    void doBackButton2(QObject* sender = nullptr);
    void doBackButton3(QObject* sender = nullptr);
    void doNextButton3(QObject* sender = nullptr);
    void doNewTrackButton(QObject* sender = nullptr);
    void doBackButton4(QObject* sender = nullptr);
    void doNextButton4(QObject* sender = nullptr);
    void doBackButton5(QObject* sender = nullptr);
    void doNextButton5(QObject* sender = nullptr);
    void doBackButton6(QObject* sender = nullptr);
    void doBackButton7(QObject* sender = nullptr);
    void doNextButton7(QObject* sender = nullptr);
    void doBackButton8(QObject* sender = nullptr);
    void doNextButton8(QObject* sender = nullptr);
    void doBackButton9(QObject* sender = nullptr);
    void doNextButton9(QObject* sender = nullptr);
    void doBackButton10(QObject* sender = nullptr);
    void doNextButton10(QObject* sender = nullptr);
    void doBackButton13(QObject* sender = nullptr);
    void doNextButton13(QObject* sender = nullptr);

    void doRecordButton(QObject* sender = nullptr);
    void doNextButton6(QObject* sender = nullptr);
    void doYesButton6(QObject* sender = nullptr);
    void doNoButton6(QObject* sender = nullptr);
    void doSelectDevicePlatina(QObject* sender = nullptr);
    void doSelectDeviceCassova(QObject* sender = nullptr);
    void doSelectTapeNormal(QObject* sender = nullptr);
    void doSelectTapeChrome(QObject* sender = nullptr);
    void doGainSlider(QObject* sender = nullptr);

    void updateLevelMeterTimer();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    template <typename Handler>
    void forward(Handler handler, QObject* sender);

    QImage _viewImage;
    PanelController* _controller = nullptr;
    QPointF _dragInitialLocation;
    bool _dragging = false;

    QPointer<AMShapedButton> _yesButton6;
    QPointer<AMShapedButton> _noButton6;
    QPointer<FloatSlider> o_gainDbSlider;
    QPointer<QLabel> o_gainValueText;
    QPointer<MeteringView> _MeteringViewL;
    QPointer<MeteringView> _MeteringViewR;
    QPointer<QAbstractButton> splitTracksButton;
    QPointer<QAbstractButton> selectDevicePlatina;
    QPointer<QAbstractButton> selectDeviceCassova;
    QPointer<QAbstractButton> automaticallySplitTracks;
    QPointer<AMShapedButton> normalTapeButton;
    QPointer<AMShapedButton> chromeTapeButton;
    QPointer<QAbstractButton> nextButton;
};

} // namespace Tolm::Ui
