// Twenty seconds through the pipe source, paced in real time, recorded at 48 kHz: after
// alignment the file is what was fed, sample for sample, and nothing was dropped.

#include "../recording/TempFolder.h"
#include "PulseDaemon.h"
#include "RecorderIntegration.h"
#include "platform/PulseAudioHardware.h"
#include "recording/CAAudioFileRecorder.h"

#include <gtest/gtest.h>

namespace {

using namespace RecorderIntegration;
using Tolm::Test::PulseDaemon;

TEST(RecorderOnPulseAudio, TwentySecondsFromThePipeSourceArriveSampleForSample)
{
    PulseDaemon daemon;
    if (!daemon.Start())
        GTEST_SKIP() << daemon.SkipReason();
    std::string error;
    auto hardware = Tolm::Platform::PulseAudioHardware::Connect(std::chrono::seconds(10), &error);
    ASSERT_TRUE(hardware) << error;
    Tolm::Platform::SetHardware(hardware);
    const auto device = FindDevice(PulseDaemon::kProductName, true);
    ASSERT_TRUE(device);

    TempFolder folder;
    constexpr std::uint64_t kFrames = 20ull * kRate;
    Tolm::Platform::AudioStreamStatistics statistics;
    {
        CAAudioFileRecorder recorder(*device, 3, kRingFrames);
        recorder.SetFile(FSRef{folder.Path()}, "pipe.wav", kAudioFileWAVEType,
                         CAStreamBasicDescription::Float32(kRate, 2, true));
        recorder.Start();
        daemon.Feed(&Signal, kFrames, PulseDaemon::Pace::RealTime);
        ASSERT_TRUE(daemon.WaitFed(std::chrono::seconds(120))) << daemon.FeedError();
        ASSERT_TRUE(WaitUntil([&] { return recorder.GetInputStatistics().frames >= kFrames; }))
            << recorder.GetInputStatistics().frames;
        recorder.Stop();
        statistics = recorder.GetInputStatistics();
        EXPECT_EQ(recorder.GetOverrunCount(), 0);
    }
    Tolm::Platform::SetHardware(nullptr);
    EXPECT_EQ(statistics.holeFrames, 0u);

    const WavFile file = ReadWav(folder / "pipe.wav");
    ASSERT_TRUE(file.opened);
    EXPECT_EQ(file.info.samplerate, int(kRate));
    ASSERT_EQ(file.info.channels, 2);
    // The file holds every frame the stream delivered.
    EXPECT_EQ(std::uint64_t(file.info.frames), statistics.frames);
    const auto start = FindSignalStart(file.samples);
    ASSERT_TRUE(start);
    EXPECT_EQ(MatchingFrames(file.samples, *start, kFrames), kFrames);
}

} // namespace
