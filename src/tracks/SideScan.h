#pragma once

// One pass over the takes of a side: the waveform overview, and the side analysis fed with
// the audio as the chosen equaliser makes it. Cheap enough to run when the recording stops.

#include "analysis/SideAnalyzer.h"
#include "filters/AudioFilter.h"
#include "tracks/TakeFiles.h"
#include "tracks/WaveformOverview.h"

#include <atomic>
#include <functional>
#include <optional>

namespace Tolm::Tracks {

struct SideScan {
    WaveformOverview overview;
    std::optional<Analysis::SideAnalyzer> analyzer; // none for a rate it cannot take
    std::int64_t frames = 0;
    double sampleRate = 0.0;

    // Throws TrackError. `stop` (may be null) ends the pass early, leaving what was read.
    static SideScan Run(const TakeFiles& takes, Morvo::Audio::Filters::AudioFilter::Type equaliser,
                        const std::atomic<bool>* stop = nullptr, const std::function<void(double)>& progress = {});
};

} // namespace Tolm::Tracks
