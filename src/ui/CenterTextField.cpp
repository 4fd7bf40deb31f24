#include "ui/CenterTextField.h"

#include <QWidget>

namespace Tolm::Ui {

void CenterTextField(QWidget* field)
{
    if (!field)
        return;
    const QRect before = field->geometry();
    field->adjustSize();
    QRect after = field->geometry();
    after.moveTopLeft(before.topLeft() + QPoint((before.width() - after.width()) / 2,
                                                (before.height() - after.height()) / 2));
    field->setGeometry(after);
}

} // namespace Tolm::Ui
