#include "monitoring/CAPlayThroughHost.h"

#include "VirtualRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

using Tolm::Monitoring::CAPlayThroughHost;
using Tolm::Test::Sine;
using Tolm::Test::VirtualRig;

namespace {

std::atomic<int> gHookCalls{0};

OSStatus CountingHook(AudioBufferList*, unsigned long, long long)
{
    ++gHookCalls;
    return noErr;
}

// Changes the rate and returns once every listener of the change has run.
void ChangeRateAndSettle(VirtualRig& rig, AudioDeviceID device, double rate)
{
    rig.hardware->SetSampleRate(device, rate);
    rig.hardware->FlushNotifications();
}

} // namespace

TEST(CAPlayThroughHost, FormatChangeRebuildsTheEngineRunningAtUnityGainWithoutHook)
{
    VirtualRig rig({}, Sine(1000.0, 48000.0, 0.5f));
    CAPlayThroughHost host(rig.input, rig.output);
    ASSERT_TRUE(host.PlayThroughExists());
    EXPECT_FALSE(host.IsRunning());
    host.Engine()->SetInputGain(6.0f);
    host.Engine()->inputHook = &CountingHook;
    gHookCalls = 0;

    // Monitoring was stopped; the rebuilt engine runs all the same, and keeps running
    // through the next change.
    for (const double rate : {44100.0, 96000.0}) {
        SCOPED_TRACE(rate);
        ChangeRateAndSettle(rig, rig.input, rate);
        ASSERT_TRUE(host.IsRunning());
        rig.TakeLeft();
        rig.Run(200);
        EXPECT_EQ(gHookCalls.load(), 0);
        const auto played = rig.TakeLeft();
        float peak = 0.0f;
        for (std::size_t k = played.size() / 2; k < played.size(); ++k)
            peak = std::max(peak, std::fabs(played[k]));
        EXPECT_NEAR(peak, 0.5f, 0.05f); // +6 dB would have made it 1.0
    }

    // The build count is how an owner tells the new engine from the one it had set up.
    unsigned builds = 0;
    host.WithEngine([&](Tolm::Monitoring::CAPlayThrough& engine, unsigned build) {
        builds = build;
        engine.inputHook = &CountingHook;
    });
    EXPECT_EQ(builds, 3u);
    rig.Run(20);
    EXPECT_GT(gHookCalls.load(), 0);
    host.Stop();
    EXPECT_FALSE(host.IsRunning());
}

TEST(CAPlayThroughHost, WithoutAnEngineStartAndStopDoNothing)
{
    VirtualRig rig({}, Sine(1000.0, 48000.0));
    CAPlayThroughHost host(rig.input, rig.output);
    ASSERT_EQ(host.Start(), noErr);
    EXPECT_TRUE(host.IsRunning());
    host.DeletePlayThrough();
    EXPECT_FALSE(host.PlayThroughExists());
    EXPECT_EQ(host.Engine(), nullptr);
    EXPECT_EQ(host.Start(), noErr);
    EXPECT_EQ(host.Stop(), noErr);
    EXPECT_FALSE(host.IsRunning());

    // Nobody listens any more: a format change builds nothing.
    ChangeRateAndSettle(rig, rig.input, 44100.0);
    EXPECT_FALSE(host.PlayThroughExists());
}

TEST(CAPlayThroughHost, ControlCallsRacingRebuildsStaySafe)
{
    VirtualRig rig({}, Sine(1000.0, 48000.0));
    CAPlayThroughHost host(rig.input, rig.output);
    std::atomic<bool> done{false};
    std::thread owner([&] {
        while (!done) {
            host.Start();
            host.Stop();
        }
    });
    for (int i = 0; i < 20; ++i)
        ChangeRateAndSettle(rig, rig.input, i % 2 ? 48000.0 : 44100.0);
    done = true;
    owner.join();
    EXPECT_TRUE(host.PlayThroughExists());
}
