#include "filters/RIAA.h"

#include <gtest/gtest.h>

#include <complex>
#include <numbers>
#include <stdexcept>
#include <string>

using Morvo::Audio::Filters::RIAA;

namespace {

double GainDb(const RIAA& q, double hz, double rate)
{
    const auto z1 = std::polar(1.0, -2.0 * std::numbers::pi * hz / rate);
    return 20.0 * std::log10(std::abs((q.b0 + q.b1 * z1 + q.b2 * z1 * z1) / (1.0 + q.a1 * z1 + q.a2 * z1 * z1)));
}

} // namespace

TEST(RIAA, MapsTheFourRatesAndRefusesOthers)
{
    EXPECT_EQ(RIAA::ToSampleRate(44100), RIAA::Rate44100);
    EXPECT_EQ(RIAA::ToSampleRate(48000), RIAA::Rate48000);
    EXPECT_EQ(RIAA::ToSampleRate(88200), RIAA::Rate88200);
    EXPECT_EQ(RIAA::ToSampleRate(96000), RIAA::Rate96000);
    for (unsigned hz : {0u, 22050u, 44101u, 192000u}) {
        try {
            RIAA::ToSampleRate(hz);
            ADD_FAILURE() << hz << " accepted";
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "RIAA filter: invalid sample rate");
        }
    }
}

TEST(RIAA, FortyEightKilohertzUsesTheFortyFourOneDesign)
{
    const RIAA a(RIAA::Rate44100), b(RIAA::Rate48000);
    EXPECT_EQ((std::vector<double>{a.b0, a.b1, a.b2, a.a1, a.a2}), (std::vector<double>{b.b0, b.b1, b.b2, b.a1, b.a2}));
    EXPECT_EQ(a.b0, 0.02675918611906);
    EXPECT_EQ(a.a2, -0.1795175547743);
}

TEST(RIAA, EveryRowDrawsThePlaybackCurve)
{
    const RIAA r441(RIAA::Rate44100);
    EXPECT_NEAR(GainDb(r441, 20, 44100), -63.5, 0.1);
    EXPECT_NEAR(GainDb(r441, 1000, 44100), -44.0, 0.1);
    EXPECT_NEAR(GainDb(r441, 20000, 44100), -24.8, 0.1);
    for (const auto& [row, rate] : {std::pair{RIAA::Rate88200, 88200.0}, std::pair{RIAA::Rate96000, 96000.0}}) {
        for (double hz : {20.0, 1000.0, 20000.0})
            EXPECT_NEAR(GainDb(RIAA(row), hz, rate), GainDb(r441, hz, 44100), 0.3) << rate << " at " << hz;
    }
}

TEST(RIAA, ImpulseResponseStartsWithTheTable)
{
    RIAA r(RIAA::Rate44100);
    float x[2] = {1.0f, 0.0f};
    r(x, 2);
    const double* c = RIAA::coeffs[0];
    EXPECT_EQ(x[0], float(c[0]));
    EXPECT_EQ(x[1], float(c[1] - c[3] * double(float(c[0]))));
}

TEST(RIAADeathTest, BadRowAbortsWithTheExpression)
{
    EXPECT_DEATH(RIAA(static_cast<RIAA::SampleRate>(RIAA::NumCoeffs)),
                 "^src/filters/RIAA\\.cpp:[0-9]+: failed assertion `sr < NumCoeffs'\n");
}
