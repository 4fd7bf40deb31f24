#pragma once

#include <QString>

namespace Tolm::Capture {

// How the engine shows its few modal alerts without knowing about widgets: the wizard
// shows a message box, tolm-convert prints to standard error. Texts are keys of the
// localised string table (see Localization.h); the presenter localises them.
class AlertPresenter {
public:
    virtual ~AlertPresenter() = default;
    // May be called from any thread; returns once the user has dismissed the alert
    // (the wizard moves it to the main thread first).
    virtual void ShowAlert(const QString& titleKey, const QString& messageKey,
                           const QString& buttonKey = QStringLiteral("OK")) = 0;
};

} // namespace Tolm::Capture
