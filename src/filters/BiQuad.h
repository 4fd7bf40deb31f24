#pragma once

namespace Morvo::Audio::Filters {

// One second-order recursive section, Direct Form I, filtering float blocks in place.
// H(z) = (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2); a1 and a2 are subtracted.
// Coefficients in double, signal memory in float. Not thread-safe: one thread at a time.
class BiQuad {
public:
    enum Type : unsigned {
        LowPass = 0,
        HighPass = 1,
        BandPass = 2,   // 0 dB peak gain
        Notch = 3,
        Peaking = 4,
        LowShelf = 5,   // slope 1
        HighShelf = 6,  // slope 1
    };

    constexpr BiQuad(double b0_, double b1_, double b2_, double a1_, double a2_) noexcept
        : b0(b0_), b1(b1_), b2(b2_), a1(a1_), a2(a2_)
    {
    }

    // Frequencies in Hz, bandwidth in octaves, gain in dB (peaking and shelves only).
    // Throws std::runtime_error("Invalid filter type") for a type of 7 or more.
    // Leaves the signal memory alone; call Reset for a clean start.
    BiQuad(Type type, double gainDb, unsigned int frequency, unsigned int sampleRate, unsigned int bandwidth);

    // A copy takes the coefficients only and starts from silence: the equaliser builds the
    // right channel as a copy of the left one and relies on that.
    constexpr BiQuad(const BiQuad& other) noexcept
        : b0(other.b0), b1(other.b1), b2(other.b2), a1(other.a1), a2(other.a2)
    {
    }
    constexpr BiQuad& operator=(const BiQuad& other) noexcept
    {
        b0 = other.b0;
        b1 = other.b1;
        b2 = other.b2;
        a1 = other.a1;
        a2 = other.a2;
        Reset();
        return *this;
    }

    constexpr void Reset() noexcept { x1 = x2 = y1 = y2 = 0.0f; }

    void operator()(float* samples, unsigned long count) noexcept;

    double b0 = 0.0;
    double b1 = 0.0;
    double b2 = 0.0;
    double a1 = 0.0;
    double a2 = 0.0;
    float x1 = 0.0f;
    float x2 = 0.0f;
    float y1 = 0.0f;
    float y2 = 0.0f;
};

} // namespace Morvo::Audio::Filters
