// Cost of carrying audio through the play-through ring: one Store and one Fetch of the same
// block, as the input and output callbacks do, reported per frame.

#include "monitoring/AudioRingBuffer.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace {

using Tolm::Monitoring::AudioRingBuffer;

struct StereoBlock {
    explicit StereoBlock(UInt32 frames) : left(frames, 0.25f), right(frames, -0.25f)
    {
        list = reinterpret_cast<AudioBufferList*>(storage);
        list->mNumberBuffers = 2;
        list->mBuffers[0] = {1, UInt32(frames * 4), left.data()};
        list->mBuffers[1] = {1, UInt32(frames * 4), right.data()};
    }
    std::vector<float> left;
    std::vector<float> right;
    alignas(AudioBufferList) unsigned char storage[sizeof(AudioBufferList) + sizeof(AudioBuffer)];
    AudioBufferList* list;
};

void StoreAndFetch(benchmark::State& state)
{
    const auto frames = UInt32(state.range(0));
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 20 * 512);  // as the engine sizes it for 512-frame devices
    StereoBlock in(frames);
    StereoBlock out(frames);
    SInt64 time = 0;
    const SInt64 delay = 2 * SInt64(frames);  // the reader trails the writer
    for (auto _ : state) {
        ring.Store(in.list, frames, time);
        if (time >= delay && ring.Fetch(out.list, frames, time - delay) != AudioRingBuffer::Ok) {
            state.SkipWithError("fetch failed");
            break;
        }
        benchmark::DoNotOptimize(out.left.data());
        benchmark::ClobberMemory();
        time += frames;
    }
    state.SetItemsProcessed(state.iterations() * frames);
    // Seconds per frame (printed with its SI prefix: 1.2n is 1.2 ns).
    state.counters["per_frame"] = benchmark::Counter(double(state.iterations()) * frames,
                                                     benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK(StoreAndFetch)->Arg(64)->Arg(512)->Arg(4096);

} // namespace
