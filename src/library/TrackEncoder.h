#pragma once

#include "library/ImportFormat.h"

#include <QString>
#include <functional>

namespace Tolm::Library {

// Turns a recorded track (any file libsndfile reads) into a file of an import format,
// resampled only where the format cannot hold the track's rate.
class TrackEncoder {
  public:
    struct Result {
        int sampleRate;
        long long frames;
    };
    using Progress = std::function<void(double fraction)>;

    // Writes `destination` (created or truncated). Throws LibraryError with a message for
    // people: unreadable source, a format the machine cannot encode, a full disk.
    static Result Encode(const QString& source, const QString& destination, ImportFormat format,
                         const Progress& progress = {});
};

} // namespace Tolm::Library
