#pragma once

// Cuts the takes of a recording again at chosen markers: track n is the audio between
// marker n-1 and marker n, copied frame for frame (no re-encoding) into a new stereo float
// WAV. The new files are written beside their final names and fsynced first; only once all
// are complete do they replace the takes (atomic renames), and only then are takes that no
// track name reuses removed. A failure on the way leaves the takes as they were.

#include "tracks/TakeFiles.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Tolm::Tracks {

class TakeCutter {
  public:
    using TrackPath = std::function<std::string(unsigned track)>; // track numbers from 1
    using Progress = std::function<void(double fraction)>;

    // Whether cutting would change anything: markers from the start to the end of the takes
    // at exactly the takes' own boundaries leave them as they are.
    static bool changes(const TakeFiles& takes, const std::vector<std::int64_t>& markers);

    // Returns the new track files in order. Throws TrackError; the takes are then untouched.
    static std::vector<std::string> cut(const TakeFiles& takes, const std::vector<std::int64_t>& markers,
                                        const TrackPath& trackPath, const Progress& progress = {});
};

} // namespace Tolm::Tracks
