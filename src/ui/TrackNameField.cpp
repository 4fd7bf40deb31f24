#include "ui/TrackNameField.h"

#include <QPainter>
#include <QVariant>

namespace Tolm::Ui {

namespace {
constexpr int kNumberWidth = 30;
constexpr int kFirstTrackTag = 60;
constexpr int kDurationWidth = 54;
} // namespace

TrackNameField::TrackNameField(QWidget* parent) : QLineEdit(parent)
{
    setTextMargins(kNumberWidth - 4, 0, 0, 0);
}

void TrackNameField::setDuration(const QString& duration)
{
    mDuration = duration;
    setTextMargins(kNumberWidth - 4, 0, duration.isEmpty() ? 0 : kDurationWidth - 4, 0);
    update();
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
    if (!mDuration.isEmpty()) {
        font.setBold(false);
        painter.setFont(font);
        painter.drawText(QRect(width() - kDurationWidth, 0, kDurationWidth - 8, height()),
                         Qt::AlignRight | Qt::AlignVCenter, mDuration);
    }
}

} // namespace Tolm::Ui
