#pragma once

#include "ui/PanelController.h"

#include <QObject>
#include <QStringList>

// Notes which handler a panel called, with which sender.
class RecordingController : public Tolm::Ui::PanelController {
public:
    QStringList calls;
    QObject* lastSender = nullptr;
    float lastGain = -1000.0f;

    void doCloseButton(QObject* s) override { note("doCloseButton", s); }
    void showHelp(QObject* s) override { note("showHelp", s); }
    void doNextButton1(QObject* s) override { note("doNextButton1", s); }
    void doNextButtonSelectDevice(QObject* s) override { note("doNextButtonSelectDevice", s); }
    void doBackButtonSelectDevice(QObject* s) override { note("doBackButtonSelectDevice", s); }
    void doNextButtonSelectTape(QObject* s) override { note("doNextButtonSelectTape", s); }
    void doBackButtonSelectTape(QObject* s) override { note("doBackButtonSelectTape", s); }
    void doBackButton2(QObject* s) override { note("doBackButton2", s); }
    void doRecordButton(QObject* s, bool normalization, bool clickRemoval) override
    {
        note(QStringLiteral("doRecordButton(%1,%2)").arg(int(normalization)).arg(int(clickRemoval)), s);
    }
    void doBackButton3(QObject* s) override { note("doBackButton3", s); }
    void doNextButton3(QObject* s) override { note("doNextButton3", s); }
    void doNewTrackButton(QObject* s) override { note("doNewTrackButton", s); }
    void doBackButton4(QObject* s) override { note("doBackButton4", s); }
    void doNextButton4(QObject* s) override { note("doNextButton4", s); }
    void doBackButton5(QObject* s) override { note("doBackButton5", s); }
    void doNextButton5(QObject* s) override { note("doNextButton5", s); }
    void doBackButton6(QObject* s) override { note("doBackButton6", s); }
    void doNextButton6(QObject* s) override { note("doNextButton6", s); }
    void doBackButton7(QObject* s) override { note("doBackButton7", s); }
    void doNextButton7(QObject* s) override { note("doNextButton7", s); }
    void doBackButton8(QObject* s) override { note("doBackButton8", s); }
    void doNextButton8(QObject* s) override { note("doNextButton8", s); }
    void doBackButton9(QObject* s) override { note("doBackButton9", s); }
    void doNextButton9(QObject* s) override { note("doNextButton9", s); }
    void doBackButton10(QObject* s) override { note("doBackButton10", s); }
    void doNextButton10(QObject* s) override { note("doNextButton10", s); }
    void setRecordingGainDb(float db) override
    {
        lastGain = db;
        calls << QStringLiteral("setRecordingGainDb");
    }

private:
    void note(const QString& call, QObject* sender)
    {
        calls << call;
        lastSender = sender;
    }
};
