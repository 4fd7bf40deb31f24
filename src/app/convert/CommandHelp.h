#pragma once

// What `tolm-convert --help` and `tolm-convert COMMAND --help` print, made from the
// commands' option tables.

#include "Command.h"

#include <string>
#include <vector>

namespace Tolm::Convert {

class CommandHelp {
  public:
    static std::string ForProgram(const std::vector<Command>& commands);
    static std::string ForCommand(const Command& command);
    static std::string Version(); // "tolm-convert 0.1.0"
    // What tolm-convert does, in a few sentences (also the manual page's description).
    static const char* Description();

    // "Record a side." from "record a side"
    static std::string Sentence(const char* summary);
    // The description with its default: "... Default: none."
    static std::string DescriptionWithDefault(const CommandOption& option, bool current);
    // Commands by name.
    static std::vector<const Command*> Sorted(const std::vector<Command>& commands);
};

} // namespace Tolm::Convert
