#pragma once

// tolm-convert's commands. Each lives in its own <Name>Command.cpp and registers itself
// with its options in a table, from which its --help, the manual page and the shell
// completion are made:
//
//   const std::vector<CommandOption> kOptions = {
//       {"eq", "EQ", "The equaliser the side is heard through.", "none", "none riaa riaa-bass chrome"},
//       {"json", nullptr, "Print the tracks as JSON."},
//   };
//   const Registration reg{{"tracks", "find the tracks of a recorded side",
//       "tracks [--eq EQ] [--json] FILE", &RunTracks, kOptions}};
//
// --help, --version and --verbose belong to every command and are not listed.
// Exit statuses: 0 done, 1 failed while working, 2 bad arguments or bad input.

#include "CommandOption.h"

#include <string>
#include <vector>

namespace Tolm::Convert {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitBadInput = 2;

struct Command {
    const char* name;
    const char* summary; // lower case, no full stop: "find the tracks of a recorded side"
    const char* usage;   // without the program name
    int (*run)(const std::vector<std::string>& args);  // args after the command name
    std::vector<CommandOption> options = {};
};

std::vector<Command>& Commands();
const Command* FindCommand(const std::string& name);
// --verbose, --help and --version.
const std::vector<CommandOption>& CommonOptions();

struct Registration {
    explicit Registration(Command command) { Commands().push_back(std::move(command)); }
};

} // namespace Tolm::Convert
