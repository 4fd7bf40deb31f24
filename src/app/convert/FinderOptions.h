#pragma once

// --finder, --tracks and --lengths: which track finder a command runs, and what the user
// knows about the side.

#include "CommandLine.h"
#include "SideAnalysis.h"

#include <vector>

namespace Tolm::Convert {

// Their rows, for a command's option table.
std::vector<CommandOption> FinderOptionRows();

// Takes the three options from the parser into `options` (the side analysis unless
// --finder gaps); false, after a message, when a value is not one.
bool TakeFinderOptions(ArgumentParser& parser, SideAnalysisOptions& options);

} // namespace Tolm::Convert
