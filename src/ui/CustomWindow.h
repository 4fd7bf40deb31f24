#pragma once

#include <QImage>
#include <QWidget>

namespace Tolm::Ui {

// The wizard's one window: borderless and transparent, so the panel artwork gives it its
// outline, with a soft shadow that follows that outline. It reopens where the user left it
// and takes the keyboard like any window.
class CustomWindow : public QWidget {
    Q_OBJECT

public:
    explicit CustomWindow(QWidget* parent = nullptr);
    ~CustomWindow() override;

    static QString frameKey() { return QStringLiteral("TolmAudioConverter"); }

    // The room around the content that the shadow is drawn in.
    static QMargins shadowMargins();
    // Places the content (the panel container) inside the shadow margins; the window owns
    // it until it is replaced, when the previous content is handed back without a parent.
    void setContent(QWidget* content);
    QWidget* content() const { return mContent; }

    // The shadow follows the outline of this image, drawn at this point of the window.
    // Cheap when nothing changed: panels call it on every draw.
    void invalidateShadow(const QImage& outline, QPoint position);

    bool canBecomeKeyWindow() const { return true; }

    void saveFrame() const;
    bool restoreFrame();

protected:
    void paintEvent(QPaintEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QWidget* mContent = nullptr;
    qint64 mOutlineKey = 0;
    QPoint mOutlinePosition;
    QImage mShadow;
};

// A soft shadow of an image's outline: its alpha, blurred, in the colour given, on an image
// larger by the radius on every side.
QImage DropShadow(const QImage& outline, int radius, const QColor& color);

} // namespace Tolm::Ui
