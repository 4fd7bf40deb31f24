// Cost of the equaliser and the gap detector per stereo frame, as the input chain runs them.

#include "filters/AudioFilter.h"
#include "filters/BiQuad.h"
#include "filters/GapDetector.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

using namespace Morvo::Audio::Filters;

namespace {

struct Silent : GapDetector::Listener {
    void TrackSilenceStarted() override {}
    void TrackSilenceEnded() override {}
    void AlbumEnded() override {}
};

// Music-like input: a few tones and some noise, below full scale.
struct Stereo {
    explicit Stereo(std::size_t frames) : left(frames), right(frames)
    {
        std::mt19937 rng(1);
        std::normal_distribution<float> noise(0.0f, 0.02f);
        for (std::size_t i = 0; i < frames; ++i) {
            const double t = double(i) / 44100.0;
            left[i] = float(0.3 * std::sin(2 * 3.14159265 * 440 * t) + 0.1 * std::sin(2 * 3.14159265 * 97 * t)) +
                      noise(rng);
            right[i] = float(0.25 * std::sin(2 * 3.14159265 * 660 * t)) + noise(rng);
        }
    }
    std::vector<float> left, right;
};

// The filters work in place; every iteration starts from the same input again so that a
// recursive equaliser is not fed its own output (which grows into infinities). The copy is
// counted: the figures are a little pessimistic.
struct Block {
    explicit Block(const Stereo& s) : source(s), left(s.left), right(s.right) {}
    void Refill()
    {
        std::copy(source.left.begin(), source.left.end(), left.begin());
        std::copy(source.right.begin(), source.right.end(), right.begin());
    }
    const Stereo& source;
    std::vector<float> left, right;
};

// Time per stereo frame (shown as ns), beside Google Benchmark's time per block.
void PerFrame(benchmark::State& state, std::size_t frames)
{
    state.counters["per_frame"] = benchmark::Counter(
        double(frames), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_BiQuadMono(benchmark::State& state)
{
    const auto frames = std::size_t(state.range(0));
    Stereo in(frames);
    Block block(in);
    BiQuad section(0.225f, 0.2321032f, 0.052797012f, 0.9147276f, 0.16572149f);
    for (auto _ : state) {
        block.Refill();
        section(block.left.data(), frames);
        benchmark::ClobberMemory();
    }
    PerFrame(state, frames);
}

void BM_Equaliser(benchmark::State& state, AudioFilter::Type type)
{
    const auto frames = std::size_t(state.range(0));
    Stereo in(frames);
    static AudioFilter filter;
    filter.Set(type);
    Block block(in);
    for (auto _ : state) {
        block.Refill();
        filter(block.left.data(), block.right.data(), frames);
        benchmark::ClobberMemory();
    }
    PerFrame(state, frames);
}

void BM_GapDetector(benchmark::State& state)
{
    const auto frames = std::size_t(state.range(0));
    Stereo in(frames);
    Silent listener;
    GapDetector detector(listener, 44100);
    for (auto _ : state) {
        benchmark::DoNotOptimize(detector(in.left.data(), in.right.data(), frames));
        if (detector.levels.size() > 100000)
            detector.levels.clear();
    }
    PerFrame(state, frames);
}

// What the input chain does to every block.
void BM_RIAAThenGapDetector(benchmark::State& state)
{
    const auto frames = std::size_t(state.range(0));
    Stereo in(frames);
    static AudioFilter filter;
    filter.Set(AudioFilter::RIAAFilter);
    Silent listener;
    GapDetector detector(listener, 44100);
    Block block(in);
    for (auto _ : state) {
        block.Refill();
        filter(block.left.data(), block.right.data(), frames);
        benchmark::DoNotOptimize(detector(block.left.data(), block.right.data(), frames));
        if (detector.levels.size() > 100000)
            detector.levels.clear();
    }
    PerFrame(state, frames);
}

} // namespace

BENCHMARK(BM_BiQuadMono)->Arg(512)->Arg(4096);
BENCHMARK_CAPTURE(BM_Equaliser, RIAA, AudioFilter::RIAAFilter)->Arg(512)->Arg(4096);
BENCHMARK_CAPTURE(BM_Equaliser, Chrome, AudioFilter::ChromeFilter)->Arg(512)->Arg(4096);
BENCHMARK(BM_GapDetector)->Arg(512)->Arg(4096);
BENCHMARK(BM_RIAAThenGapDetector)->Arg(512)->Arg(4096);
