#include "tracks/SideScan.h"

#include <exception>
#include <stdexcept>
#include <thread>

namespace Tolm::Tracks {

namespace {

constexpr std::int64_t kBlock = 1 << 16;

bool Stopped(const std::atomic<bool>* stop)
{
    return stop && stop->load(std::memory_order_relaxed);
}

void Analyse(const TakeFiles& takes, Morvo::Audio::Filters::AudioFilter::Type equaliser,
             Analysis::SideAnalyzer& analyzer, const std::atomic<bool>* stop)
{
    // Its own equaliser, so the live one's state is not disturbed.
    Morvo::Audio::Filters::AudioFilter filter;
    filter.Set(equaliser);
    std::vector<float> left(kBlock), right(kBlock);
    takes.read(0, takes.frames(), kBlock, [&](const float* block, std::int64_t frames) {
        for (std::int64_t i = 0; i < frames; ++i) {
            left[std::size_t(i)] = block[2 * i];
            right[std::size_t(i)] = block[2 * i + 1];
        }
        filter(left.data(), right.data(), static_cast<unsigned long>(frames));
        analyzer.process(left.data(), right.data(), std::size_t(frames));
        return !Stopped(stop);
    });
}

} // namespace

SideScan SideScan::Run(const TakeFiles& takes, Morvo::Audio::Filters::AudioFilter::Type equaliser,
                       const std::atomic<bool>* stop,
                       const std::function<void(const WaveformOverview&)>& overviewDone)
{
    SideScan scan;
    scan.sampleRate = takes.sampleRate();
    scan.overview.reserve(takes.frames());
    try {
        scan.analyzer.emplace(takes.sampleRate());
    } catch (const std::invalid_argument&) {
    }

    std::exception_ptr analysisError;
    std::thread analysis;
    if (scan.analyzer) {
        analysis = std::thread([&] {
            try {
                Analyse(takes, equaliser, *scan.analyzer, stop);
            } catch (...) {
                analysisError = std::current_exception();
            }
        });
    }
    struct Join {
        std::thread& thread;
        ~Join()
        {
            if (thread.joinable())
                thread.join();
        }
    } join{analysis};

    takes.read(0, takes.frames(), kBlock, [&](const float* block, std::int64_t frames) {
        scan.overview.add(block, frames);
        scan.frames += frames;
        return !Stopped(stop);
    });
    if (overviewDone && !Stopped(stop))
        overviewDone(scan.overview);
    if (analysis.joinable())
        analysis.join();
    if (analysisError)
        std::rethrow_exception(analysisError);
    return scan;
}

} // namespace Tolm::Tracks
