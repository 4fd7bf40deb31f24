#pragma once

#include "capture/AlertPresenter.h"

#include <QString>

namespace Tolm::Ui {

class MainThreadCaller;

// A modal warning over the wizard's window with one button; the texts as given (already
// localised). Main thread.
void RunWarningAlert(const QString& title, const QString& text, const QString& button);

// The engine's and the export's alerts as message boxes. Alerts from other threads are shown
// on the main thread while the calling thread waits for the user, as the engine expects.
class MainThreadAlertPresenter final : public Capture::AlertPresenter {
  public:
    explicit MainThreadAlertPresenter(MainThreadCaller& mainThread) : mMainThread(mainThread) {}

    void ShowAlert(const QString& titleKey, const QString& messageKey, const QString& buttonKey) override;

  private:
    MainThreadCaller& mMainThread;
};

} // namespace Tolm::Ui
