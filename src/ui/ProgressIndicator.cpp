#include "ui/ProgressIndicator.h"

#include <QPainter>

namespace Tolm::Ui {

namespace {
constexpr int kSpokes = 12;
} // namespace

ProgressIndicator::ProgressIndicator(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    mTimer.setInterval(1000 / kSpokes);
    connect(&mTimer, &QTimer::timeout, this, [this] {
        mStep = (mStep + 1) % kSpokes;
        update();
    });
    hide();
}

void ProgressIndicator::setIndeterminate(bool indeterminate)
{
    mIndeterminate = indeterminate;
}

void ProgressIndicator::startAnimation()
{
    show();
    mTimer.start();
}

void ProgressIndicator::stopAnimation()
{
    mTimer.stop();
    hide();
}

void ProgressIndicator::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal side = std::min(width(), height());
    painter.translate(width() / 2.0, height() / 2.0);
    QColor colour = palette().color(QPalette::WindowText);
    QPen pen(colour, std::max(1.5, side / 11.0), Qt::SolidLine, Qt::RoundCap);
    // The spoke at the current step is darkest; the ones behind it fade out.
    for (int i = 0; i < kSpokes; ++i) {
        const int age = (mStep - i + kSpokes) % kSpokes;
        colour.setAlphaF(1.0 - 0.8 * age / (kSpokes - 1));
        pen.setColor(colour);
        painter.setPen(pen);
        painter.save();
        painter.rotate(360.0 * i / kSpokes);
        painter.drawLine(QPointF(0, -side * 0.24), QPointF(0, -side * 0.44));
        painter.restore();
    }
}

} // namespace Tolm::Ui
