#pragma once

#include "library/ImportFormat.h"

#include <QString>
#include <optional>

namespace Tolm::Library {

// Where the music library lives and which format it imports to. Stored in the user's
// settings; a program may override either for its own run (tolm-convert's --library and
// --format) without touching what the user chose. Any thread.
class LibrarySettings {
  public:
    // The user's music folder (XDG_MUSIC_DIR) unless another was chosen.
    static QString folder();
    static bool folderIsDefault();
    static ImportFormat format(); // FLAC unless another was chosen
    // For the lossy formats: 0 (smallest files) to 10 (best sound); the default suits most
    // listeners (about 190 kbit/s for MP3 and Ogg Vorbis, 128 kbit/s for Opus).
    static int quality(ImportFormat format);
    static bool isLossy(ImportFormat format);

    static void setFolder(const QString& folder);
    static void setFormat(ImportFormat format);
    static void setQuality(ImportFormat format, int quality);

    static void overrideFolder(std::optional<QString> folder);
    static void overrideFormat(std::optional<ImportFormat> format);
    static void overrideQuality(std::optional<int> quality); // for every lossy format

    static QString defaultFolder();
};

} // namespace Tolm::Library
