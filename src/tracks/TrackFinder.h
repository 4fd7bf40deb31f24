#pragma once

// Where the tracks of a scanned side are, as markers: where the music starts, a boundary in
// each gap, where the music ends.

#include "tracks/SideScan.h"
#include "tracks/TrackMarkers.h"

#include <vector>

namespace Tolm::Tracks {

struct TrackFinder {
    // Tracks shorter than this are not made by hand; the analysis makes none under 15 s.
    static constexpr double kMinTrackSeconds = 2.0;

    static std::int64_t MinTrackFrames(double sampleRate) { return std::int64_t(kMinTrackSeconds * sampleRate); }

    // The takes as they were recorded: nothing trimmed, split where the recording split.
    static TrackMarkers FromLiveSplits(const TakeFiles& takes);
    // What the side analysis finds, with the sleeve's count when given (0: none); the live
    // splits when it finds no music at all.
    static TrackMarkers Find(const SideScan& scan, const TakeFiles& takes, int trackCount);
};

} // namespace Tolm::Tracks
