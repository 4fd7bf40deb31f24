#pragma once

#include <QString>

namespace Tolm::Library {

// Longest file or folder name, in bytes of UTF-8, that Linux file systems accept.
inline constexpr int kMaxNameBytes = 255;

// `name` as typed by a user, made fit to be one file or folder name on any file system the
// library may live on (a USB drive formatted for another system, a network share): "/" and
// the characters such systems refuse become "_", control characters (line breaks, NUL)
// become blanks, leading dots and blanks and trailing dots and blanks go, and the result is
// cut to kMaxNameBytes. An empty result becomes `fallback`, treated the same way.
QString SafeNameComponent(const QString& name, const QString& fallback);

// `text` cut to at most `maxBytes` bytes of UTF-8, never inside a character (an emoji with
// its modifiers counts as one).
QString CutToUtf8Bytes(const QString& text, int maxBytes);

// Creates an empty file named stem.suffix in `folder`, or "stem (2).suffix", "stem (3).suffix"
// ... when that name is taken, and returns its path; an existing file is never replaced or
// followed. The stem is shortened where the number would make the name too long. Throws
// LibraryError when no name can be made.
QString ReserveUniqueFile(const QString& folder, const QString& stem, const QString& suffix);

} // namespace Tolm::Library
