#include "ui/AMShapedButton.h"

#include "capture/Localization.h"
#include "ui/AMDarkenedImage.h"
#include "ui/CenterTextField.h"
#include "ui/ImageNamed.h"
#include "ui/TolmTextView.h"

#include <QDebug>
#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTextDocumentFragment>

namespace Tolm::Ui {

namespace {

const QLatin1String kCaptionPrefix("IDS_BUTTON_");
const QLatin1String kBottomCaptionPrefix("IDS_BUTTON_BOTTOM_");
const QString kNameText = QStringLiteral("name");

} // namespace

AMShapedButton::AMShapedButton(QWidget* parent) : QAbstractButton(parent)
{
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover, false);
}

AMShapedButton::~AMShapedButton() = default;

void AMShapedButton::setImage(const QImage& image)
{
    mImage = image;
    updateGeometry();
    update();
}

void AMShapedButton::setAlternateImage(const QImage& image)
{
    mAlternateImage = image;
    updateImageBaseName();
    update();
}

QString AMShapedButton::imageName() const { return mImage.text(kNameText); }

void AMShapedButton::setImageName(const QString& name) { setImage(ImageNamed(name)); }

QString AMShapedButton::alternateImageName() const { return mAlternateImage.text(kNameText); }

void AMShapedButton::setAlternateImageName(const QString& name) { setAlternateImage(ImageNamed(name)); }

void AMShapedButton::setImageBaseName(const QString& name)
{
    if (name != mImageBaseName)
        mImageBaseName = name;
}

void AMShapedButton::updateImageBaseName()
{
    const QString name = mAlternateImage.text(kNameText);
    const qsizetype aqua = name.indexOf(QLatin1String("Aqua"));
    if (aqua >= 0)
        setImageBaseName(name.left(aqua));
}

bool AMShapedButton::graphiteTint() const
{
    // A nearly grey accent colour is the graphite look.
    return palette().color(QPalette::Active, QPalette::Highlight).hsvSaturationF() < 0.2f;
}

void AMShapedButton::controlTintChanged()
{
    if (mImageBaseName.isEmpty())
        return;
    QImage image = ImageNamed(mImageBaseName + (graphiteTint() ? QLatin1String("Graphite") : QLatin1String("Aqua")));
    if (image.isNull()) {
        QColor tint = palette().color(QPalette::Active, QPalette::Highlight);
        tint.setAlphaF(0.5f);
        image = DarkenedImageWithColor(mImage, tint);
    }
    // Set directly: the base name stays what it is.
    mAlternateImage = image;
    update();
}

void AMShapedButton::awakeFromNib()
{
    updateImageBaseName();
    controlTintChanged();

    const QString title = text();
    if (title.isEmpty())
        return;
    QRect frame = rect();
    if (title.startsWith(kBottomCaptionPrefix)) {
        frame.setTop(height() / 2);
        frame.setHeight(height() - height() / 2);
    }
    delete mCaption;
    mCaption = new TolmTextView(this);
    mCaption->setGeometry(frame);
    if (title.startsWith(kCaptionPrefix)) {
        const QString caption = Localized(title);
        if (Qt::mightBeRichText(caption)) {
            mCaption->setTextFormat(Qt::RichText);
            mCaption->setText(caption);
            setAccessibleName(QTextDocumentFragment::fromHtml(caption).toPlainText());
        }
    }
    mCaption->setEnabled(isEnabled());
    mCaption->setAlignment(Qt::AlignCenter);
    if (title.startsWith(kCaptionPrefix))
        CenterTextField(mCaption);
    mCaption->show();
}

bool AMShapedButton::hitTest(const QPoint& point) const
{
    if (!rect().contains(point))
        return false;
    if (mImage.isNull() || !mImage.hasAlphaChannel())
        return true;
    const int samples = 4;
    if (mImage.depth() / samples != 8) {
        qWarning("Bits per Pixel/Samples per Pixel != 8: %i/%i", mImage.depth(), samples);
        return true;
    }
    // The point scaled to the bitmap's pixels (the image may be rendered for a denser screen).
    const int x = int(point.x() * qreal(mImage.width()) / width());
    const int y = int(point.y() * qreal(mImage.height()) / height());
    if (x < 0 || y < 0 || x >= mImage.width() || y >= mImage.height())
        return true;
    return qAlpha(mImage.pixel(x, y)) >= 128;
}

bool AMShapedButton::hitButton(const QPoint& pos) const { return hitTest(pos); }

QSize AMShapedButton::sizeHint() const
{
    return mImage.isNull() ? QSize(32, 32) : mImage.deviceIndependentSize().toSize();
}

QColor AMShapedButton::controlHighlightColor() const { return palette().color(QPalette::Midlight); }

void AMShapedButton::paintEvent(QPaintEvent*)
{
    const bool showsState = isCheckable();
    const bool on = showsState && isChecked();
    const bool highlighted = isDown();
    const QImage& alternate = mAlternateImage.isNull() ? mImage : mAlternateImage;

    QImage image;
    qreal fraction = 1.0;
    if (isEnabled()) {
        if (highlighted || on) {
            image = alternate;
            if (highlighted && showsState) {
                QColor color = controlHighlightColor();
                color.setAlphaF(0.5f);
                image = DarkenedImageWithColor(image, color);
            }
        } else {
            image = mImage;
        }
    } else {
        image = on ? alternate : GrayImageWithColor(mImage, controlHighlightColor());
        fraction = 0.9;
    }

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(fraction);
    painter.drawImage(QPointF(0, 0), image);

    if (hasFocus() && mKeyboardFocus) {
        painter.setOpacity(1.0);
        QPen ring(palette().color(QPalette::Active, QPalette::Highlight), 2);
        painter.setPen(ring);
        painter.setBrush(Qt::NoBrush);
        const QRectF box = QRectF(rect()).adjusted(1, 1, -1, -1);
        const qreal radius = std::min<qreal>(box.height() / 2, 14);
        painter.drawRoundedRect(box, radius, radius);
    }
}

void AMShapedButton::changeEvent(QEvent* event)
{
    QAbstractButton::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ApplicationPaletteChange)
        controlTintChanged();
    else if (event->type() == QEvent::EnabledChange && mCaption)
        mCaption->setEnabled(isEnabled());
}

void AMShapedButton::focusInEvent(QFocusEvent* event)
{
    mKeyboardFocus = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    QAbstractButton::focusInEvent(event);
}

// Return presses a focused button too, as it does a dialog's buttons: the naming panels hand
// the keyboard to Next after the last name.
void AMShapedButton::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier) {
        animateClick();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

} // namespace Tolm::Ui
