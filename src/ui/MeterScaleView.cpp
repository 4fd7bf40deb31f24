#include "ui/MeterScaleView.h"

#include <QPainter>

#include <array>
#include <cmath>

namespace Tolm::Ui {

namespace {
// A meter's full scale, where its clip light comes on.
constexpr double kFullScale = 0.9999;
} // namespace

MeterScaleView::MeterScaleView(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void MeterScaleView::setClipIndicator(bool clipIndicator)
{
    mClipIndicator = clipIndicator;
    update();
}

void MeterScaleView::setMarkColor(const QColor& color)
{
    mMarkColor = color;
    update();
}

qreal MeterScaleView::heightForDb(double db) const
{
    const qreal top = height() - (mClipIndicator ? 10 : 2);
    return std::min<qreal>(top, height() * std::pow(10.0, db * 0.05) / kFullScale);
}

void MeterScaleView::paintEvent(QPaintEvent*)
{
    static constexpr std::array<int, 5> marks{0, -3, -6, -10, -20};
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font = this->font();
    font.setPixelSize(10);
    painter.setFont(font);
    for (int db : marks) {
        const qreal y = height() - heightForDb(db);
        painter.setPen(QPen(mMarkColor, 1));
        painter.drawLine(QPointF(width() - 4, y + 0.5), QPointF(width(), y + 0.5));
        const QString label = db == 0 ? QStringLiteral("0") : QString(QChar(0x2212)) + QString::number(-db);
        painter.drawText(QRectF(0, y - 7, width() - 6, 14), Qt::AlignRight | Qt::AlignVCenter, label);
    }
}

} // namespace Tolm::Ui
