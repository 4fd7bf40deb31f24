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

    static void setFolder(const QString& folder);
    static void setFormat(ImportFormat format);

    static void overrideFolder(std::optional<QString> folder);
    static void overrideFormat(std::optional<ImportFormat> format);

    static QString defaultFolder();
};

} // namespace Tolm::Library
