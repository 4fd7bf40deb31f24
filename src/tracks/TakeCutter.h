#pragma once

// Cuts the takes of a recording again at chosen markers: track n is the audio between
// marker n-1 and marker n, copied frame for frame (no re-encoding) into a new stereo float
// WAV. Every new file is complete and on disk before this returns, so the takes may be
// replaced by them; a failure on the way removes what was written and leaves the takes alone.

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

    // Writes the tracks to the paths `newFile` names (which must not be takes) and returns
    // them in order. Throws TrackError.
    static std::vector<std::string> write(const TakeFiles& takes, const std::vector<std::int64_t>& markers,
                                          const TrackPath& newFile, const Progress& progress = {});
};

} // namespace Tolm::Tracks
