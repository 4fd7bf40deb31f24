#pragma once

// Imports one recorded track into the music library through the import script: the
// script adds the file, tags it, converts it and removes the intermediate copy.

#include <QString>

namespace Tolm::Library {

// Adds the track file at `path` to the music library, tagged with the names (empty ones get
// the localised unknown-artist, -album and -track texts), converted to the import format.
// With `normalize`, the file is first scaled so that the recording's peak (GetVUMax) lands
// at 0.97, into "normalized.wav" beside it. Returns true when the script failed, with the
// reason in `errorMessage` if given. The path and the names reach the script as values.
// Normalisation failures throw CAXException.
bool convertAndTagAudioFile4(const QString& path, const QString& artist, const QString& album,
                             const QString& name, const QString& trackNumber, bool normalize,
                             QString* errorMessage = nullptr);

} // namespace Tolm::Library
