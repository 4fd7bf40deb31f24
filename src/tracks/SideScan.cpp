#include "tracks/SideScan.h"

#include <stdexcept>

namespace Tolm::Tracks {

SideScan SideScan::Run(const TakeFiles& takes, Morvo::Audio::Filters::AudioFilter::Type equaliser,
                       const std::atomic<bool>* stop, const std::function<void(double)>& progress)
{
    constexpr std::int64_t kBlock = 1 << 16;
    SideScan scan;
    scan.sampleRate = takes.sampleRate();
    try {
        scan.analyzer.emplace(takes.sampleRate());
    } catch (const std::invalid_argument&) {
    }
    // Its own equaliser, so the live one's state is not disturbed.
    Morvo::Audio::Filters::AudioFilter filter;
    filter.Set(equaliser);
    std::vector<float> left(kBlock), right(kBlock);
    const std::int64_t total = std::max<std::int64_t>(takes.frames(), 1);
    takes.read(0, takes.frames(), kBlock, [&](const float* block, std::int64_t frames) {
        scan.overview.add(block, frames);
        if (scan.analyzer) {
            for (std::int64_t i = 0; i < frames; ++i) {
                left[std::size_t(i)] = block[2 * i];
                right[std::size_t(i)] = block[2 * i + 1];
            }
            filter(left.data(), right.data(), static_cast<unsigned long>(frames));
            scan.analyzer->process(left.data(), right.data(), std::size_t(frames));
        }
        scan.frames += frames;
        if (progress)
            progress(double(scan.frames) / double(total));
        return !(stop && stop->load(std::memory_order_relaxed));
    });
    return scan;
}

} // namespace Tolm::Tracks
