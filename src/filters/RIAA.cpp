#include "RIAA.h"

#include "base/TolmAssert.h"

#include <limits>
#include <stdexcept>

namespace Morvo::Audio::Filters {

const double RIAA::coeffs[NumCoeffs][5] = {
    {0.02675918611906, -0.04592084787595, 0.01921229297239, -0.73845850035973, -0.1795175547743},
    {0.02675918611906, -0.04592084787595, 0.01921229297239, -0.73845850035973, -0.1795175547743},
    {0.04872204977233, -0.09076930609195, 0.04202280710877, -0.85197860443215, -0.10921171201431},
    {0.05265477122714, -0.09864197097385, 0.0459647435209, -0.85835597216218, -0.10600020417219},
};

namespace {

// The section is built before the rate is checked; a bad row must not read past the table.
const double* RowOf(RIAA::SampleRate sr)
{
    static constexpr double kNoRow[5] = {
        std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::quiet_NaN()};
    return static_cast<unsigned>(sr) < RIAA::NumCoeffs ? RIAA::coeffs[sr] : kNoRow;
}

} // namespace

RIAA::SampleRate RIAA::ToSampleRate(unsigned int hz)
{
    switch (hz) {
    case 44100:
        return Rate44100;
    case 48000:
        return Rate48000;
    case 88200:
        return Rate88200;
    case 96000:
        return Rate96000;
    default:
        throw std::runtime_error("RIAA filter: invalid sample rate");
    }
}

RIAA::RIAA(SampleRate sr) : BiQuad(RowOf(sr)[0], RowOf(sr)[1], RowOf(sr)[2], RowOf(sr)[3], RowOf(sr)[4])
{
    TOLM_ASSERT(sr < NumCoeffs);
}

} // namespace Morvo::Audio::Filters
