// The controller against a real sound server: the pipe source stands in for the USB codec,
// a fake bus for the USB side. Loading and unloading the source is plugging and unplugging.

#include "../capture/AudioTestSupport.h"
#include "PulseDaemon.h"
#include "capture/Audio.h"
#include "monitoring/CAPlayThroughHost.h"
#include "platform/FakeUsbBus.h"
#include "platform/PulseAudioHardware.h"

#include <gtest/gtest.h>

using namespace Tolm;
using Capture::Audio;
using namespace std::chrono_literals;

TEST(HotPlug, DetectionFollowsTheSourceAndUnplugLeavesMonitoringAlone)
{
    Tolm::Test::App();
    Tolm::Test::PulseDaemon daemon;
    if (!daemon.Start())
        GTEST_SKIP() << daemon.SkipReason();
    std::string error;
    auto pulse = Platform::PulseAudioHardware::Connect(5s, &error);
    ASSERT_TRUE(pulse) << error;
    Platform::SetHardware(pulse);
    auto bus = std::make_shared<Platform::FakeUsbBus>();
    Platform::SetUsbBus(bus);
    bus->Add(0x08bb, 0x2902);
    {
        Audio audio;
        ASSERT_EQ(audio.detectAudioDevice(), Audio::kDetectSelected);
        EXPECT_STREQ(audio.device()->firstName, "USB Audio CODEC ");
        EXPECT_TRUE(audio.mightBeTurntableOrTape());
        const AudioDeviceID first = audio.inputDeviceID();
        audio.startPlayThru();
        auto* host = audio.playThru();
        ASSERT_NE(host, nullptr);
        EXPECT_TRUE(host->IsRunning());

        // Unplug: the server drops the source; the bus entry goes with it.
        bus->Remove(0x08bb, 0x2902);
        ASSERT_TRUE(daemon.UnloadPipeSource());
        ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return audio.device() == nullptr; }, 20s));
        EXPECT_EQ(audio.playThru(), host) << "nothing is rebuilt";
        EXPECT_EQ(audio.inputDeviceID(), first);
        EXPECT_TRUE(host->Engine() != nullptr) << "nothing is torn down";

        // The codec alone on the bus without its source is not enough.
        bus->Add(0x08bb, 0x2902);
        EXPECT_EQ(audio.detectAudioDevice(), Audio::kDetectNone);
        EXPECT_NE(audio.device(), nullptr);

        // Plug in again: the source comes back, detection selects it on its own.
        ASSERT_TRUE(daemon.LoadPipeSource());
        ASSERT_TRUE(Tolm::Test::ProcessEventsUntil(
            [&] { return audio.device() != nullptr && audio.countDevicesWithMatchingName() == 1; }, 20s));
        if (audio.inputDeviceID() != first) {
            // A new id: monitoring has been rebuilt on it (the old host was running, the new
            // one waits for startPlayThru).
            ASSERT_NE(audio.playThru(), nullptr);
            EXPECT_FALSE(audio.playThru()->IsRunning());
        } else {
            EXPECT_EQ(audio.playThru(), host);
        }
        audio.startPlayThru();
        EXPECT_TRUE(audio.playThru()->IsRunning());
        audio.stopPlayThru();
    }
    Platform::SetUsbBus(nullptr);
    Platform::SetHardware(nullptr);
}
