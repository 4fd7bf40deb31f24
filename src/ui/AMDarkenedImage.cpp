#include "ui/AMDarkenedImage.h"

#include <algorithm>

namespace Tolm::Ui {

namespace {

// Works on straight (not premultiplied) pixels, so the blend does not depend on coverage.
template <typename PixelFunction>
QImage MapPixels(const QImage& image, PixelFunction function)
{
    if (image.isNull())
        return image;
    QImage result = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < result.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x)
            line[x] = function(line[x]);
    }
    result.setDevicePixelRatio(image.devicePixelRatio());
    return result.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

int Clamp(double value) { return std::clamp(int(value + 0.5), 0, 255); }

} // namespace

QImage DarkenedImageWithColor(const QImage& image, const QColor& color)
{
    const QColor rgb = color.toRgb();
    const double amount = rgb.alphaF();
    const double r = rgb.redF(), g = rgb.greenF(), b = rgb.blueF();
    return MapPixels(image, [=](QRgb pixel) {
        const auto blend = [&](int channel, double tint) { return Clamp(channel * (1.0 - amount + amount * tint)); };
        return qRgba(blend(qRed(pixel), r), blend(qGreen(pixel), g), blend(qBlue(pixel), b), qAlpha(pixel));
    });
}

QImage GrayImageWithColor(const QImage& image, const QColor& color)
{
    const QColor rgb = color.toRgb();
    const double wash = 0.35 * rgb.alphaF();
    return MapPixels(image, [=](QRgb pixel) {
        const double luminance = 0.299 * qRed(pixel) + 0.587 * qGreen(pixel) + 0.114 * qBlue(pixel);
        const auto mix = [&](int tint) { return Clamp(luminance * (1.0 - wash) + tint * wash); };
        return qRgba(mix(rgb.red()), mix(rgb.green()), mix(rgb.blue()), qAlpha(pixel));
    });
}

} // namespace Tolm::Ui
