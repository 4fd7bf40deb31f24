#include "ui/MeteringView.h"

#include <QImage>
#include <QtTest>
#include <array>
#include <cmath>
#include <limits>

using Tolm::Ui::MeteringView;

namespace {

// A meter on a clock the test moves.
class ClockedMeter : public MeteringView {
  public:
    explicit ClockedMeter(int height, bool clipLight = true)
    {
        resize(15, height);
        setNumChannels(1);
        setHasClipIndicator(clipLight);
    }
    UInt64 now = 1'000'000'000;

    void feed(float db)
    {
        const std::array<float, 2> values{db, db};
        updateMeters(values);
    }
    QImage draw()
    {
        QImage image(size(), QImage::Format_ARGB32);
        image.fill(Qt::white);
        render(&image);
        return image;
    }
    // Channel 1's bar and clip light, in widget pixels.
    int column() const { return int(firstTrackOffset()) + 5; }
    QRgb clipLight() { return draw().pixel(column(), 3); }

  protected:
    UInt64 currentHostTimeNanos() const override { return now; }
};

int GreenRows(const QImage& image, int column)
{
    int rows = 0;
    for (int y = 0; y < image.height(); ++y)
        rows += image.pixel(column, y) == qRgb(0, 255, 0);
    return rows;
}

} // namespace

class MeteringViewTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void layoutAndScale()
    {
        MeteringView pair;
        pair.resize(40, 120);
        pair.setNumChannels(2);
        QCOMPARE(pair.firstTrackOffset(), 7.0f);

        ClockedMeter meter(200);
        QCOMPARE(meter.firstTrackOffset(), 2.0f);
        meter.feed(-6.0f);
        QCOMPARE(meter.meterValue(0), float(200 * std::pow(10.0, -0.3) / 0.9999));
        // Values survive only a change to the same channel count.
        meter.setNumChannels(1);
        QVERIFY(meter.meterValue(0) > 0);
        // Full scale and over stop below the clip light, or at the top without one.
        meter.feed(0.0f);
        QCOMPARE(meter.meterValue(0), 190.0f);
        meter.feed(12.0f);
        QCOMPARE(meter.meterValue(0), 190.0f);
        meter.setHasClipIndicator(false);
        meter.feed(0.0f);
        QCOMPARE(meter.meterValue(0), 198.0f);
        meter.setNumChannels(2);
        for (int entry = 0; entry < 4; ++entry)
            QCOMPARE(meter.meterValue(entry), 0.0f);
    }

    void drawsSilenceAsAnEmptyBar()
    {
        ClockedMeter meter(120);
        meter.feed(-std::numeric_limits<float>::infinity());
        QCOMPARE(meter.meterValue(0), 0.0f);
        QCOMPARE(GreenRows(meter.draw(), meter.column()), 1);
        meter.feed(-6.0f);
        QCOMPARE(GreenRows(meter.draw(), meter.column()), int(std::lround(meter.meterValue(0))) + 1);
    }

    void holdsTheClipLightForOneAndAHalfSeconds()
    {
        ClockedMeter meter(120);
        const QRgb red = qRgb(255, 0, 0);
        // Just below full scale is no over.
        meter.feed(-0.001f);
        QCOMPARE(meter.clipValue(0), 0);
        QVERIFY(meter.clipLight() != red);

        meter.feed(0.0f);
        QCOMPARE(meter.clipValue(0), 1);
        QCOMPARE(meter.clipLight(), red);

        // Quiet music after the over: the light stays red until 1.5 s have passed.
        meter.now += 1'499'999'999;
        meter.feed(-20.0f);
        QCOMPARE(meter.clipLight(), red);
        QCOMPARE(meter.clipValue(0), 1);
        meter.now += 1;
        QCOMPARE(meter.clipLight(), red); // this drawing lets it go
        QCOMPARE(meter.clipValue(0), 0);
        const QRgb grey = meter.clipLight();
        QCOMPARE(qRed(grey), qGreen(grey));
        QVERIFY(qRed(grey) < 128);

        // A new over moves the release on.
        meter.feed(0.0f);
        meter.now += 1'000'000'000;
        meter.feed(0.0f);
        meter.now += 1'000'000'000;
        meter.draw();
        QCOMPARE(meter.clipValue(0), 1);

        ClockedMeter noLight(120, false);
        noLight.feed(3.0f);
        QCOMPARE(noLight.clipValue(0), 0);
    }
};

QTEST_MAIN(MeteringViewTest)
#include "MeteringViewTest.moc"
