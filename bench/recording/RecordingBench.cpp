// Costs on the recording path: the input chain per stereo frame, PushBuffer per stereo
// frame, and how fast the work thread gets frames into a WAV file.

#include "capture/GapDetectorListener.h"
#include "capture/InputChain.h"
#include "platform/CABufferList.h"
#include "platform/GainStage.h"
#include "recording/CAAudioFileWriter.h"
#include "recording/CABufferQueue.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr UInt32 kBlockFrames = 512;

struct StereoBlock {
    StereoBlock() : left(kBlockFrames), right(kBlockFrames), list("bench", 2)
    {
        for (UInt32 i = 0; i < kBlockFrames; ++i) {
            left[i] = 0.5f * std::sin(float(i) * 0.05f);
            right[i] = 0.4f * std::cos(float(i) * 0.031f);
        }
        list.GetBuffer(0) = AudioBuffer{1, kBlockFrames * 4, left.data()};
        list.GetBuffer(1) = AudioBuffer{1, kBlockFrames * 4, right.data()};
    }
    std::vector<float> left, right;
    CABufferList list;
};

struct NoEvents : Tolm::Capture::GapEventReceiver {
    void trackGapDetected() override {}
    void albumEndDetected() override {}
};

// Gain, meters, RIAA equaliser and gap detector: what a monitored block goes through.
void BM_InputChain(benchmark::State& state)
{
    using namespace Tolm::Capture;
    const bool full = state.range(0) != 0;
    NoEvents receiver;
    GapDetectorListener listener(receiver);
    Morvo::Audio::Filters::GapDetector detector(listener, 44100);
    filter.Set(full ? Morvo::Audio::Filters::AudioFilter::RIAAFilter
                    : Morvo::Audio::Filters::AudioFilter::NoFilter);
    gapDetector.store(full ? &detector : nullptr);
    const float gain = Tolm::Platform::GainFactorFromDecibels(full ? 3.0f : 0.0f);

    StereoBlock block;
    long long sampleTime = 0;
    for (auto _ : state) {
        Tolm::Platform::ApplyInputGain(block.list.GetModifiableBufferList(), gain);
        InputProcCallback(&block.list.GetModifiableBufferList(), kBlockFrames, sampleTime);
        sampleTime += kBlockFrames;
        // Keep levels bounded: the RIAA boost and the gain would otherwise grow them.
        for (UInt32 i = 0; i < kBlockFrames; i += 64)
            block.left[i] = block.right[i] = 0.1f;
        benchmark::ClobberMemory();
    }
    gapDetector.store(nullptr);
    filter.Set(Morvo::Audio::Filters::AudioFilter::NoFilter);
    state.SetItemsProcessed(state.iterations() * kBlockFrames);
    state.SetLabel(full ? "gain +3 dB, meters, RIAA, gap detector" : "meters only");
}
BENCHMARK(BM_InputChain)->Arg(0)->Arg(1);

// The real-time side of the queue. The work thread of this queue is never started; the
// benchmark empties the ring itself once two buffers wait, so no block is dropped.
class DrainedQueue : public CAPushBufferQueue {
  public:
    DrainedQueue() : CAPushBufferQueue(3, 32768), mIdle(new WorkThread)
    {
        mWorkThread = mIdle.get();
        SetFormat(CAStreamBasicDescription::Float32(48000, 2, false));
    }
    ~DrainedQueue() override { CancelAndDisposeBuffers(); }

  protected:
    Buffer* CreateBuffer(const CAStreamBasicDescription& format, UInt32 nBytes) override
    {
        return new Buffer(this, format, nBytes);
    }
    void ProcessBuffer(Buffer* buffer) override { buffer->SetEmpty(); }

  private:
    std::unique_ptr<WorkThread> mIdle;
};

void BM_PushBuffer(benchmark::State& state)
{
    DrainedQueue queue;
    StereoBlock block;
    int pushes = 0;
    for (auto _ : state) {
        queue.PushBuffer(kBlockFrames, &block.list.GetBufferList());
        if (++pushes == 2 * 32768 / kBlockFrames) {
            queue.Flush();
            pushes = 0;
        }
    }
    if (queue.GetOverrunCount() != 0)
        state.SkipWithError("blocks were dropped");
    state.SetItemsProcessed(state.iterations() * kBlockFrames);
}
BENCHMARK(BM_PushBuffer);

// Frames through the process-wide work thread into a float WAV file. The producer waits
// whenever the ring is full, so what is measured is the writer, not dropped blocks.
class PacedWriter : public CAAudioFileWriter {
  public:
    PacedWriter() : CAAudioFileWriter(3, 32768) {}
    void Push(UInt32 frames, const AudioBufferList* data)
    {
        while (mBuffers[mCurrentBuffer]->IsInProgress())
            std::this_thread::yield();
        PushBuffer(frames, data);
    }
};

void BM_WriterThroughput(benchmark::State& state)
{
    const UInt32 framesPerFile = UInt32(state.range(0));
    char pattern[] = "/tmp/tolm-bench-XXXXXX";
    const std::string folder = mkdtemp(pattern);
    StereoBlock block;
    int overruns = 0;
    int n = 0;
    for (auto _ : state) {
        const std::string name = "bench." + std::to_string(n++) + ".wav";
        {
            PacedWriter writer;
            writer.SetFile(FSRef{folder}, name, kAudioFileWAVEType,
                           CAStreamBasicDescription::Float32(48000, 2, true));
            writer.Start();
            for (UInt32 done = 0; done < framesPerFile; done += kBlockFrames)
                writer.Push(kBlockFrames, &block.list.GetBufferList());
            writer.Stop();
            overruns += writer.GetOverrunCount();
        } // closed: final header written
        state.PauseTiming();
        std::filesystem::remove(folder + "/" + name);
        state.ResumeTiming();
    }
    std::filesystem::remove_all(folder);
    if (overruns != 0)
        state.SkipWithError("blocks were dropped");
    state.SetItemsProcessed(state.iterations() * framesPerFile);
    state.counters["realtime_x_48k"] =
        benchmark::Counter(double(state.iterations()) * framesPerFile / 48000.0, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_WriterThroughput)->Arg(48000 * 10)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
