#pragma once

#include "library/ImportFormat.h"

#include <QString>
#include <functional>

namespace Tolm::Library {

// Turns a recorded track (any file libsndfile reads) into a file of an import format,
// resampled only where the format cannot hold the track's rate. Samples that are not finite
// numbers (NaN, infinity) become silence before any encoder sees them: some encoders abort on
// them, others fail without saying why.
class TrackEncoder {
  public:
    struct Result {
        int sampleRate;
        long long frames;
        long long replacedSamples; // NaN or infinite samples written as 0
    };
    using Progress = std::function<void(double fraction)>;

    // Writes `destination` (created or truncated). Throws LibraryError with a message for
    // people: unreadable source, a format the machine cannot encode, a full disk.
    static Result Encode(const QString& source, const QString& destination, ImportFormat format,
                         const Progress& progress = {});
};

} // namespace Tolm::Library
