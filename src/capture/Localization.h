#pragma once

#include <QString>

namespace Tolm {

// The program's texts are looked up by key ("IDS_NODEVICE", ...) in the Qt translation of
// the context "Tolm"; a key without a translation shows as itself.
QString Localized(const char* key);
QString Localized(const QString& key);
// A text that counts: `one` for 1, else `many` with the count as %1 (further %n left as they are).
QString LocalizedCount(const char* one, const char* many, unsigned count);

// Loads the translation for the system's language (English when there is none) from the
// resources built into the program. Call once after the Q(Core)Application exists.
void InstallTranslations();

} // namespace Tolm
