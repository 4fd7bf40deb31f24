#pragma once

class QObject;

namespace Tolm::Ui {

// Receives every button of the wizard's panels. A panel view forwards its buttons here with
// the button as sender; the application controller implements it.
class PanelController {
public:
    virtual ~PanelController() = default;

    virtual void doCloseButton(QObject* sender) = 0;
    virtual void showHelp(QObject* sender) = 0;
    virtual void showPreferences(QObject* sender) { (void)sender; }

    virtual void doNextButton1(QObject* sender) = 0;
    virtual void doNextButtonSelectDevice(QObject* sender) = 0;
    virtual void doBackButtonSelectDevice(QObject* sender) = 0;
    virtual void doNextButtonSelectTape(QObject* sender) = 0;
    virtual void doBackButtonSelectTape(QObject* sender) = 0;
    virtual void doBackButton2(QObject* sender) = 0;
    virtual void doRecordButton(QObject* sender, bool normalization, bool clickRemoval) = 0;
    virtual void doBackButton3(QObject* sender) = 0;
    virtual void doNextButton3(QObject* sender) = 0;
    virtual void doNewTrackButton(QObject* sender) = 0;
    virtual void doBackButton4(QObject* sender) = 0;
    virtual void doNextButton4(QObject* sender) = 0;
    virtual void doBackButton5(QObject* sender) = 0;
    virtual void doNextButton5(QObject* sender) = 0;
    virtual void doBackButton6(QObject* sender) = 0;
    virtual void doNextButton6(QObject* sender) = 0;
    virtual void doBackButton7(QObject* sender) = 0;
    virtual void doNextButton7(QObject* sender) = 0;
    virtual void doBackButton8(QObject* sender) = 0;
    virtual void doNextButton8(QObject* sender) = 0;
    virtual void doBackButton9(QObject* sender) = 0;
    virtual void doNextButton9(QObject* sender) = 0;
    virtual void doBackButton10(QObject* sender) = 0;
    virtual void doNextButton10(QObject* sender) = 0;
    virtual void doBackButton13(QObject* sender) = 0;
    virtual void doNextButton13(QObject* sender) = 0;

    // The gain slider, already rounded to tenths of a decibel.
    virtual void setRecordingGainDb(float db) = 0;
};

} // namespace Tolm::Ui
