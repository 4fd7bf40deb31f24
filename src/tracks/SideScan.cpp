#include "tracks/SideScan.h"

namespace Tolm::Tracks {

SideScan SideScan::Run(const TakeFiles& takes, const std::atomic<bool>* stop,
                       const std::function<void(double)>& progress)
{
    SideScan scan;
    scan.sampleRate = takes.sampleRate();
    const std::int64_t total = std::max<std::int64_t>(takes.frames(), 1);
    takes.read(0, takes.frames(), 1 << 16, [&](const float* block, std::int64_t frames) {
        scan.overview.add(block, frames);
        scan.frames += frames;
        if (progress)
            progress(double(scan.frames) / double(total));
        return !(stop && stop->load(std::memory_order_relaxed));
    });
    return scan;
}

} // namespace Tolm::Tracks
