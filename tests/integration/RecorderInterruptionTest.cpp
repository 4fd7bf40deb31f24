// A recording that is cut short: its source unplugged, or its process killed. What was
// written stays readable and is exactly what was fed.

#include "../recording/TempFolder.h"
#include "PulseDaemon.h"
#include "RecorderIntegration.h"
#include "platform/PulseAudioHardware.h"
#include "recording/CAAudioFileRecorder.h"

#include <atomic>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using namespace RecorderIntegration;
using Tolm::Test::PulseDaemon;

class RecorderInterruption : public ::testing::Test {
  protected:
    void SetUp() override
    {
        if (!mDaemon.Start())
            GTEST_SKIP() << mDaemon.SkipReason();
    }
    void ConnectHardware()
    {
        std::string error;
        auto hardware = Tolm::Platform::PulseAudioHardware::Connect(std::chrono::seconds(10), &error);
        ASSERT_TRUE(hardware) << error;
        Tolm::Platform::SetHardware(hardware);
    }
    void TearDown() override { Tolm::Platform::SetHardware(nullptr); }

    PulseDaemon mDaemon;
    TempFolder mFolder;
};

// A steady 0.25 on the null sink, so its monitor source is a source with audio of its own.
struct ConstantOutput {
    static OSStatus Proc(void*, const AudioTimeStamp&, UInt32 frames, AudioBufferList* data)
    {
        for (UInt32 b = 0; b < data->mNumberBuffers; ++b) {
            auto* samples = static_cast<float*>(data->mBuffers[b].mData);
            for (UInt32 i = 0; i < frames; ++i)
                samples[i] = 0.25f;
        }
        return noErr;
    }
};

TEST_F(RecorderInterruption, UnpluggingTheSourceEndsTheRecordingWithNothingFromElsewhere)
{
    ConnectHardware();
    const auto source = FindDevice(PulseDaemon::kProductName, true);
    ASSERT_TRUE(source);
    // The null sink "speakers"; its monitor is where an unpinned stream would end up.
    const AudioDeviceID sink = Tolm::Platform::Hardware().DefaultOutputDevice();
    ASSERT_NE(sink, kAudioDeviceUnknown);
    std::unique_ptr<Tolm::Platform::AudioStream> output;
    ASSERT_EQ(Tolm::Platform::Hardware().OpenOutputStream(sink, &ConstantOutput::Proc, nullptr, output),
              noErr);
    ASSERT_EQ(output->Start(), noErr);
    ASSERT_TRUE(WaitUntil([&] { return output->Statistics().frames > 0; }));

    Tolm::Platform::AudioStreamStatistics statistics;
    {
        CAAudioFileRecorder recorder(*source, 3, kRingFrames);
        recorder.SetFile(FSRef{mFolder.Path()}, "unplugged.wav", kAudioFileWAVEType,
                         CAStreamBasicDescription::Float32(kRate, 2, true));
        recorder.Start();
        mDaemon.Feed(&Signal, 30ull * kRate, PulseDaemon::Pace::RealTime);
        ASSERT_TRUE(WaitUntil([&] { return recorder.GetInputStatistics().frames >= 2 * kRate; }));

        ASSERT_TRUE(mDaemon.UnloadPipeSource());
        EXPECT_TRUE(WaitUntil([&] { return !recorder.IsInputRunning(); }));
        mDaemon.StopFeeding();
        std::this_thread::sleep_for(std::chrono::milliseconds(500)); // time for anything to stray in
        EXPECT_NO_THROW(recorder.Stop());
        statistics = recorder.GetInputStatistics();
    }
    output->Stop();

    const WavFile file = ReadWav(mFolder / "unplugged.wav");
    ASSERT_TRUE(file.opened);
    EXPECT_EQ(std::uint64_t(file.info.frames), statistics.frames);
    const auto start = FindSignalStart(file.samples);
    ASSERT_TRUE(start);
    for (std::size_t i = 0; i < *start * 2; ++i)
        ASSERT_EQ(file.samples[i], 0.0f) << "before the signal, frame " << i / 2;
    const std::size_t recorded = std::size_t(file.info.frames) - *start;
    EXPECT_GE(recorded, 2u * kRate);
    // Every frame after the start is the fed signal: none came from the null sink's monitor.
    EXPECT_EQ(MatchingFrames(file.samples, *start, recorded), recorded);
}

// Runs the helper that records until killed; returns its pid once it records.
pid_t StartRecordingProcess(const std::string& path)
{
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
        return -1;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    const char* helper = TOLM_RECORDER_KILL_HELPER;
    std::string source = PulseDaemon::kProductName;
    char* argv[] = {const_cast<char*>(helper), source.data(), const_cast<char*>(path.c_str()), nullptr};
    pid_t pid = -1;
    const int err = posix_spawn(&pid, helper, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (err != 0) {
        close(pipeFds[0]);
        return -1;
    }
    pollfd readable{pipeFds[0], POLLIN, 0};
    char line[32] = {};
    const bool ready = poll(&readable, 1, 20000) == 1 && read(pipeFds[0], line, sizeof line - 1) > 0 &&
                       std::string(line).starts_with("recording");
    close(pipeFds[0]);
    if (!ready) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        return -1;
    }
    return pid;
}

std::optional<long long> SoxFrameCount(const std::string& path)
{
    const std::string command = "soxi -s '" + path + "' 2>/dev/null";
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return std::nullopt;
    long long frames = -1;
    const bool ok = std::fscanf(pipe, "%lld", &frames) == 1;
    if (pclose(pipe) != 0 || !ok)
        return std::nullopt;
    return frames;
}

std::vector<float> SoxSamples(const std::string& path, const std::string& raw)
{
    const std::string command =
        "sox -D '" + path + "' -t f32 -e floating-point -b 32 -L '" + raw + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0)
        return {};
    std::ifstream in(raw, std::ios::binary | std::ios::ate);
    std::vector<float> samples(std::size_t(in.tellg()) / sizeof(float));
    in.seekg(0);
    in.read(reinterpret_cast<char*>(samples.data()), std::streamsize(samples.size() * sizeof(float)));
    return samples;
}

TEST_F(RecorderInterruption, AKilledRecordingLeavesAFileEveryReaderOpensWithWhatWasWritten)
{
    if (std::system("command -v sox >/dev/null 2>&1 && command -v soxi >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "sox is not installed";
    const std::string path = mFolder / "killed.wav";
    const pid_t pid = StartRecordingProcess(path);
    ASSERT_GT(pid, 0) << "the recording helper did not start";

    constexpr std::uint64_t kFed = 4 * kRate + 1000;
    mDaemon.Feed(&Signal, kFed, PulseDaemon::Pace::RealTime);
    EXPECT_TRUE(mDaemon.WaitFed(std::chrono::seconds(60))) << mDaemon.FeedError();
    // Every full buffer reaches the file; the partial last one is still in the ring.
    const long long fullBuffers = (kFed / kRingFrames) * kRingFrames;
    EXPECT_TRUE(WaitUntil([&] { return ReadWav(path).info.frames >= fullBuffers; }));

    ASSERT_EQ(kill(pid, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFSIGNALED(status));

    const WavFile file = ReadWav(path);
    ASSERT_TRUE(file.opened) << "libsndfile cannot open the killed recording";
    const auto soxFrames = SoxFrameCount(path);
    ASSERT_TRUE(soxFrames) << "sox cannot read the killed recording";
    EXPECT_EQ(*soxFrames, file.info.frames);
    // sox works in 32-bit integers: its floats come back within a unit in the last place.
    const std::vector<float> viaSox = SoxSamples(path, mFolder / "killed.f32");
    ASSERT_EQ(viaSox.size(), file.samples.size());
    for (std::size_t i = 0; i < viaSox.size(); ++i)
        ASSERT_NEAR(viaSox[i], file.samples[i], 1e-7) << "sample " << i << " of " << viaSox.size();

    const auto start = FindSignalStart(file.samples);
    ASSERT_TRUE(start);
    const std::size_t written = std::size_t(file.info.frames) - *start;
    EXPECT_EQ(MatchingFrames(file.samples, *start, written), std::min<std::size_t>(written, kFed));
    // At most the ring's unwritten buffers short.
    EXPECT_GE(written + 3 * kRingFrames, kFed);
}

} // namespace
