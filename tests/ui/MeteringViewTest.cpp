#include "ui/MeteringView.h"

#include <QImage>
#include <QtTest>

#include <array>
#include <cmath>
#include <limits>

using Tolm::Ui::MeteringView;

namespace {

constexpr float kSilence = -std::numeric_limits<float>::infinity();

// A meter on a clock the test moves.
class ClockedMeter : public MeteringView {
public:
    UInt64 now = 1'000'000'000;

protected:
    UInt64 currentHostTimeNanos() const override { return now; }
};

QImage Draw(MeteringView& meter)
{
    QImage image(meter.size(), QImage::Format_ARGB32);
    image.fill(Qt::white);
    meter.render(&image);
    return image;
}

int GreenRows(const QImage& image, int column)
{
    int rows = 0;
    for (int y = 0; y < image.height(); ++y)
        rows += image.pixel(column, y) == qRgb(0, 255, 0);
    return rows;
}

// The middle of channel 1's clip light, in widget pixels.
QPoint ClipLight(const MeteringView& meter) { return {int(meter.firstTrackOffset()) + 5, 3}; }

void Feed(MeteringView& meter, float db)
{
    const std::array<float, 2> values{db, db};
    meter.updateMeters(values);
}

} // namespace

class MeteringViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void centresItsBars()
    {
        MeteringView meter;
        meter.resize(40, 120);
        meter.setNumChannels(2);
        QCOMPARE(meter.firstTrackOffset(), 7.0f);

        MeteringView single;
        single.resize(15, 120);
        single.setNumChannels(1);
        QCOMPARE(single.firstTrackOffset(), 2.0f);
    }

    void keepsValuesOnlyForTheSameChannelCount()
    {
        MeteringView meter;
        meter.resize(15, 100);
        meter.setNumChannels(1);
        Feed(meter, -6.0f);
        QVERIFY(meter.meterValue(0) > 0);
        meter.setNumChannels(1);
        QVERIFY(meter.meterValue(0) > 0);
        meter.setNumChannels(2);
        for (int entry = 0; entry < 4; ++entry)
            QCOMPARE(meter.meterValue(entry), 0.0f);
    }

    void scalesLinearlyAndClampsBelowTheClipLight()
    {
        MeteringView meter;
        meter.resize(15, 200);
        meter.setNumChannels(1);
        meter.setHasClipIndicator(true);

        Feed(meter, -6.0f);
        QCOMPARE(meter.meterValue(0), float(200 * std::pow(10.0, -0.3) / 0.9999));

        Feed(meter, 0.0f);
        QCOMPARE(meter.meterValue(0), 190.0f);
        Feed(meter, 12.0f);
        QCOMPARE(meter.meterValue(0), 190.0f);

        meter.setHasClipIndicator(false);
        Feed(meter, 0.0f);
        QCOMPARE(meter.meterValue(0), 198.0f);
    }

    void drawsSilenceAsAnEmptyBar()
    {
        MeteringView meter;
        meter.resize(15, 120);
        meter.setNumChannels(1);
        meter.setHasClipIndicator(true);
        Feed(meter, kSilence);
        QCOMPARE(meter.meterValue(0), 0.0f);
        const int column = int(meter.firstTrackOffset()) + 5;
        QCOMPARE(GreenRows(Draw(meter), column), 1);

        Feed(meter, -6.0f);
        const long level = std::lround(meter.meterValue(0));
        QCOMPARE(GreenRows(Draw(meter), column), int(level) + 1);
    }

    void holdsTheClipLightForOneAndAHalfSeconds()
    {
        ClockedMeter meter;
        meter.resize(15, 120);
        meter.setNumChannels(1);
        meter.setHasClipIndicator(true);
        const QPoint light = ClipLight(meter);

        // Just below full scale is no over.
        Feed(meter, -0.001f);
        QCOMPARE(meter.clipValue(0), 0);
        QVERIFY(Draw(meter).pixel(light) != qRgb(255, 0, 0));

        Feed(meter, 0.0f);
        QCOMPARE(meter.clipValue(0), 1);
        QCOMPARE(Draw(meter).pixel(light), qRgb(255, 0, 0));

        // Quiet music after the over: the light stays red until 1.5 s have passed.
        meter.now += 1'499'999'999;
        Feed(meter, -20.0f);
        QCOMPARE(Draw(meter).pixel(light), qRgb(255, 0, 0));
        QCOMPARE(meter.clipValue(0), 1);

        meter.now += 1;
        QCOMPARE(Draw(meter).pixel(light), qRgb(255, 0, 0));
        QCOMPARE(meter.clipValue(0), 0);
        const QRgb grey = Draw(meter).pixel(light);
        QCOMPARE(qRed(grey), qGreen(grey));
        QVERIFY(qRed(grey) < 128);
    }

    void aNewOverMovesTheReleaseOn()
    {
        ClockedMeter meter;
        meter.resize(15, 120);
        meter.setNumChannels(1);
        meter.setHasClipIndicator(true);
        Feed(meter, 0.0f);
        meter.now += 1'000'000'000;
        Feed(meter, 0.0f);
        meter.now += 1'000'000'000;
        Draw(meter);
        QCOMPARE(meter.clipValue(0), 1);
    }

    void noClipLightNoClip()
    {
        MeteringView meter;
        meter.resize(15, 120);
        meter.setNumChannels(1);
        Feed(meter, 3.0f);
        QCOMPARE(meter.clipValue(0), 0);
    }

    void keepsTheScaleEndsConsistent()
    {
        MeteringView meter;
        meter.setMaxDB(-6.0);
        QCOMPARE(meter.maxValue(), std::pow(10.0, -0.3));
        meter.setMinValue(0.01);
        QCOMPARE(meter.minDB(), -40.0);
        QVERIFY(std::isinf(MeteringView().minDB()));
    }
};

QTEST_MAIN(MeteringViewTest)
#include "MeteringViewTest.moc"
