#pragma once

#include <QString>
#include <optional>
#include <vector>

namespace Tolm::Library {

// The formats the music library converts imported tracks to.
enum class ImportFormat { Flac, Mp3, OggVorbis, Opus, Wav };

std::vector<ImportFormat> AllImportFormats();

// "flac", "mp3", "ogg", "opus", "wav": the names used in settings and on the command line.
QString ImportFormatName(ImportFormat format);
std::optional<ImportFormat> ImportFormatFromName(const QString& name);
// File name extension without the dot.
QString ImportFormatSuffix(ImportFormat format);

// The libsndfile major and sub format.
int ImportFormatSndfileFormat(ImportFormat format);

// Whether this machine's libsndfile can encode the format (MP3 needs a build with LAME).
bool ImportFormatAvailable(ImportFormat format);

// The rate a track recorded at `trackRate` is stored at: the same rate where the format
// can hold it, otherwise the nearest rate it can (Opus knows 48 kHz but not 44.1 kHz,
// MP3 stops at 48 kHz).
int StoredSampleRate(ImportFormat format, int trackRate);

} // namespace Tolm::Library
