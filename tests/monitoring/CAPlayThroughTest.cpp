#include "monitoring/CAPlayThrough.h"

#include "VirtualRig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <unistd.h>

using Tolm::Monitoring::CAPlayThrough;
using Tolm::Test::Sine;
using Tolm::Test::ToneFrequency;
using Tolm::Test::VirtualRig;

namespace {

// Two tones well inside the resampler's pass band, different on each channel.
float Music(UInt64 frame, UInt32 channel)
{
    const double t = double(frame) / 48000.0;
    return float(0.3 * std::sin(2 * M_PI * 440.0 * t) + 0.2 * std::sin(2 * M_PI * 1234.5 * t + channel));
}

// Frames the input device ran before monitoring started, as a real device does.
constexpr UInt64 kInputRunBefore = 196 * 512;

// Checks played[k] against the input frame k - offset for every k in [from, to).
::testing::AssertionResult PlaysInputDelayedBy(const std::vector<float>& played, double offset, std::size_t from,
                                                std::size_t to)
{
    for (std::size_t k = from; k < to; ++k) {
        const double inputFrame = double(k) - offset;
        const float expected = Music(UInt64(inputFrame), 0);
        if (std::fabs(played[k] - expected) > 2e-3f)
            return ::testing::AssertionFailure()
                   << "output frame " << k << " is " << played[k] << ", input frame " << inputFrame << " was "
                   << expected;
    }
    return ::testing::AssertionSuccess();
}

} // namespace

TEST(CAPlayThrough, PlaysTheInputDelayedByItsOffsetAfterSilenceAndAgainAfterARestart)
{
    VirtualRig rig({}, &Music);
    rig.hardware->Pump(rig.input, kInputRunBefore);
    CAPlayThrough engine(rig.input, rig.output);
    ASSERT_EQ(engine.Start(), noErr);
    EXPECT_TRUE(engine.IsRunning());

    // Output asked for before any input came: silence.
    rig.hardware->Pump(rig.output, 4 * 512);
    for (float x : rig.TakeLeft())
        ASSERT_EQ(x, 0.0f);

    rig.Run(200);
    rig.TakeLeft();
    const auto& played = rig.played;
    const double offset = engine.InToOutOffset();

    // Output frame k and input frame (k - 2048 + kInputRunBefore) happen at the same moment:
    // the delay the listener hears is the device latencies plus at most one pull.
    const double heardDelay = offset + double(kInputRunBefore) - 2048.0;
    EXPECT_GE(heardDelay, engine.ComputeThruOffset());
    EXPECT_LE(heardDelay, engine.ComputeThruOffset() + 512.0);

    // Before the first input frame arrives at the output, the ring's history is silence.
    const std::size_t firstInputAtOutput = std::size_t(double(kInputRunBefore) + offset);
    for (std::size_t k = 0; k + 64 < firstInputAtOutput; ++k)
        ASSERT_EQ(played[k], 0.0f) << k;
    EXPECT_TRUE(PlaysInputDelayedBy(played, offset, firstInputAtOutput + 64, played.size()));

    // While stopped neither callback runs: the output device plays nothing from us.
    EXPECT_EQ(engine.Stop(), noErr);
    EXPECT_FALSE(engine.IsRunning());
    EXPECT_EQ(engine.Stop(), noErr);
    rig.hardware->Pump(rig.input, 10 * 512);
    rig.hardware->Pump(rig.output, 4 * 512);
    for (float x : rig.TakeLeft())
        ASSERT_EQ(x, 0.0f);

    // A restart measures the latency anew.
    ASSERT_EQ(engine.Start(), noErr);
    EXPECT_EQ(engine.Start(), noErr);
    rig.Run(100);
    rig.TakeLeft();
    const std::size_t end = played.size();
    EXPECT_TRUE(PlaysInputDelayedBy(played, engine.InToOutOffset(), end - 50 * 512, end));
}

TEST(CAPlayThrough, UnderrunResynchronisesToTheOldestFrameHeld)
{
    VirtualRig rig({}, &Music);
    rig.hardware->Pump(rig.input, kInputRunBefore);
    CAPlayThrough engine(rig.input, rig.output);
    ASSERT_EQ(engine.Start(), noErr);
    rig.Run(60);
    const double before = engine.InToOutOffset();

    // The input stalls for eight blocks while the output goes on.
    constexpr UInt32 kStall = 8 * 512;
    rig.hardware->Pump(rig.output, kStall);
    rig.Run(100);
    rig.TakeLeft();
    const double after = engine.InToOutOffset();
    ASSERT_NE(before, after);

    // The ring holds 20 buffers (16384 frames once rounded); reading resumed from the oldest
    // of them, so what is heard now lags the input by almost all of that.
    const std::size_t outputEnd = rig.played.size();
    const double inputEnd = double(kInputRunBefore) + 160.0 * 512.0;
    const double heardDelay = inputEnd - (double(outputEnd) - after);
    EXPECT_GE(heardDelay, 16384.0 - kStall);
    EXPECT_LE(heardDelay, 16384.0);
    EXPECT_TRUE(PlaysInputDelayedBy(rig.played, after, outputEnd - 50 * 512, outputEnd));
}

TEST(CAPlayThrough, InputAt44100PlayedAt48000KeepsItsPitchAndFollowsAFastInputClock)
{
    // A clock 442/441 fast delivers 442 frames in the time of 441, and the tone it carries
    // is heard that much higher. Without drift correction the output would keep 1000 Hz and
    // the ring would fill up.
    for (const UInt32 inputBuffer : {441u, 442u}) {
        SCOPED_TRACE(inputBuffer);
        const double scalar = inputBuffer / 441.0;
        VirtualRig rig({44100.0, inputBuffer, 48000.0, 480}, Sine(1000.0, 44100.0));
        rig.hardware->SetRateScalar(rig.input, scalar);
        CAPlayThrough engine(rig.input, rig.output);
        ASSERT_EQ(engine.Start(), noErr);
        rig.Run(300); // 3 s
        const double settled = engine.InToOutOffset();
        rig.Run(300);
        const auto played = rig.TakeLeft();
        EXPECT_EQ(engine.InToOutOffset(), settled) << "the ring over- or underran";

        const std::size_t from = played.size() - 96000;
        EXPECT_NEAR(ToneFrequency(played, from, played.size(), 48000.0), 1000.0 * scalar, inputBuffer == 441 ? 0.2 : 0.3);
        // Whole and unbroken: full level, and no step larger than the tone's own steepest.
        float peak = 0.0f;
        float step = 0.0f;
        for (std::size_t k = from; k < played.size(); ++k) {
            peak = std::max(peak, std::fabs(played[k]));
            step = std::max(step, std::fabs(played[k] - played[k - 1]));
        }
        EXPECT_NEAR(peak, 0.5f, 0.02f);
        EXPECT_LT(step, 1.1f * 0.5f * float(2 * M_PI * 1000.0 * scalar / 48000.0));
    }
}

namespace {

std::atomic<float> gHookMax{0.0f};
std::atomic<float> gHookMin{0.0f};
std::atomic<int> gHookCalls{0};

// Records the extremes of the left channel, then silences the right one.
OSStatus RecordingHook(AudioBufferList* list, unsigned long frames, long long)
{
    const auto* left = static_cast<const float*>(list->mBuffers[0].mData);
    for (unsigned long i = 0; i < frames; ++i) {
        gHookMax = std::max(gHookMax.load(), left[i]);
        gHookMin = std::min(gHookMin.load(), left[i]);
    }
    std::fill_n(static_cast<float*>(list->mBuffers[1].mData), frames, 0.0f);
    ++gHookCalls;
    return noErr;
}

} // namespace

TEST(CAPlayThrough, GainClampsOnlyThePositiveSideAndTheHookShapesWhatIsHeard)
{
    struct Case {
        float amplitude, gainDb, max, min;
    };
    // At unity the block passes untouched: not limited at all.
    for (const Case c : {Case{0.75f, 20.0f * std::log10(2.0f), 1.0f, -1.5f}, Case{1.25f, 0.0f, 1.25f, -1.25f}}) {
        SCOPED_TRACE(c.gainDb);
        VirtualRig rig({}, Sine(500.0, 48000.0, c.amplitude));
        CAPlayThrough engine(rig.input, rig.output);
        engine.SetInputGain(c.gainDb);
        gHookMax = 0.0f;
        gHookMin = 0.0f;
        gHookCalls = 0;
        engine.inputHook = &RecordingHook;
        ASSERT_EQ(engine.Start(), noErr);
        rig.Run(100);
        EXPECT_EQ(gHookCalls.load(), 100);
        EXPECT_EQ(gHookMax.load(), c.max);
        EXPECT_NEAR(gHookMin.load(), c.min, 1e-3f);

        const auto interleaved = rig.hardware->TakeCapturedOutput(rig.output);
        float leftMin = 0.0f;
        float rightPeak = 0.0f;
        for (std::size_t i = 0; i < interleaved.size(); i += 2) {
            leftMin = std::min(leftMin, interleaved[i]);
            rightPeak = std::max(rightPeak, std::fabs(interleaved[i + 1]));
        }
        EXPECT_LT(leftMin, c.min + 0.1f);
        EXPECT_EQ(rightPeak, 0.0f);
    }
}

TEST(CAPlayThroughDeathTest, SetUpFailureEndsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    VirtualRig rig({}, &Music);
    // The engine reports on standard output; send it to standard error to see it here.
    EXPECT_EXIT(
        {
            std::fflush(stdout); // what the test program wrote before, not after
            dup2(2, 1);
            CAPlayThrough engine(0x7FFFFF00, rig.output);
        },
        ::testing::ExitedWithCode(1),
        "CAPlayThrough Error: [-0-9]+ ->  src/monitoring/CAPlayThrough\\.cpp:  [0-9]+\n"
        "(.|\n)*CAPlayThrough ERROR: Cannot Init CAPlayThrough$");
}
