#include "ui/MainThreadAlertPresenter.h"

#include "capture/Localization.h"
#include "ui/MainThreadCaller.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

namespace Tolm::Ui {

void RunWarningAlert(const QString& title, const QString& text, const QString& button)
{
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(), title,
                    QMessageBox::NoButton, QApplication::activeWindow());
    box.setInformativeText(text);
    QPushButton* only = box.addButton(button, QMessageBox::AcceptRole);
    box.setDefaultButton(only);
    box.setEscapeButton(only);
    box.exec();
}

void MainThreadAlertPresenter::ShowAlert(const QString& titleKey, const QString& messageKey,
                                         const QString& buttonKey)
{
    // "OK" is the same in every language; any other button is a key.
    const QString button = buttonKey == QLatin1String("OK") ? buttonKey : Localized(buttonKey);
    mMainThread.call([&] { RunWarningAlert(Localized(titleKey), Localized(messageKey), button); });
}

} // namespace Tolm::Ui
