#include "BiQuad.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace Morvo::Audio::Filters {

BiQuad::BiQuad(Type type, double gainDb, unsigned int frequency, unsigned int sampleRate,
               unsigned int bandwidth)
{
    if (type > HighShelf)
        throw std::runtime_error("Invalid filter type");

    constexpr double kHalfLn2 = 0.34657359027997264;
    const double w0 = 2.0 * std::numbers::pi * frequency / sampleRate;
    const double s = std::sin(w0);
    const double k = std::cos(w0);
    const double A = std::pow(10.0, gainDb / 40.0);
    const double alpha = s * std::sinh(kHalfLn2 * bandwidth * w0 / s);
    const double shelf = std::sqrt(2.0 * A) * s;  // 2 sqrt(A) alpha at slope 1

    double nb0 = 0, nb1 = 0, nb2 = 0, na0 = 0, na1 = 0, na2 = 0;
    switch (type) {
    case LowPass:
        nb0 = (1.0 - k) / 2.0;
        nb1 = 1.0 - k;
        nb2 = (1.0 - k) / 2.0;
        na0 = 1.0 + alpha;
        na1 = -2.0 * k;
        na2 = 1.0 - alpha;
        break;
    case HighPass:
        nb0 = (1.0 + k) / 2.0;
        nb1 = -(1.0 + k);
        nb2 = (1.0 + k) / 2.0;
        na0 = 1.0 + alpha;
        na1 = -2.0 * k;
        na2 = 1.0 - alpha;
        break;
    case BandPass:
        nb0 = alpha;
        nb1 = 0.0;
        nb2 = -alpha;
        na0 = 1.0 + alpha;
        na1 = -2.0 * k;
        na2 = 1.0 - alpha;
        break;
    case Notch:
        nb0 = 1.0;
        nb1 = -2.0 * k;
        nb2 = 1.0;
        na0 = 1.0 + alpha;
        na1 = -2.0 * k;
        na2 = 1.0 - alpha;
        break;
    case Peaking:
        nb0 = 1.0 + alpha * A;
        nb1 = -2.0 * k;
        nb2 = 1.0 - alpha * A;
        na0 = 1.0 + alpha / A;
        na1 = -2.0 * k;
        na2 = 1.0 - alpha / A;
        break;
    case LowShelf:
        nb0 = A * ((A + 1.0) - (A - 1.0) * k + shelf);
        nb1 = 2.0 * A * ((A - 1.0) - (A + 1.0) * k);
        nb2 = A * ((A + 1.0) - (A - 1.0) * k - shelf);
        na0 = (A + 1.0) + (A - 1.0) * k + shelf;
        na1 = -2.0 * ((A - 1.0) + (A + 1.0) * k);
        na2 = (A + 1.0) + (A - 1.0) * k - shelf;
        break;
    case HighShelf:
        nb0 = A * ((A + 1.0) + (A - 1.0) * k + shelf);
        nb1 = -2.0 * A * ((A - 1.0) + (A + 1.0) * k);
        nb2 = A * ((A + 1.0) + (A - 1.0) * k - shelf);
        na0 = (A + 1.0) - (A - 1.0) * k + shelf;
        na1 = 2.0 * ((A - 1.0) - (A + 1.0) * k);
        na2 = (A + 1.0) - (A - 1.0) * k - shelf;
        break;
    }
    b0 = nb0 / na0;
    b1 = nb1 / na0;
    b2 = nb2 / na0;
    a1 = na1 / na0;
    a2 = na2 / na0;
}

void BiQuad::operator()(float* samples, unsigned long count) noexcept
{
    const double c0 = b0, c1 = b1, c2 = b2, d1 = a1, d2 = a2;
    float sx1 = x1, sx2 = x2, sy1 = y1, sy2 = y2;
    for (unsigned long i = 0; i < count; ++i) {
        const float x = samples[i];
        // The order of operations is part of the result; keep it.
        double acc = c0 * x + c1 * sx1;
        acc = acc + c2 * sx2;
        acc = acc - d1 * sy1;
        acc = acc - d2 * sy2;
        const float y = static_cast<float>(acc);
        samples[i] = y;
        sx2 = sx1;
        sx1 = x;
        sy2 = sy1;
        sy1 = y;
    }
    x1 = sx1;
    x2 = sx2;
    y1 = sy1;
    y2 = sy2;
}

} // namespace Morvo::Audio::Filters
