#include "capture/Localization.h"
#include "ui/AMShapedButton.h"

#include <QApplication>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QtTest>

using Tolm::Ui::AMShapedButton;

namespace {

// Left half alpha 127, right half alpha 128.
QImage HalfOpaque()
{
    QImage image(40, 20, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgba(200, 40, 40, x < 20 ? 127 : 128));
    return image;
}

class PressRecorder : public QWidget {
  public:
    int presses = 0;

  protected:
    void mousePressEvent(QMouseEvent*) override { ++presses; }
};

QPalette WithHighlight(const QColor& colour)
{
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Highlight, colour);
    return palette;
}

} // namespace

class ShapedButtonTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English));
        Tolm::InstallTranslations();
    }

    void hitsOnlyWhereTheImageIsMostlyOpaque()
    {
        AMShapedButton button;
        button.resize(40, 20);
        button.setImage(HalfOpaque());
        for (const QPoint miss : {QPoint(5, 10), QPoint(19, 10), QPoint(40, 10), QPoint(-1, 10)})
            QVERIFY2(!button.hitTest(miss), qPrintable(QStringLiteral("%1,%2").arg(miss.x()).arg(miss.y())));
        QVERIFY(button.hitTest({20, 10}));
        QVERIFY(button.hitTest({39, 19}));

        // A denser image is looked up at the scaled point.
        QImage dense = HalfOpaque().scaled(80, 40);
        dense.setDevicePixelRatio(2.0);
        button.setImage(dense);
        QVERIFY(!button.hitTest({18, 5}));
        QVERIFY(button.hitTest({21, 5}));

        // Without alpha the whole rectangle hits.
        QImage opaque(40, 20, QImage::Format_RGB32);
        opaque.fill(Qt::black);
        button.setImage(opaque);
        QVERIFY(button.hitTest({0, 0}));
        QVERIFY(button.hitTest({39, 19}));
    }

    void clicksOnTransparentPartsReachThePanel()
    {
        PressRecorder panel;
        panel.resize(100, 60);
        auto* button = new AMShapedButton(&panel);
        button->setGeometry(10, 10, 40, 20);
        button->setImage(HalfOpaque());
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QSignalSpy clicked(button, &QAbstractButton::clicked);

        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(5, 10));
        QCOMPARE(clicked.count(), 0);
        QCOMPARE(panel.presses, 1);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(30, 10));
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(panel.presses, 1);
    }

    void thePressedLookFollowsTheAccentColourAtOnce()
    {
        // The desktop's palette reaches a window as a palette change, as here.
        AMShapedButton button;
        button.setPalette(WithHighlight(QColor(0x30, 0x8c, 0xc6)));
        button.setImageName(QStringLiteral("btn_Next"));
        button.setAlternateImageName(QStringLiteral("btn_NextAqua"));
        button.awakeFromNib();
        QCOMPARE(button.alternateImageName(), QStringLiteral("btn_NextAqua"));
        button.setPalette(WithHighlight(QColor(0x80, 0x80, 0x84)));
        QVERIFY(button.graphiteTint());
        QCOMPARE(button.alternateImageName(), QStringLiteral("btn_NextGraphite"));
        QCOMPARE(button.imageBaseName(), QStringLiteral("btn_Next"));
        button.setPalette(WithHighlight(QColor(0xd0, 0x40, 0x90)));
        QCOMPARE(button.alternateImageName(), QStringLiteral("btn_NextAqua"));

        // Without a tinted image the pressed look is the image darkened.
        button.setImageBaseName(QStringLiteral("btn_NoSuchArtwork"));
        button.controlTintChanged();
        const QImage pressed = button.alternateImage();
        QVERIFY(!pressed.isNull());
        QCOMPARE(pressed.size(), button.image().size());
        const QPoint middle(pressed.width() / 2, pressed.height() / 2);
        QVERIFY(qGray(pressed.pixel(middle)) <= qGray(button.image().pixel(middle)));
    }
};

QTEST_MAIN(ShapedButtonTest)
#include "ShapedButtonTest.moc"
