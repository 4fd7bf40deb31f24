#pragma once

#include <QAbstractButton>
#include <QImage>

namespace Tolm::Ui {

class TolmTextView;

// A button drawn only from images and clickable only where its image is opaque. Its pressed
// or chosen image follows the desktop's accent: an alternate image named base + "Aqua" for a
// coloured accent, base + "Graphite" for a grey one. Its caption is the rich text of its
// "IDS_BUTTON_" title, centred over the image ("IDS_BUTTON_BOTTOM_": in the lower half).
class AMShapedButton : public QAbstractButton {
    Q_OBJECT
    Q_PROPERTY(QString imageName READ imageName WRITE setImageName)
    Q_PROPERTY(QString alternateImageName READ alternateImageName WRITE setAlternateImageName)

public:
    explicit AMShapedButton(QWidget* parent = nullptr);
    ~AMShapedButton() override;

    QImage image() const { return mImage; }
    void setImage(const QImage& image);
    QImage alternateImage() const { return mAlternateImage; }
    // Takes the tint base name from the image's name when it has one.
    void setAlternateImage(const QImage& image);

    // Artwork by name (see ImageNamed), as the interface files give it.
    QString imageName() const;
    void setImageName(const QString& name);
    QString alternateImageName() const;
    void setAlternateImageName(const QString& name);

    QString imageBaseName() const { return mImageBaseName; }
    void setImageBaseName(const QString& name);
    void updateImageBaseName();

    // Picks the alternate image for the current accent colour.
    void controlTintChanged();
    bool graphiteTint() const;

    // Finishes the set-up once the interface file has given the button its title and images.
    Q_INVOKABLE void awakeFromNib();

    // Whether a point (in the button's coordinates) is on the opaque part of the image.
    bool hitTest(const QPoint& point) const;

    int state() const { return isChecked() ? 1 : 0; }
    void setState(int state) { setChecked(state != 0); }

    TolmTextView* caption() const { return mCaption; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& pos) const override;
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QColor controlHighlightColor() const;

    QImage mImage;
    QImage mAlternateImage;
    QString mImageBaseName;
    TolmTextView* mCaption = nullptr;
    bool mKeyboardFocus = false;
};

} // namespace Tolm::Ui
