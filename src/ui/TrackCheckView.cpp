#include "ui/TrackCheckView.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace Tolm::Ui {

namespace {

constexpr double kLabelHeight = 22.0;
constexpr double kRulerHeight = 16.0;
constexpr double kGrabPixels = 6.0;
constexpr double kSmallestViewSeconds = 0.5;
constexpr double kWheelZoom = 1.25;

QString Duration(double seconds)
{
    const long whole = std::lround(seconds);
    return whole >= 3600 ? QString::asprintf("%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60)
                         : QString::asprintf("%ld:%02ld", whole / 60, whole % 60);
}

QString Clock(double seconds)
{
    const long tenths = std::lround(seconds * 10.0);
    return QString::asprintf("%ld:%02ld.%ld", tenths / 600, tenths / 10 % 60, tenths % 10);
}

} // namespace

TrackCheckView::TrackCheckView(QWidget* parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void TrackCheckView::clear(const QString& message)
{
    mOverview = nullptr;
    mMessage = message;
    mSelected.reset();
    mPlayPosition.reset();
    update();
}

void TrackCheckView::setEditable(bool editable)
{
    mEditable = editable;
    mDragging = false;
    update();
}

void TrackCheckView::setSide(const Tracks::WaveformOverview* overview, double sampleRate,
                             Tracks::TrackMarkers markers, std::vector<std::int64_t> liveSplits)
{
    mOverview = overview;
    mRate = sampleRate > 0.0 ? sampleRate : 44100.0;
    mMarkers = std::move(markers);
    mLiveSplits = std::move(liveSplits);
    mSelected.reset();
    mCursor = mMarkers.position(0);
    setView(0, mMarkers.sideFrames());
    Q_EMIT markersChanged();
    Q_EMIT selectionChanged();
}

QRectF TrackCheckView::waveRect() const
{
    return QRectF(rect()).adjusted(1, kLabelHeight, -1, -kRulerHeight);
}

std::int64_t TrackCheckView::frameAt(double x) const
{
    const QRectF wave = waveRect();
    const double fraction = std::clamp((x - wave.left()) / std::max(wave.width(), 1.0), 0.0, 1.0);
    return mViewStart + std::llround(fraction * double(mViewFrames));
}

double TrackCheckView::xOf(std::int64_t frame) const
{
    const QRectF wave = waveRect();
    return wave.left() + double(frame - mViewStart) / double(mViewFrames) * wave.width();
}

void TrackCheckView::setView(std::int64_t start, std::int64_t frames)
{
    const std::int64_t side = std::max<std::int64_t>(mMarkers.sideFrames(), 1);
    frames = std::clamp<std::int64_t>(frames, std::min<std::int64_t>(std::llround(kSmallestViewSeconds * mRate), side),
                                      side);
    mViewFrames = std::max<std::int64_t>(frames, 1);
    mViewStart = std::clamp<std::int64_t>(start, 0, side - mViewFrames);
    update();
}

void TrackCheckView::zoomAround(std::int64_t frame, double factor)
{
    const double fraction = double(frame - mViewStart) / double(mViewFrames);
    const std::int64_t frames = std::llround(double(mViewFrames) / factor);
    setView(frame - std::llround(fraction * double(frames)), frames);
}

void TrackCheckView::zoom(double factor)
{
    const std::int64_t around = mSelected ? mMarkers.position(*mSelected) : mCursor;
    // Zooming in about something out of sight brings it into the middle.
    if (around < mViewStart || around > mViewStart + mViewFrames)
        setView(around - mViewFrames / 2, mViewFrames);
    zoomAround(around, factor);
}

void TrackCheckView::keepVisible(std::int64_t frame)
{
    if (frame < mViewStart || frame > mViewStart + mViewFrames)
        setView(frame - mViewFrames / 2, mViewFrames);
}

void TrackCheckView::selectMarker(std::optional<std::size_t> marker)
{
    if (marker && *marker >= mMarkers.count())
        marker.reset();
    mSelected = marker;
    if (mSelected)
        keepVisible(mMarkers.position(*mSelected));
    update();
    Q_EMIT selectionChanged();
}

void TrackCheckView::setCursor(std::int64_t frame)
{
    mCursor = std::clamp<std::int64_t>(frame, 0, mMarkers.sideFrames());
    mSelected.reset();
    keepVisible(mCursor);
    update();
    Q_EMIT selectionChanged();
}

void TrackCheckView::setPlayPosition(std::optional<std::int64_t> frame)
{
    mPlayPosition = frame;
    update();
}

bool TrackCheckView::splitAtCursor()
{
    const auto marker = mMarkers.split(mCursor);
    if (!marker)
        return false;
    mSelected = marker;
    update();
    Q_EMIT markersChanged();
    Q_EMIT selectionChanged();
    return true;
}

bool TrackCheckView::joinSelected()
{
    if (!mSelected || !mMarkers.join(*mSelected))
        return false;
    mCursor = mMarkers.position(*mSelected - 1);
    mSelected.reset();
    update();
    Q_EMIT markersChanged();
    Q_EMIT selectionChanged();
    return true;
}

bool TrackCheckView::moveSelected(std::int64_t to)
{
    if (!mSelected)
        return false;
    const std::int64_t before = mMarkers.position(*mSelected);
    const std::int64_t after = mMarkers.move(*mSelected, to);
    keepVisible(after);
    update();
    if (after != before)
        Q_EMIT markersChanged();
    return after != before;
}

QString TrackCheckView::trackLabel(std::size_t track) const
{
    const double seconds = double(mMarkers.position(track + 1) - mMarkers.position(track)) / mRate;
    return QStringLiteral("%1  %2").arg(track + 1).arg(Duration(seconds));
}

void TrackCheckView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0xfb, 0xfa, 0xf7));
    painter.setPen(QColor(0xcb, 0xc5, 0xbc));
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    const QRectF wave = waveRect();
    const QColor accent = palette().color(QPalette::Highlight);

    if (!mOverview) {
        painter.setPen(QColor(0x5a, 0x63, 0x70));
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, mMessage);
        return;
    }

    // The lead-in and the run-out: not part of any track.
    const QColor outside(0xe4, 0xe0, 0xd8);
    const double firstX = xOf(mMarkers.position(0));
    const double lastX = xOf(mMarkers.position(mMarkers.count() - 1));
    if (firstX > wave.left())
        painter.fillRect(QRectF(wave.left(), wave.top(), firstX - wave.left(), wave.height()), outside);
    if (lastX < wave.right())
        painter.fillRect(QRectF(lastX, wave.top(), wave.right() - lastX, wave.height()), outside);

    // The waveform, one column per pixel: peak light, RMS dark.
    const double middle = wave.center().y();
    const double half = wave.height() / 2.0 - 1.0;
    const QColor peakColour(0x9d, 0xb4, 0xcc);
    const QColor rmsColour(0x3d, 0x5a, 0x80);
    const int columns = int(wave.width());
    for (int column = 0; column < columns; ++column) {
        const double x = wave.left() + column;
        const std::int64_t from = frameAt(x);
        const std::int64_t to = std::max(frameAt(x + 1.0), from + 1);
        const auto level = mOverview->level(from, to);
        const double peak = std::max(1.0, double(level.peak) * half);
        const double rms = double(level.rms) * half;
        painter.setPen(peakColour);
        painter.drawLine(QPointF(x + 0.5, middle - peak), QPointF(x + 0.5, middle + peak));
        if (rms >= 0.5) {
            painter.setPen(rmsColour);
            painter.drawLine(QPointF(x + 0.5, middle - rms), QPointF(x + 0.5, middle + rms));
        }
    }

    // Where the recording split by itself, faintly, unless a marker is there.
    const std::int64_t near = std::llround(0.5 * mRate);
    painter.setPen(QPen(QColor(0x8a, 0x92, 0x9c), 1.0, Qt::DashLine));
    for (std::int64_t split : mLiveSplits) {
        if (mMarkers.nearest(split, near))
            continue;
        const double x = xOf(split);
        if (x >= wave.left() && x <= wave.right())
            painter.drawLine(QPointF(x, wave.top()), QPointF(x, wave.bottom()));
    }

    // Track numbers and lengths above their tracks.
    QFont small = font();
    small.setPixelSize(12);
    painter.setFont(small);
    for (std::size_t track = 0; track < mMarkers.trackCount(); ++track) {
        const double left = std::max(xOf(mMarkers.position(track)), wave.left());
        const double right = std::min(xOf(mMarkers.position(track + 1)), wave.right());
        if (right - left < 12.0)
            continue;
        painter.setPen(QColor(0x2c, 0x34, 0x40));
        painter.drawText(QRectF(left + 3, 2, right - left - 6, kLabelHeight - 4),
                         Qt::AlignLeft | Qt::AlignVCenter, trackLabel(track));
    }

    // The markers; the chosen one in the accent colour with a handle. Faint until final.
    painter.setOpacity(mEditable ? 1.0 : 0.35);
    for (std::size_t marker = 0; marker < mMarkers.count(); ++marker) {
        const double x = xOf(mMarkers.position(marker));
        if (x < wave.left() - 1 || x > wave.right() + 1)
            continue;
        const bool chosen = mSelected == marker;
        const QColor colour = chosen ? accent : QColor(0xc0, 0x39, 0x2b);
        painter.setPen(QPen(colour, chosen ? 2.0 : 1.5));
        painter.drawLine(QPointF(x, wave.top() - 4), QPointF(x, wave.bottom()));
        painter.setBrush(colour);
        painter.setPen(Qt::NoPen);
        const QPointF handle[] = {{x - 5, wave.top() - 6}, {x + 5, wave.top() - 6}, {x, wave.top() + 2}};
        painter.drawPolygon(handle, 3);
    }

    painter.setOpacity(1.0);

    // The listening point, and what plays.
    painter.setPen(QPen(QColor(0x2c, 0x34, 0x40), 1.0, Qt::DotLine));
    if (!mSelected) {
        const double x = xOf(mCursor);
        painter.drawLine(QPointF(x, wave.top()), QPointF(x, wave.bottom()));
    }
    if (mPlayPosition) {
        painter.setPen(QPen(QColor(0x27, 0xae, 0x60), 2.0));
        const double x = xOf(*mPlayPosition);
        painter.drawLine(QPointF(x, wave.top()), QPointF(x, wave.bottom()));
    }

    // The times at both ends of what is shown.
    painter.setPen(QColor(0x5a, 0x63, 0x70));
    const QRectF ruler(wave.left() + 3, wave.bottom(), wave.width() - 6, kRulerHeight);
    painter.drawText(ruler, Qt::AlignLeft | Qt::AlignVCenter, Clock(double(mViewStart) / mRate));
    painter.drawText(ruler, Qt::AlignRight | Qt::AlignVCenter, Clock(double(mViewStart + mViewFrames) / mRate));
    if (hasFocus()) {
        painter.setPen(QPen(accent, 2.0));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    }
}

void TrackCheckView::mousePressEvent(QMouseEvent* event)
{
    if (!mOverview || !mEditable || event->button() != Qt::LeftButton)
        return;
    const std::int64_t frame = frameAt(event->position().x());
    const auto grab = std::llround(kGrabPixels * double(mViewFrames) / std::max(waveRect().width(), 1.0));
    if (const auto marker = mMarkers.nearest(frame, grab)) {
        selectMarker(marker);
        mDragging = true;
    } else {
        setCursor(frame);
    }
}

void TrackCheckView::mouseMoveEvent(QMouseEvent* event)
{
    if (mDragging && (event->buttons() & Qt::LeftButton))
        moveSelected(frameAt(event->position().x()));
}

void TrackCheckView::mouseReleaseEvent(QMouseEvent*)
{
    mDragging = false;
}

void TrackCheckView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (!mOverview || !mEditable || event->button() != Qt::LeftButton)
        return;
    setCursor(frameAt(event->position().x()));
    splitAtCursor();
}

void TrackCheckView::wheelEvent(QWheelEvent* event)
{
    if (!mOverview)
        return;
    const double steps = event->angleDelta().y() / 120.0;
    if (steps != 0.0)
        zoomAround(frameAt(event->position().x()), std::pow(kWheelZoom, steps));
    event->accept();
}

void TrackCheckView::keyPressEvent(QKeyEvent* event)
{
    if (!mOverview || !mEditable) {
        QWidget::keyPressEvent(event);
        return;
    }
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    const bool control = event->modifiers() & Qt::ControlModifier;
    const std::int64_t second = std::llround(mRate);
    const std::int64_t step = control ? second : std::llround(0.01 * mRate);
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Right: {
        const int direction = event->key() == Qt::Key_Left ? -1 : 1;
        if ((shift || control) && mSelected) {
            moveSelected(mMarkers.position(*mSelected) + direction * step);
        } else if (mSelected) {
            const auto next = std::int64_t(*mSelected) + direction;
            if (next >= 0 && next < std::int64_t(mMarkers.count()))
                selectMarker(std::size_t(next));
        } else {
            // From the listening point to the next marker that way.
            const auto& positions = mMarkers.positions();
            if (direction > 0) {
                const auto it = std::upper_bound(positions.begin(), positions.end(), mCursor);
                if (it != positions.end())
                    selectMarker(std::size_t(it - positions.begin()));
            } else {
                const auto it = std::lower_bound(positions.begin(), positions.end(), mCursor);
                if (it != positions.begin())
                    selectMarker(std::size_t(it - positions.begin()) - 1);
            }
        }
        break;
    }
    case Qt::Key_Up:
    case Qt::Key_Down: {
        const std::int64_t from = mSelected ? mMarkers.position(*mSelected) : mCursor;
        const std::int64_t by = shift ? std::llround(0.01 * mRate) : second;
        setCursor(from + (event->key() == Qt::Key_Down ? -by : by));
        break;
    }
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoom(2.0);
        break;
    case Qt::Key_Minus:
        zoom(0.5);
        break;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        joinSelected();
        break;
    case Qt::Key_Insert:
    case Qt::Key_S:
        splitAtCursor();
        break;
    case Qt::Key_Space:
        Q_EMIT listenRequested();
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

} // namespace Tolm::Ui
