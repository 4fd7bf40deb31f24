#include "ui/MainThreadAlertPresenter.h"

#include "capture/Localization.h"
#include "library/LibrarySettings.h"
#include "ui/MainThreadCaller.h"

#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QTextDocument>

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

namespace {

// The library that cannot be reached is named, so the user knows which drive or share to
// connect.
QString MessageText(const QString& messageKey)
{
    QString text = Localized(messageKey);
    if (messageKey != QLatin1String("IDS_ITUNES_ERROR"))
        return text;
    const QString folder = QDir::toNativeSeparators(Library::LibrarySettings::folder());
    if (Qt::mightBeRichText(text))
        return text + QStringLiteral("<p style=\"margin-top:0;\"><b>%1</b></p>").arg(folder.toHtmlEscaped());
    return text + QStringLiteral("\n\n") + folder;
}

} // namespace

void MainThreadAlertPresenter::ShowAlert(const QString& titleKey, const QString& messageKey,
                                         const QString& buttonKey)
{
    // "OK" is the same in every language; any other button is a key.
    const QString button = buttonKey == QLatin1String("OK") ? buttonKey : Localized(buttonKey);
    mMainThread.call([&] { RunWarningAlert(Localized(titleKey), MessageText(messageKey), button); });
}

} // namespace Tolm::Ui
