#include "platform/DelayLockedLoop.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using Tolm::Platform::DelayLockedLoop;

namespace {

constexpr UInt64 kStart = 5'000'000'000'000ull; // a host clock that has run for a while

// A device running at `rate` (frames per second of host time), reporting blocks of
// `blockFrames(i)` frames whose arrival jitters by up to `jitterNs` late.
template <typename BlockFrames>
void Simulate(DelayLockedLoop& loop, double rate, double seconds, double jitterNs, BlockFrames blockFrames,
              UInt64* position = nullptr, double* lastTrueTime = nullptr)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> jitter(0.0, jitterNs);
    UInt64 frames = position ? *position : 0;
    const double start = lastTrueTime ? *lastTrueTime : 0.0;
    double trueTime = start;
    for (int i = 0; trueTime - start < seconds * 1e9; ++i) {
        frames += blockFrames(i);
        trueTime = start + double(frames - (position ? *position : 0)) / rate * 1e9;
        loop.Update(kStart + UInt64(trueTime + jitter(random)), frames);
    }
    if (position)
        *position = frames;
    if (lastTrueTime)
        *lastTrueTime = trueTime;
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
    UInt64 position = 0;
    double trueTime = 0.0;
    Simulate(
        loop, 48000.0 * 1.0001, 30.0, 1e6, [](int) { return 512u; }, &position, &trueTime);
    // Arrivals are late by 0.5 ms on average: the line sits within about that of the truth.
    const double estimated = double(loop.HostTimeAt(position)) - double(kStart);
    EXPECT_NEAR(estimated, trueTime, 1.5e6);
    const double oneSecondLater = double(loop.HostTimeAt(position + 48005)) - double(kStart);
    EXPECT_NEAR(oneSecondLater - estimated, 1e9, 1e5);
}

TEST(DelayLockedLoop, RestartsAfterAStallAndIgnoresBursts)
{
    DelayLockedLoop loop(48000.0);
    UInt64 position = 0;
    double trueTime = 0.0;
    Simulate(
        loop, 48000.0, 5.0, 1e6, [](int) { return 480u; }, &position, &trueTime);
    EXPECT_EQ(loop.Resets(), 0u);

    // Nothing for two seconds (a stalled server), then on as before.
    trueTime += 2e9;
    Simulate(
        loop, 48000.0, 10.0, 1e6, [](int) { return 480u; }, &position, &trueTime);
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
