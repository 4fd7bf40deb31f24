#pragma once

// The library's naming and import options (--artist, --album, --title, --import, --library,
// --format), shared by the commands that name or import tracks.

#include "ArgumentParser.h"
#include "library/ConsoleImport.h"

#include <optional>
#include <vector>

namespace Tolm::Convert {

// Their rows, to add to a command's option table; without --import for a command that
// always imports.
std::vector<CommandOption> ImportOptionRows(bool importFlag = true);

// nullopt after a one-line message on standard error (an empty folder name, an unknown format).
std::optional<Library::ConsoleImport> TakeImportOptions(ArgumentParser& parser);

} // namespace Tolm::Convert
