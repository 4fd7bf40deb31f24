#pragma once

// The built tolm-convert run as a user runs it, its output and status kept.

#include "ChildProgram.h"
#include "TracksTestSide.h"

#include <string>
#include <vector>

namespace Tolm::Test {

using Run = ProgramResult;

// The folder is where a test keeps its files; the program's output is kept by the runner.
inline Run Convert(const TempFolder&, const std::vector<std::string>& args)
{
    std::vector<std::string> argv{TOLM_CONVERT};
    argv.insert(argv.end(), args.begin(), args.end());
    return RunProgram(argv);
}

} // namespace Tolm::Test
