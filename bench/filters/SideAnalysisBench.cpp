// Whole-side figures: a 60-minute 44.1 kHz 32-bit float stereo WAV (made once in /tmp and
// then read from the page cache) through the side analysis and through tolm-convert tracks.
// The counter x_realtime is audio seconds per wall second.

#include "SideAnalysis.h"
#include "analysis/SideAnalyzer.h"

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr long kSeconds = 60 * 60;
const std::string kPath = "/tmp/tolm-bench-side-60min.wav";

// Eleven 4:57 songs (tones and a wash of noise with a slow swell), 3 s gaps of hiss, a
// minute of run-out.
void MakeSideOnce()
{
    const auto expectedBytes = std::uintmax_t(kSeconds) * kRate * 2 * 4;
    std::error_code ec;
    if (const auto size = std::filesystem::file_size(kPath, ec); !ec && size > expectedBytes)
        return;
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* f = sf_open((kPath + ".part").c_str(), SFM_WRITE, &info);
    if (!f) {
        std::fprintf(stderr, "cannot write %s: %s\n", kPath.c_str(), sf_strerror(nullptr));
        std::exit(1);
    }
    std::mt19937 rng(5);
    std::normal_distribution<float> hiss(0.0f, 0.0001f);
    std::normal_distribution<float> wash(0.0f, 0.05f);
    std::vector<float> block(2 * 44100);
    const long total = kSeconds * kRate;
    for (long at = 0; at < total; at += 44100) {
        for (long i = 0; i < 44100; ++i) {
            const long n = at + i;
            const double t = double(n) / kRate;
            const double inSong = std::fmod(t, 300.0);
            const bool music = inSong < 297.0 && t < kSeconds - 60.0;
            float l = hiss(rng), r = hiss(rng);
            if (music) {
                const int song = int(t / 300.0);
                const double swell = 0.6 + 0.4 * std::sin(2 * std::numbers::pi * 0.13 * t);
                const double base = 110.0 * (1.0 + 0.25 * song);
                l += float(swell * (0.2 * std::sin(2 * std::numbers::pi * base * t) +
                                    0.1 * std::sin(2 * std::numbers::pi * 4.5 * base * t) + wash(rng)));
                r += float(swell * (0.2 * std::sin(2 * std::numbers::pi * 1.5 * base * t) +
                                    0.08 * std::sin(2 * std::numbers::pi * 3.0 * base * t) + wash(rng)));
            }
            block[std::size_t(2 * i)] = l;
            block[std::size_t(2 * i + 1)] = r;
        }
        sf_writef_float(f, block.data(), 44100);
    }
    sf_close(f);
    std::filesystem::rename(kPath + ".part", kPath);
}

void RealTimeFactor(benchmark::State& state)
{
    state.counters["x_realtime"] =
        benchmark::Counter(double(kSeconds) * double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_SideAnalysis(benchmark::State& state, Morvo::Audio::Filters::AudioFilter::Type eq,
                     Tolm::Convert::TrackFinder finder)
{
    MakeSideOnce();
    Tolm::Convert::SideAnalysisOptions options;
    options.equaliser = eq;
    options.finder = finder;
    std::size_t tracks = 0;
    for (auto _ : state)
        tracks = Tolm::Convert::SideAnalysis::Run(kPath, options).spans().size();
    state.counters["tracks"] = double(tracks);
    RealTimeFactor(state);
}

// The analysis alone, per frame, in blocks of 4096, and analyze() on an hour's feature track.
void BM_SideAnalyzerProcess(benchmark::State& state)
{
    std::mt19937 rng(3);
    std::uniform_real_distribution<float> d(-0.5f, 0.5f);
    std::vector<float> left(4096), right(4096);
    for (std::size_t i = 0; i < left.size(); ++i) {
        left[i] = d(rng);
        right[i] = d(rng);
    }
    Tolm::Analysis::SideAnalyzer analyzer(kRate);
    for (auto _ : state) {
        analyzer.process(left.data(), right.data(), left.size());
        benchmark::ClobberMemory();
    }
    state.counters["ns_per_frame"] = benchmark::Counter(
        double(state.iterations()) * double(left.size()), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_SideAnalyzerAnalyze(benchmark::State& state)
{
    std::mt19937 rng(4);
    std::normal_distribution<float> d(0.0f, 0.1f);
    std::vector<float> left(kRate), right(kRate);
    Tolm::Analysis::SideAnalyzer analyzer(kRate);
    for (long second = 0; second < kSeconds; ++second) {
        // Songs of 4:57 and 3 s gaps.
        const float gain = second % 300 < 297 ? 1.0f : 0.001f;
        for (std::size_t i = 0; i < left.size(); ++i) {
            left[i] = gain * d(rng);
            right[i] = gain * d(rng);
        }
        analyzer.process(left.data(), right.data(), left.size());
    }
    std::size_t tracks = 0;
    for (auto _ : state)
        tracks = analyzer.analyze().tracks.size();
    state.counters["tracks"] = double(tracks);
}

void BM_TracksCommand(benchmark::State& state, const char* eq)
{
    MakeSideOnce();
    const std::string command =
        std::string("'") + TOLM_CONVERT + "' tracks --eq " + eq + " " + kPath + " >/dev/null";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("tolm-convert tracks failed");
            break;
        }
    }
    RealTimeFactor(state);
}

} // namespace

// The side analysis (what tolm-convert tracks runs by default) beside the gap detector's finder.
BENCHMARK_CAPTURE(BM_SideAnalysis, side_none, Morvo::Audio::Filters::AudioFilter::NoFilter,
                  Tolm::Convert::TrackFinder::Side)
    ->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK_CAPTURE(BM_SideAnalysis, side_riaa, Morvo::Audio::Filters::AudioFilter::RIAAFilter,
                  Tolm::Convert::TrackFinder::Side)
    ->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK_CAPTURE(BM_SideAnalysis, gaps_none, Morvo::Audio::Filters::AudioFilter::NoFilter,
                  Tolm::Convert::TrackFinder::Gaps)
    ->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK_CAPTURE(BM_SideAnalysis, gaps_riaa, Morvo::Audio::Filters::AudioFilter::RIAAFilter,
                  Tolm::Convert::TrackFinder::Gaps)
    ->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_SideAnalyzerProcess);
BENCHMARK(BM_SideAnalyzerAnalyze)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TracksCommand, none, "none")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK_CAPTURE(BM_TracksCommand, riaa, "riaa")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
