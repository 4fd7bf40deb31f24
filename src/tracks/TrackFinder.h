#pragma once

// Where the tracks of a scanned side are, as markers: where the music starts, the
// boundaries in the gaps, and where the music ends.

#include "tracks/SideScan.h"
#include "tracks/TrackMarkers.h"

#include <vector>

namespace Tolm::Tracks {

struct TrackFinder {
    // Tracks shorter than this are not made, by the finder or by hand.
    static constexpr double kMinTrackSeconds = 2.0;

    static std::int64_t MinTrackFrames(double sampleRate) { return std::int64_t(kMinTrackSeconds * sampleRate); }

    // The splits made while recording, over the whole take: nothing trimmed.
    static TrackMarkers FromLiveSplits(const TakeFiles& takes);
    // The music found in the overview: lead-in and run-out trimmed, and with `trackCount`
    // (0: none given) the boundaries at the quietest stretches that many tracks need;
    // without it, the live splits inside the music.
    static TrackMarkers Find(const SideScan& scan, const TakeFiles& takes, int trackCount);
};

} // namespace Tolm::Tracks
