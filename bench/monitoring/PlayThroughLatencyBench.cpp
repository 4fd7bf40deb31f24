// Listening latency through a real PulseAudio daemon: clicks written into the turntable's pipe
// source come out of the speakers (the null sink's monitor), and the time each took is the
// input-to-output latency a listener hears. Reports min, median and max over the clicks.

#include "PulseDaemon.h"
#include "monitoring/CAPlayThroughHost.h"
#include "platform/PulseAudioHardware.h"

#include <benchmark/benchmark.h>
#include <pulse/error.h>
#include <pulse/simple.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace {

using Tolm::Test::PulseDaemon;
using Clock = std::chrono::steady_clock;

constexpr unsigned kRate = PulseDaemon::kRate;
constexpr int kClicks = 8;
constexpr double kFirstClickSeconds = 1.5;  // the engine has settled by then
constexpr double kClickSpacingSeconds = 0.4;
constexpr unsigned kClickFrames = 48;  // 1 ms: survives the resampling whole
constexpr unsigned kChunkFrames = 240; // written every 5 ms
constexpr double kSinkWakeSeconds = 2.5;

double Seconds(Clock::time_point t)
{
    return std::chrono::duration<double>(t.time_since_epoch()).count();
}

void SleepUntil(Clock::time_point t)
{
    std::this_thread::sleep_until(t);
}

// Writes silence with clicks into the pipe source in real time, noting when each click went
// in: the pipe source hands data on as soon as it is written, so that is when it was "played
// into" the turntable's input.
class ClickWriter {
public:
    explicit ClickWriter(const std::string& fifo) : mFd(open(fifo.c_str(), O_WRONLY | O_CLOEXEC)) {}
    ~ClickWriter()
    {
        if (mFd >= 0)
            close(mFd);
    }
    bool Opened() const { return mFd >= 0; }

    bool Run(double seconds, std::vector<double>& clickTimes)
    {
        const auto start = Clock::now();
        const auto totalFrames = std::uint64_t(seconds * kRate);
        std::vector<float> chunk(kChunkFrames * 2);
        int nextClick = 0;
        for (std::uint64_t frame = 0; frame < totalFrames; frame += kChunkFrames) {
            std::fill(chunk.begin(), chunk.end(), 0.0f);
            const auto clickFrame = std::uint64_t((kFirstClickSeconds + nextClick * kClickSpacingSeconds) * kRate);
            const bool click = nextClick < kClicks && frame >= clickFrame;
            if (click)
                std::fill(chunk.begin(), chunk.begin() + 2 * kClickFrames, 0.8f);
            SleepUntil(start + std::chrono::nanoseconds(frame * 1'000'000'000ull / kRate));
            if (click) {
                clickTimes.push_back(Seconds(Clock::now()));
                ++nextClick;
            }
            if (!WriteAll(chunk.data(), chunk.size() * sizeof(float)))
                return false;
        }
        return true;
    }

private:
    bool WriteAll(const void* data, size_t bytes)
    {
        auto* p = static_cast<const char*>(data);
        while (bytes > 0) {
            const ssize_t n = write(mFd, p, bytes);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return false;
            p += n;
            bytes -= size_t(n);
        }
        return true;
    }

    int mFd;
};

// Records the speakers' monitor in 2.5 ms reads and notes when each click was heard.
class SpeakerListener {
public:
    bool Open(std::string& error)
    {
        const pa_sample_spec spec{PA_SAMPLE_FLOAT32LE, kRate, 2};
        pa_buffer_attr attributes{};
        attributes.maxlength = UINT32_MAX;
        attributes.fragsize = kReadFrames * 2 * sizeof(float);
        int status = 0;
        mStream = pa_simple_new(nullptr, "PlayThroughLatencyTest", PA_STREAM_RECORD, "speakers.monitor", "listen",
                                &spec, nullptr, &attributes, &status);
        if (!mStream)
            error = pa_strerror(status);
        return mStream != nullptr;
    }
    ~SpeakerListener()
    {
        if (mStream)
            pa_simple_free(mStream);
    }

    void Run(double seconds)
    {
        std::vector<float> block(kReadFrames * 2);
        const auto end = Clock::now() + std::chrono::duration<double>(seconds);
        double holdUntil = 0.0;
        while (Clock::now() < end) {
            int status = 0;
            if (pa_simple_read(mStream, block.data(), block.size() * sizeof(float), &status) < 0)
                return;
            const double readAt = Seconds(Clock::now());
            for (unsigned i = 0; i < kReadFrames; ++i) {
                const float peak = std::max(std::fabs(block[2 * i]), std::fabs(block[2 * i + 1]));
                const double at = readAt - double(kReadFrames - i) / kRate;
                mLoudest = std::max(mLoudest, peak);
                if (peak > 0.3f && at > holdUntil) {
                    heard.push_back(at);
                    holdUntil = at + 0.1;
                }
            }
        }
    }

    std::vector<double> heard;
    float Loudest() const { return mLoudest; }

private:
    static constexpr unsigned kReadFrames = 120;
    pa_simple* mStream = nullptr;
    float mLoudest = 0.0f;
};

// One measurement per iteration: start a daemon, play eight clicks through, listen for them.
void BM_PlayThroughLatency(benchmark::State& state)
{
    for (auto _ : state) {
        PulseDaemon daemon;
        if (!daemon.Start()) {
            state.SkipWithError(daemon.SkipReason().c_str());
            return;
        }
        std::string error;
        auto hardware = Tolm::Platform::PulseAudioHardware::Connect(std::chrono::seconds(10), &error);
        if (!hardware) {
            state.SkipWithError(error.c_str());
            return;
        }
        Tolm::Platform::SetHardware(hardware);
        AudioDeviceID input = kAudioDeviceUnknown;
        for (const auto& device : hardware->Devices())
            if (device.inputChannels > 0 && device.name == PulseDaemon::kProductName)
                input = device.id;
        const AudioDeviceID output = hardware->DefaultOutputDevice();

        std::vector<double> written, heard;
        float loudest = 0.0f;
        {
            // The turntable is connected before monitoring starts: with a writer on the fifo the
            // pipe source waits for audio instead of making up silence of its own.
            ClickWriter writer(daemon.FifoPath());
            // An idle null sink wakes only every two seconds, and only then takes up a request
            // for shorter latency: let the listener's request take hold before playing through.
            SpeakerListener listener;
            if (input == kAudioDeviceUnknown || output == kAudioDeviceUnknown || !writer.Opened() ||
                !listener.Open(error)) {
                state.SkipWithError(("no turntable, speakers or listener: " + error).c_str());
                return;
            }
            const double feedSeconds = kFirstClickSeconds + kClicks * kClickSpacingSeconds + 0.5;
            std::thread listening([&] { listener.Run(kSinkWakeSeconds + feedSeconds + 1.0); });
            std::this_thread::sleep_for(std::chrono::duration<double>(kSinkWakeSeconds));
            Tolm::Monitoring::CAPlayThroughHost host(input, output);
            host.Start();
            writer.Run(feedSeconds, written);
            listening.join();
            host.Stop();
            heard = listener.heard;
            loudest = listener.Loudest();
        }
        Tolm::Platform::SetHardware(nullptr);

        if (heard.size() != written.size() || written.empty()) {
            state.SkipWithError(("clicks written " + std::to_string(written.size()) + ", heard " +
                                 std::to_string(heard.size()) + ", loudest " + std::to_string(loudest))
                                    .c_str());
            return;
        }
        std::vector<double> latencies;
        for (std::size_t i = 0; i < written.size(); ++i)
            latencies.push_back((heard[i] - written[i]) * 1000.0);
        std::sort(latencies.begin(), latencies.end());
        state.counters["min_ms"] = latencies.front();
        state.counters["median_ms"] = latencies[latencies.size() / 2];
        state.counters["max_ms"] = latencies.back();
    }
}
BENCHMARK(BM_PlayThroughLatency)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
