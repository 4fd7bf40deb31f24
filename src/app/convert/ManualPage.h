#pragma once

// The manual pages of tolm-convert and tolm-audio-converter, in man(7) format, made at build
// time from the same option tables and texts as their --help.

#include "Command.h"

#include <string>
#include <vector>

namespace Tolm::Convert {

class ManualPage {
  public:
    static std::string ForConverter(const std::vector<Command>& commands);
    static std::string ForWizard(const std::vector<CommandOption>& options, const char* description);

    // Text for a roff line: backslashes and hyphens escaped, no line taken for a request.
    static std::string Escaped(const std::string& text);
};

} // namespace Tolm::Convert
