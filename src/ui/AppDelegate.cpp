#include "ui/AppDelegate.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

namespace Tolm::Ui {

void AppDelegate::alert(const QString& title, const QString& text)
{
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(), title);
    box.setInformativeText(text);
    QPushButton* ok = box.addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
    box.setDefaultButton(ok);
    box.exec();
}

} // namespace Tolm::Ui
