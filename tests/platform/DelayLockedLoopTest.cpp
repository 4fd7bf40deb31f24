#include "platform/DelayLockedLoop.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using Tolm::Platform::DelayLockedLoop;

namespace {

constexpr UInt64 kStart = 5'000'000'000'000ull; // a host clock that has run for a while

// Where a simulated device has got to: frames delivered and the true time of the last one.
struct Timeline {
    UInt64 position = 0;
    double trueTime = 0.0;
};

// A device running at `rate` (frames per second of host time), reporting blocks of
// `blockFrames(i)` frames whose arrival jitters by up to `jitterNs` late.
template <typename BlockFrames>
void Simulate(DelayLockedLoop& loop, double rate, double seconds, double jitterNs, BlockFrames blockFrames,
              Timeline* timeline = nullptr)
{
    Timeline local;
    Timeline& at = timeline ? *timeline : local;
    std::mt19937 random(7);
    std::uniform_real_distribution<double> jitter(0.0, jitterNs);
    const Timeline start = at;
    for (int i = 0; at.trueTime - start.trueTime < seconds * 1e9; ++i) {
        at.position += blockFrames(i);
        at.trueTime = start.trueTime + double(at.position - start.position) / rate * 1e9;
        loop.Update(kStart + UInt64(at.trueTime + jitter(random)), at.position);
    }
}

} // namespace

TEST(DelayLockedLoop, FindsTheDeviceRateThroughJitterAndUnevenBlocks)
{
    // A server hands over whatever it has: with uneven sizes block to block too.
    const UInt32 uneven[] = {441, 1024, 96, 700, 333, 2048, 17};
    for (const double drift : {1.0, 1.0003, 0.9996}) {
        DelayLockedLoop loop(48000.0);
        Simulate(loop, 48000.0 * drift, 60.0, 2e6, [](int) { return 480u; });
        EXPECT_TRUE(loop.Locked());
        EXPECT_NEAR(loop.RateScalar(), drift, 2e-5) << "drift " << drift;
        EXPECT_NEAR(loop.MeasuredRate(), 48000.0 * drift, 1.0);
        DelayLockedLoop unevenLoop(44100.0);
        Simulate(unevenLoop, 44100.0 * drift, 60.0, 3e6, [&](int i) { return uneven[i % 7]; });
        EXPECT_NEAR(unevenLoop.RateScalar(), drift, 3e-5) << "uneven, drift " << drift;
    }
}

TEST(DelayLockedLoop, HostTimeOfAPositionFollowsTheTrueClock)
{
    DelayLockedLoop loop(48000.0);
    Timeline at;
    Simulate(loop, 48000.0 * 1.0001, 30.0, 1e6, [](int) { return 512u; }, &at);
    // Arrivals are late by 0.5 ms on average: the line sits within about that of the truth.
    const double estimated = double(loop.HostTimeAt(at.position)) - double(kStart);
    EXPECT_NEAR(estimated, at.trueTime, 1.5e6);
    const double oneSecondLater = double(loop.HostTimeAt(at.position + 48005)) - double(kStart);
    EXPECT_NEAR(oneSecondLater - estimated, 1e9, 1e5);
}

TEST(DelayLockedLoop, RestartsAfterAStallAndIgnoresBursts)
{
    DelayLockedLoop loop(48000.0);
    Timeline at;
    Simulate(loop, 48000.0, 5.0, 1e6, [](int) { return 480u; }, &at);
    EXPECT_EQ(loop.Resets(), 0u);

    // Nothing for two seconds (a stalled server), then on as before.
    at.trueTime += 2e9;
    Simulate(loop, 48000.0, 10.0, 1e6, [](int) { return 480u; }, &at);
    EXPECT_EQ(loop.Resets(), 1u);
    EXPECT_NEAR(loop.RateScalar(), 1.0, 1e-4);

    // An unclocked source dumps a minute of audio in a fraction of a second: the estimate
    // stays inside what a clock can be.
    DelayLockedLoop burst(48000.0);
    Simulate(burst, 48000.0 * 200, 0.3, 0.0, [](int) { return 4096u; });
    EXPECT_GE(burst.RateScalar(), 0.8);
    EXPECT_LE(burst.RateScalar(), 1.25);

    // Positions that do not advance teach it nothing.
    DelayLockedLoop still(48000.0);
    still.Update(kStart, 100);
    still.Update(kStart + 1'000'000, 100);
    EXPECT_FALSE(still.Locked());
}
