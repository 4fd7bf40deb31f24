#include "ui/CustomWindow.h"

#include <QCloseEvent>
#include <QPainter>
#include <QSettings>
#include <QVBoxLayout>

#include <vector>

namespace Tolm::Ui {

namespace {

constexpr int kShadowRadius = 14;
constexpr int kShadowDrop = 7;
const QColor kShadowColor(0, 0, 0, 110);

// One pass of a running-sum box blur along a line of alpha values.
void BoxBlurLine(const int* source, int* target, int length, int stride, int radius)
{
    const int window = 2 * radius + 1;
    int sum = 0;
    for (int i = -radius; i <= radius; ++i)
        sum += (i >= 0 && i < length) ? source[i * stride] : 0;
    for (int i = 0; i < length; ++i) {
        target[i * stride] = sum / window;
        const int leaving = i - radius;
        const int entering = i + radius + 1;
        sum -= leaving >= 0 ? source[leaving * stride] : 0;
        sum += entering < length ? source[entering * stride] : 0;
    }
}

} // namespace

QImage DropShadow(const QImage& outline, int radius, const QColor& color)
{
    if (outline.isNull())
        return {};
    const qreal ratio = outline.devicePixelRatio();
    const int pixels = int(radius * ratio);
    const int width = outline.width() + 2 * pixels;
    const int height = outline.height() + 2 * pixels;
    std::vector<int> alpha(size_t(width) * height, 0);
    std::vector<int> scratch(alpha.size(), 0);
    const QImage source = outline.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < source.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        for (int x = 0; x < source.width(); ++x)
            alpha[size_t(y + pixels) * width + x + pixels] = qAlpha(line[x]);
    }
    // Three box passes each way come close to a Gaussian.
    const int box = std::max(1, pixels / 3);
    for (int pass = 0; pass < 3; ++pass) {
        for (int y = 0; y < height; ++y)
            BoxBlurLine(&alpha[size_t(y) * width], &scratch[size_t(y) * width], width, 1, box);
        for (int x = 0; x < width; ++x)
            BoxBlurLine(&scratch[x], &alpha[x], height, width, box);
    }
    QImage shadow(width, height, QImage::Format_ARGB32_Premultiplied);
    const QColor rgb = color.toRgb();
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(shadow.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int a = alpha[size_t(y) * width + x] * rgb.alpha() / 255;
            line[x] = qPremultiply(qRgba(rgb.red(), rgb.green(), rgb.blue(), a));
        }
    }
    shadow.setDevicePixelRatio(ratio);
    return shadow;
}

CustomWindow::CustomWindow(QWidget* parent) : QWidget(parent, Qt::Window | Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_ShowWithoutActivating, false);
    setFocusPolicy(Qt::StrongFocus);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(shadowMargins());
    layout->setSpacing(0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    restoreFrame();
}

CustomWindow::~CustomWindow() = default;

QMargins CustomWindow::shadowMargins()
{
    return {kShadowRadius, kShadowRadius, kShadowRadius, kShadowRadius + kShadowDrop};
}

void CustomWindow::setContent(QWidget* content)
{
    if (mContent) {
        layout()->removeWidget(mContent);
        mContent->setParent(nullptr);
    }
    mContent = content;
    if (content)
        layout()->addWidget(content);
}

void CustomWindow::invalidateShadow(const QImage& outline, QPoint position)
{
    if (outline.cacheKey() == mOutlineKey && position == mOutlinePosition)
        return;
    mOutlineKey = outline.cacheKey();
    mOutlinePosition = position;
    mShadow = DropShadow(outline, kShadowRadius, kShadowColor);
    update();
}

void CustomWindow::paintEvent(QPaintEvent*)
{
    if (mShadow.isNull())
        return;
    QPainter painter(this);
    painter.drawImage(QPointF(mOutlinePosition) + QPointF(-kShadowRadius, -kShadowRadius + kShadowDrop), mShadow);
}

void CustomWindow::saveFrame() const
{
    QSettings settings;
    settings.setValue(frameKey(), saveGeometry());
}

bool CustomWindow::restoreFrame()
{
    const QSettings settings;
    const QByteArray frame = settings.value(frameKey()).toByteArray();
    return !frame.isEmpty() && restoreGeometry(frame);
}

void CustomWindow::closeEvent(QCloseEvent* event)
{
    saveFrame();
    QWidget::closeEvent(event);
}

void CustomWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // A borderless window gets no focus from some window managers unless it asks.
    activateWindow();
    raise();
}

} // namespace Tolm::Ui
