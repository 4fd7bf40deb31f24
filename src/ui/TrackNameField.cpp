#include "ui/TrackNameField.h"

#include <QPainter>
#include <QVariant>

namespace Tolm::Ui {

namespace {
constexpr int kNumberWidth = 30;
constexpr int kFirstTrackTag = 60;
} // namespace

TrackNameField::TrackNameField(QWidget* parent) : QLineEdit(parent)
{
    setTextMargins(kNumberWidth - 4, 0, 0, 0);
}

int TrackNameField::trackNumber() const { return property("tag").toInt() - kFirstTrackTag; }

void TrackNameField::paintEvent(QPaintEvent* event)
{
    QLineEdit::paintEvent(event);
    const int number = trackNumber();
    if (number <= 0)
        return;
    QPainter painter(this);
    QFont font = this->font();
    font.setBold(true);
    font.setPixelSize(std::max(11, font.pixelSize() > 0 ? font.pixelSize() - 1 : 12));
    painter.setFont(font);
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(QRect(0, 0, kNumberWidth, height()), Qt::AlignCenter, QString::number(number));
}

} // namespace Tolm::Ui
