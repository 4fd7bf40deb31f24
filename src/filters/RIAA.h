#pragma once

#include "BiQuad.h"

namespace Morvo::Audio::Filters {

// A ready RIAA section: a BiQuad whose coefficients come from a fixed table, one row per rate.
class RIAA : public BiQuad {
public:
    enum SampleRate {
        Rate44100 = 0,
        Rate48000 = 1,
        Rate88200 = 2,
        Rate96000 = 3,
        NumCoeffs = 4,  // rows in the table
    };

    // b0, b1, b2, a1, a2 per row. The 48000 Hz row repeats the 44100 Hz one on purpose.
    static const double coeffs[NumCoeffs][5];

    // Throws std::runtime_error("RIAA filter: invalid sample rate") for rates not in the table.
    static SampleRate ToSampleRate(unsigned int hz);

    // Aborts (always, whatever the build) when sr is not a row of the table.
    explicit RIAA(SampleRate sr);
};

} // namespace Morvo::Audio::Filters
