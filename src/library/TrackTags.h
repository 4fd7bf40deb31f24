#pragma once

#include "library/ImportFormat.h"

#include <QString>
#include <optional>

namespace Tolm::Library {

// The tags the library writes on every imported track. The first four are named by the
// user, track by track; the others describe the album and are filled in by the export.
struct TrackTags {
    QString artist;
    QString album;
    QString title;
    QString trackNumber; // text, as typed or counted ("7")
    QString albumArtist{}; // empty: the artist's
    int trackTotal = 0;    // 0: unknown
    int disc = 0;          // the side of a record (A = 1, B = 2); 0: not said
    QString date{};        // a year ("1979"), or empty

    friend bool operator==(const TrackTags&, const TrackTags&) = default;
};

// What an export knows about the whole album rather than one track.
struct AlbumTags {
    QString albumArtist; // empty: the artist's
    int trackTotal = 0;
    int disc = 0;
    QString date;

    friend bool operator==(const AlbumTags&, const AlbumTags&) = default;
};

// `tags` with the album's fields, as the export names the tracks: like the artist and the
// album, they are what the user said now, not what an imported file carried.
TrackTags WithAlbumTags(TrackTags tags, const AlbumTags& album);

// "A" = 1, "B" = 2 ... (either case) or a plain side number 1 to 26; nullopt for anything else.
std::optional<int> SideNumber(const QString& side);
// A year of four digits (leading and trailing blanks ignored); nullopt for anything else.
std::optional<QString> YearText(const QString& year);

// The localised names of what the user left unnamed; the track's takes its number where
// the translation has a place (%1) for it.
QString UnknownTrackName(const QString& trackNumber);
QString UnknownArtistName();
QString UnknownAlbumName();

// Writes the tags with TagLib into a file of `format` (ID3v2.4 for MP3, Vorbis comments for
// FLAC, Ogg Vorbis and Opus, ID3v2 and INFO for WAV), each in the fields players read:
// ALBUMARTIST / TPE2, TRACKNUMBER + TRACKTOTAL / TRCK "n/N", DISCNUMBER / TPOS, DATE / TDRC.
// Blanks around names are left out; an empty album artist is the artist. Throws LibraryError.
void WriteTrackTags(const QString& path, ImportFormat format, const TrackTags& tags);

// Reads them back from any file TagLib knows by its extension; nullopt if it cannot.
std::optional<TrackTags> ReadTrackTags(const QString& path);

} // namespace Tolm::Library
