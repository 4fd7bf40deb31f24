// Opening the track check for a 25-minute side: the takes read once for the waveform
// overview and the side analysis, then the tracks found. Six takes of 44.1 kHz float WAV,
// made once in /tmp and then read from the page cache. x_realtime is audio seconds per wall
// second; overview_bytes_per_hour what the overview keeps for an hour.

#include "tracks/SideScan.h"
#include "tracks/TakeCutter.h"
#include "tracks/TrackFinder.h"

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <cmath>
#include <filesystem>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kTakes = 6;
constexpr double kTakeSeconds = 250.0; // 25 minutes in all

std::vector<std::string> MakeTakesOnce()
{
    std::vector<std::string> paths;
    std::mt19937 rng(7);
    std::normal_distribution<float> hiss(0.0f, 0.0002f);
    const auto frames = std::int64_t(kTakeSeconds * kRate);
    for (int take = 0; take < kTakes; ++take) {
        paths.push_back("/tmp/tolm-bench-take-" + std::to_string(take + 1) + ".wav");
        std::error_code ec;
        if (std::filesystem::file_size(paths.back(), ec) > std::uintmax_t(frames) * 8 && !ec)
            continue;
        SF_INFO info{};
        info.samplerate = kRate;
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        SNDFILE* file = sf_open(paths.back().c_str(), SFM_WRITE, &info);
        std::vector<float> block;
        for (std::int64_t n = 0; n < frames; ++n) {
            const double t = double(n) / kRate;
            const bool music = t > 3.0 && t < kTakeSeconds - 3.0;
            const double swell = 0.5 + 0.4 * std::sin(2 * std::numbers::pi * 0.11 * t);
            const float value = music ? float(swell * 0.3 * std::sin(2 * std::numbers::pi * (110.0 + 30 * take) * t)) : 0.0f;
            block.push_back(value + hiss(rng));
            block.push_back(value * 0.8f + hiss(rng));
            if (block.size() >= 2 * 65536 || n + 1 == frames) {
                sf_writef_float(file, block.data(), sf_count_t(block.size() / 2));
                block.clear();
            }
        }
        sf_close(file);
    }
    return paths;
}

void BM_OpenCheckPanel(benchmark::State& state)
{
    const auto paths = MakeTakesOnce();
    std::size_t overviewBytes = 0;
    for (auto _ : state) {
        const Tolm::Tracks::TakeFiles takes(paths);
        const auto scan = Tolm::Tracks::SideScan::Run(takes, Morvo::Audio::Filters::AudioFilter::RIAAFilter);
        const auto markers = Tolm::Tracks::TrackFinder::Find(scan, takes, 0);
        benchmark::DoNotOptimize(markers.trackCount());
        overviewBytes = scan.overview.bytes();
    }
    const double seconds = kTakes * kTakeSeconds;
    state.counters["x_realtime"] =
        benchmark::Counter(seconds * double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["overview_bytes_per_hour"] = double(overviewBytes) * 3600.0 / seconds;
}
BENCHMARK(BM_OpenCheckPanel)->Unit(benchmark::kMillisecond)->UseRealTime();

// The waveform alone: what the panel needs before it can draw.
void BM_OverviewOnly(benchmark::State& state)
{
    const auto paths = MakeTakesOnce();
    for (auto _ : state) {
        const Tolm::Tracks::TakeFiles takes(paths);
        Tolm::Tracks::WaveformOverview overview;
        takes.read(0, takes.frames(), 1 << 16, [&](const float* block, std::int64_t frames) {
            overview.add(block, frames);
            return true;
        });
        benchmark::DoNotOptimize(overview.frames());
    }
    state.counters["x_realtime"] =
        benchmark::Counter(kTakes * kTakeSeconds * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_OverviewOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

// Cutting the 25 minutes again at other boundaries: a copy of every frame.
void BM_CutTakes(benchmark::State& state)
{
    const Tolm::Tracks::TakeFiles takes(MakeTakesOnce());
    const std::string folder = "/tmp/tolm-bench-cut";
    std::vector<std::int64_t> markers;
    for (int i = 0; i <= 8; ++i)
        markers.push_back(takes.frames() * i / 8);
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        state.ResumeTiming();
        Tolm::Tracks::TakeCutter::write(takes, markers,
                                        [&](unsigned n) { return folder + "/" + std::to_string(n) + ".wav"; });
    }
    std::filesystem::remove_all(folder);
    state.counters["x_realtime"] =
        benchmark::Counter(kTakes * kTakeSeconds * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_CutTakes)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

} // namespace
