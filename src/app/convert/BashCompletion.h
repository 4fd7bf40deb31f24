#pragma once

// Bash completion scripts for tolm-convert and tolm-audio-converter, made at build time from
// the option tables: commands, their options, and the values an option takes.

#include "Command.h"

#include <string>
#include <vector>

namespace Tolm::Convert {

class BashCompletion {
  public:
    static std::string ForConverter(const std::vector<Command>& commands);
    static std::string ForWizard(const std::vector<CommandOption>& options);
};

} // namespace Tolm::Convert
