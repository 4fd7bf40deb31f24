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

struct ConsoleImport {
    bool wanted = false; // --import
    ConsoleExport::Names names;
    std::optional<QString> library;
    std::optional<ImportFormat> format;
    std::optional<int> quality; // 0..10, for the lossy formats

    // Takes --artist A, --album B, --title T (repeatable, in track order), --album-artist A,
    // --year YYYY, --side A|B, --library DIR, --format F, --quality 0-10 and --import (each also as
    // --name=VALUE) out of `args`, leaving the rest for the command. nullopt with `error` set
    // for a missing value, an unknown format, or a year or side that is not one.
    static std::optional<ConsoleImport> Take(std::vector<std::string>& args, std::string& error);

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
