#include "ui/PictureView.h"

#include "ui/ImageNamed.h"

#include <QPainter>

namespace Tolm::Ui {

PictureView::PictureView(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void PictureView::setImageName(const QString& name)
{
    mName = name;
    mImage = ImageNamed(name);
    update();
}

void PictureView::paintEvent(QPaintEvent*)
{
    if (mImage.isNull())
        return;
    QPainter painter(this);
    const QSizeF size = mImage.deviceIndependentSize();
    painter.drawImage(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), mImage);
}

} // namespace Tolm::Ui
