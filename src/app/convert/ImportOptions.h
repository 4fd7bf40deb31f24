#pragma once

// The library's naming and import options (--artist, --album, --title, --import, --library,
// --format), taken out of a command's arguments before the command parses its own.

#include "library/ConsoleImport.h"

#include <optional>
#include <string>
#include <vector>

namespace Tolm::Convert {

// Leaves the other arguments in `args`; nullopt after a one-line message on standard error.
std::optional<Library::ConsoleImport> TakeImportOptions(const std::string& command, std::vector<std::string>& args);

} // namespace Tolm::Convert
