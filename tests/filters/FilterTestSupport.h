#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

namespace Tolm::Test {

inline std::vector<float> Noise(std::size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    std::vector<float> v(n);
    for (auto& x : v)
        x = d(rng);
    return v;
}

// Gain in dB at `hz` of a section, from its coefficients.
template <class Section> double GainDb(const Section& q, double hz, double rate = 44100)
{
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * hz / rate);
    return 20.0 *
           std::log10(std::abs((q.b0 + q.b1 * z1 + q.b2 * z1 * z1) / (1.0 + q.a1 * z1 + q.a2 * z1 * z1)));
}

} // namespace Tolm::Test
