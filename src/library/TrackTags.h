#pragma once

#include "library/ImportFormat.h"

#include <QString>
#include <optional>

namespace Tolm::Library {

// The four tags the library writes on every imported track.
struct TrackTags {
    QString artist;
    QString album;
    QString title;
    QString trackNumber; // text, as typed or counted ("7")

    friend bool operator==(const TrackTags&, const TrackTags&) = default;
};

// The localised names of what the user left unnamed; the track's takes its number where
// the translation has a place (%1) for it.
QString UnknownTrackName(const QString& trackNumber);
QString UnknownArtistName();
QString UnknownAlbumName();

// Writes the tags with TagLib into a file of `format` (ID3v2.4 for MP3, Vorbis comments for
// FLAC, Ogg Vorbis and Opus, ID3v2 and INFO for WAV). Throws LibraryError.
void WriteTrackTags(const QString& path, ImportFormat format, const TrackTags& tags);

// Reads them back from any file TagLib knows by its extension; nullopt if it cannot.
std::optional<TrackTags> ReadTrackTags(const QString& path);

} // namespace Tolm::Library
