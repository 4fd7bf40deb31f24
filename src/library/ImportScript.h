#pragma once

// Imports one recorded track into the music library through the import script: the
// script adds the file, tags it, converts it and removes the intermediate copy.

#include <QString>
#include <QStringList>

namespace Tolm::Library {

// `text` with every backslash doubled and then every double quote preceded by a backslash:
// the contents of a double-quoted string literal that reads back as `text`.
QString escapedFormOf(const QString& text);

// Line breaks of `text` written as escape sequences. Applied after escapedFormOf, whose
// literals would otherwise end at a typed line break.
QString lineBreaksEscaped(const QString& text);

// `pattern` with its "%@" placeholders replaced by `values`, in order. Inserted text is not
// searched again, so a value holding "%@" stays as it is.
QString fillPlaceholders(const QString& pattern, const QStringList& values);

// The import script's text for one track; the path and number go in as they are.
QString importScriptFor(const QString& path, const QString& escapedArtist, const QString& escapedAlbum,
                        const QString& escapedName, const QString& trackNumber);

// Adds the track file at `path` to the music library, tagged with the names (empty ones get
// the localised unknown-artist, -album and -track texts), converted to the import format.
// With `normalize`, the file is first scaled so that the recording's peak (GetVUMax) lands
// at 0.97, into "normalized.wav" beside it. Returns true when the script failed, with the
// reason in `errorMessage` if given. Normalisation failures throw CAXException.
bool convertAndTagAudioFile4(const QString& path, const QString& artist, const QString& album,
                             const QString& name, const QString& trackNumber, bool normalize,
                             QString* errorMessage = nullptr);

} // namespace Tolm::Library
