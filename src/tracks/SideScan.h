#pragma once

// One pass over the takes of a side: the waveform overview, and what the track finder needs.
// Cheap enough to run when the recording stops (a 25-minute side is read in well under a
// second from the page cache).

#include "tracks/TakeFiles.h"
#include "tracks/WaveformOverview.h"

#include <atomic>
#include <functional>

namespace Tolm::Tracks {

struct SideScan {
    WaveformOverview overview;
    std::int64_t frames = 0;
    double sampleRate = 0.0;

    // Throws TrackError. `stop` (may be null) ends the pass early, leaving what was read.
    static SideScan Run(const TakeFiles& takes, const std::atomic<bool>* stop = nullptr,
                        const std::function<void(double)>& progress = {});
};

} // namespace Tolm::Tracks
