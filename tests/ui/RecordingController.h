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

    // clang-format off
#define TOLM_NOTE(handler) \
    void handler(QObject* s) override { note(QStringLiteral(#handler), s); }
    TOLM_NOTE(doCloseButton) TOLM_NOTE(showHelp)
    TOLM_NOTE(doNextButton1)
    TOLM_NOTE(doNextButtonSelectDevice) TOLM_NOTE(doBackButtonSelectDevice)
    TOLM_NOTE(doNextButtonSelectTape) TOLM_NOTE(doBackButtonSelectTape)
    TOLM_NOTE(doBackButton2)
    TOLM_NOTE(doNextButton3) TOLM_NOTE(doBackButton3) TOLM_NOTE(doNewTrackButton)
    TOLM_NOTE(doNextButton4) TOLM_NOTE(doBackButton4)
    TOLM_NOTE(doNextButton5) TOLM_NOTE(doBackButton5)
    TOLM_NOTE(doNextButton6) TOLM_NOTE(doBackButton6)
    TOLM_NOTE(doNextButton7) TOLM_NOTE(doBackButton7)
    TOLM_NOTE(doNextButton8) TOLM_NOTE(doBackButton8)
    TOLM_NOTE(doNextButton9) TOLM_NOTE(doBackButton9)
    TOLM_NOTE(doNextButton10) TOLM_NOTE(doBackButton10)
    TOLM_NOTE(doNextButton13) TOLM_NOTE(doBackButton13)
#undef TOLM_NOTE
        // clang-format on

        void doRecordButton(QObject* s, bool normalization, bool clickRemoval) override
    {
        note(QStringLiteral("doRecordButton(%1,%2)").arg(int(normalization)).arg(int(clickRemoval)), s);
    }
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
