#include "ui/MeteringView.h"

#include "platform/HostTime.h"

#include <QMouseEvent>
#include <QPainter>

#include <cmath>

namespace Tolm::Ui {

namespace {

constexpr UInt64 kClipHoldNanos = 1'500'000'000;

QColor Grey(qreal white) { return QColor::fromRgbF(float(white), float(white), float(white)); }

const QColor& DarkRed()
{
    static const QColor color = QColor::fromRgbF(0.75f, 0.18f, 0.18f);
    return color;
}

} // namespace

MeteringView::MeteringView(QWidget* parent)
    : QWidget(parent), mMinDB(20.0 * std::log10(0.0))
{
}

MeteringView::~MeteringView() = default;

void MeteringView::setNumChannels(int count)
{
    if (count == mNumChannels)
        return;
    mNumChannels = count;
    const size_t entries = size_t(std::max(count, 0)) * 2;
    mMeterValues = std::make_unique<float[]>(entries);
    mOldMeterValues = std::make_unique<float[]>(entries);
    // Written per entry by updateMeters, read per channel when drawing: room for both.
    mClipValues = std::make_unique<SInt32[]>(entries);
    mTimeOfOversNanos = std::make_unique<UInt64[]>(entries);
    drawsMetersOnly = false;
    mFirstTrackOffset = std::floor((width() - (14.0f * count - 3.0f)) * 0.5f);
    update();
}

void MeteringView::setMinDB(double db)
{
    if (db == mMinDB)
        return;
    mMinDB = db;
    mMinValue = std::pow(10.0, db * 0.05);
    drawsMetersOnly = false;
    update();
}

void MeteringView::setMaxDB(double db)
{
    if (db == mMaxDB)
        return;
    mMaxDB = db;
    mMaxValue = std::pow(10.0, db * 0.05);
    drawsMetersOnly = false;
    update();
}

void MeteringView::setMinValue(double value)
{
    if (value == mMinValue)
        return;
    mMinValue = value;
    mMinDB = 20.0 * std::log10(value);
    drawsMetersOnly = false;
    update();
}

void MeteringView::setMaxValue(double value)
{
    if (value == mMaxValue)
        return;
    mMaxValue = value;
    mMaxDB = 20.0 * std::log10(value);
    drawsMetersOnly = false;
    update();
}

void MeteringView::setHasClipIndicator(bool hasClip)
{
    if (hasClip == mHasClip)
        return;
    mHasClip = hasClip;
    drawsMetersOnly = false;
    update();
}

float MeteringView::pixelForValue(double value, int size) const
{
    return float(size * (value - mMinValue) / (mMaxValue - mMinValue));
}

void MeteringView::updateMeters(std::span<const float> values)
{
    const int entries = std::min<int>(2 * mNumChannels, int(values.size()));
    const int size = height();
    const float top = float(height() - (mHasClip ? 10 : 2));
    for (int i = 0; i < entries; ++i) {
        mOldMeterValues[i] = mMeterValues[i];
        const double amplitude = std::pow(10.0, values[i] * 0.05);
        float pixels = pixelForValue(amplitude, size);
        if (pixels < 0)
            pixels = 0;
        if (pixels > top)
            pixels = top;
        mMeterValues[i] = pixels;
        if (mHasClip && amplitude > mMaxValue) {
            mClipValues[i] = 1;
            mTimeOfOversNanos[i] = AudioConvertHostTimeToNanos(currentHostTimeNanos());
        }
    }
    update();
}

float MeteringView::meterValue(int entry) const
{
    return entry >= 0 && entry < 2 * mNumChannels ? mMeterValues[entry] : 0.0f;
}

int MeteringView::clipValue(int index) const
{
    return index >= 0 && index < 2 * mNumChannels ? mClipValues[index] : 0;
}

UInt64 MeteringView::currentHostTimeNanos() const { return AudioGetCurrentHostTime(); }

void MeteringView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Drawn bottom-up: y counts pixels from the bottom edge, as the levels do.
    painter.translate(0, height());
    painter.scale(1, -1);
    if (drawsMetersOnly)
        drawChanges(painter);
    else
        drawFull(painter);
    drawsMetersOnly = false;
}

void MeteringView::drawFull(QPainter& painter)
{
    const qreal H = height();
    const qreal R = mHasClip ? 8 : 0;
    const UInt64 now = AudioConvertHostTimeToNanos(currentHostTimeNanos());
    for (int channel = 0; channel < mNumChannels; ++channel) {
        const qreal x = mFirstTrackOffset + 0.5 + 14.0 * channel;
        const qreal level = std::lround(mMeterValues[2 * channel]);

        // Lit from below right: shadow on the top and left edges.
        painter.setPen(Grey(0.37));
        painter.drawLine(QPointF(x, 0), QPointF(x, H - 0.5 - R));
        painter.drawLine(QPointF(x, H - 0.5 - R), QPointF(x + 10, H - 0.5 - R));
        painter.setPen(Grey(0.53));
        painter.drawLine(QPointF(x + 10, H - 0.5 - R), QPointF(x + 10, 0));
        painter.drawLine(QPointF(x + 10, 0), QPointF(x, 0));

        if (mHasClip) {
            painter.setPen(Grey(0.53));
            painter.drawLine(QPointF(x + 10, H - 0.5), QPointF(x + 10, H + 2.5 - R));
            painter.drawLine(QPointF(x + 10, H + 2.5 - R), QPointF(x, H + 2.5 - R));
            painter.setPen(Grey(0.37));
            painter.drawLine(QPointF(x, H + 2.5 - R), QPointF(x, H - 0.5));
            painter.drawLine(QPointF(x, H - 0.5), QPointF(x + 10, H - 0.5));
        }

        painter.fillRect(QRectF(x + 0.5, level + 1, 9, H - 2 - level - R), Grey(0.4));

        if (mHasClip) {
            const SInt32 clip = mClipValues[channel];
            const QColor light = clip == 0 ? Grey(0.4) : clip < 10 ? QColor(Qt::red) : DarkRed();
            painter.fillRect(QRectF(x + 0.5, H + 3 - R, 9, 4.5), light);
            UInt64& over = mTimeOfOversNanos[channel];
            if (over != 0 && now - over >= kClipHoldNanos) {
                mClipValues[channel] = 0;
                over = 0;
            }
        }

        painter.fillRect(QRectF(x + 0.5, 1, 9, level + 1), QColor(Qt::green));
    }
}

void MeteringView::drawChanges(QPainter& painter)
{
    const qreal H = height();
    const qreal R = mHasClip ? 8 : 0;
    for (int channel = 0; channel < mNumChannels; ++channel) {
        const qreal x = mFirstTrackOffset + 0.5 + 14.0 * channel;
        const long oldLevel = std::lround(mOldMeterValues[2 * channel]);
        const long newLevel = std::lround(mMeterValues[2 * channel]);
        const long oldPeak = std::lround(mOldMeterValues[2 * channel + 1]);
        const long newPeak = std::lround(mMeterValues[2 * channel + 1]);
        SInt32& clip = mClipValues[channel];

        if (oldPeak != newPeak) {
            painter.setPen(Grey(0.4));
            painter.drawLine(QPointF(x + 0.5, oldPeak + 0.5), QPointF(x + 9.5, oldPeak + 0.5));
        }
        if (newLevel > oldLevel) {
            const long from = std::max(oldLevel, 1L);
            painter.fillRect(QRectF(x + 0.5, from, 9, newLevel - from), QColor(Qt::green));
        } else if (newLevel < oldLevel) {
            painter.fillRect(QRectF(x + 0.5, newLevel + 1, 9, oldLevel - newLevel), Grey(0.4));
        }
        if (oldPeak != newPeak || clip == 1) {
            painter.setPen(clip == 1 ? QColor(Qt::red) : Grey(0.8));
            painter.drawLine(QPointF(x + 0.5, newPeak + 0.5), QPointF(x + 9.5, newPeak + 0.5));
        }
        if (mHasClip && clip >= 1 && clip <= 10) {
            if (clip == 1)
                painter.fillRect(QRectF(x + 0.5, H + 3 - R, 9, 4.5), QColor(Qt::red));
            else if (clip == 10)
                painter.fillRect(QRectF(x + 0.5, H + 3 - R, 9, 4.5), DarkRed());
            ++clip;
        }
    }
}

void MeteringView::mousePressEvent(QMouseEvent* event)
{
    // Taken and dropped: a click on a meter neither drags the window nor reaches the panel.
    event->accept();
}

void MeteringView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    update();
}

} // namespace Tolm::Ui
