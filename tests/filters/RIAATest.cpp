#include "filters/RIAA.h"

#include "FilterTestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

using Morvo::Audio::Filters::RIAA;
using Tolm::Test::GainDb;

TEST(RIAA, MapsTheFourRatesAndRefusesOthers)
{
    for (const auto& [hz, row] : {std::pair{44100u, RIAA::Rate44100}, std::pair{48000u, RIAA::Rate48000},
                                  std::pair{88200u, RIAA::Rate88200}, std::pair{96000u, RIAA::Rate96000}})
        EXPECT_EQ(RIAA::ToSampleRate(hz), row);
    for (unsigned hz : {0u, 22050u, 44101u, 192000u}) {
        try {
            RIAA::ToSampleRate(hz);
            ADD_FAILURE() << hz << " accepted";
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "RIAA filter: invalid sample rate");
        }
    }
}

// 48 kHz uses the 44.1 kHz design; the others draw the same curve at their own rate.
TEST(RIAA, EveryRowDrawsThePlaybackCurve)
{
    const RIAA r441(RIAA::Rate44100), r48(RIAA::Rate48000);
    for (const RIAA* r : {&r441, &r48})
        EXPECT_EQ((std::vector<double>{r->b0, r->b1, r->b2, r->a1, r->a2}),
                  (std::vector<double>{0.02675918611906, -0.04592084787595, 0.01921229297239, -0.73845850035973,
                                       -0.1795175547743}));
    EXPECT_NEAR(GainDb(r441, 20), -63.5, 0.1);
    EXPECT_NEAR(GainDb(r441, 1000), -44.0, 0.1);
    EXPECT_NEAR(GainDb(r441, 20000), -24.8, 0.1);
    for (const auto& [row, rate] : {std::pair{RIAA::Rate88200, 88200.0}, std::pair{RIAA::Rate96000, 96000.0}}) {
        for (double hz : {20.0, 1000.0, 20000.0})
            EXPECT_NEAR(GainDb(RIAA(row), hz, rate), GainDb(r441, hz), 0.3) << rate << " at " << hz;
    }
}

TEST(RIAADeathTest, BadRowAbortsWithTheExpression)
{
    EXPECT_DEATH(RIAA(static_cast<RIAA::SampleRate>(RIAA::NumCoeffs)),
                 "^src/filters/RIAA\\.cpp:[0-9]+: failed assertion `sr < NumCoeffs'\n");
}
