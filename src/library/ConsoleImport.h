#pragma once

// What tolm-convert's import, split and record commands share to name and import tracks:
// the options, their checks, and the import of what the Audio controller recorded.

#include "library/ConsoleExport.h"
#include "library/ImportFormat.h"

#include <optional>
#include <string>
#include <vector>

namespace Tolm::Capture {
class Audio;
}

namespace Tolm::Library {

// Filled in from the command line by tolm-convert.
struct ConsoleImport {
    bool wanted = false; // --import
    ConsoleExport::Names names;
    std::optional<QString> library;
    std::optional<ImportFormat> format;
    std::optional<int> quality; // 0..10, for the lossy formats

    // Settles the library folder and format for this run (before anything is recorded or
    // decoded): a folder named with --library is made if it is missing; the format must be one
    // this system can encode. Returns an error for people, or an empty string.
    std::string apply() const;

    // Exports `tracks` under these names and waits until it is done.
    ConsoleExport::Outcome exportTracks(RecordedTracks& tracks, bool normalize,
                                        const ConsoleExport::Hooks& hooks) const;

    static std::string FormatNames(); // "flac, mp3, ogg, opus, wav": the ones this system can encode
};

// Imports the tracks `audio` has recorded, as `import` says; the silent leftover track of a
// side that ended by itself is deleted with the others once the side is in.
ConsoleExport::Outcome ImportRecordedSide(Capture::Audio& audio, const ConsoleImport& import, bool albumEnded,
                                          const ConsoleExport::Hooks& hooks);

} // namespace Tolm::Library
