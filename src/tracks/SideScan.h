#pragma once

// One look at the takes of a side: the waveform overview, and the side analysis fed with the
// audio as the chosen equaliser makes it. The two run side by side on their own threads, and
// the overview (the quicker) is handed out as soon as it is complete, so the side can be
// drawn while the analysis finishes.

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

    // Throws TrackError. `stop` (may be null) ends the reading early, leaving what was read.
    // `overviewDone` runs on the calling thread once the overview is complete.
    static SideScan Run(const TakeFiles& takes, Morvo::Audio::Filters::AudioFilter::Type equaliser,
                        const std::atomic<bool>* stop = nullptr,
                        const std::function<void(const WaveformOverview&)>& overviewDone = {});
};

} // namespace Tolm::Tracks
