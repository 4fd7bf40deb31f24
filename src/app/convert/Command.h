#pragma once

// tolm-convert's commands. Each lives in its own <Name>Command.cpp and registers itself:
//
//   static const Tolm::Convert::Registration reg{{"tracks", "find the tracks of a recorded side",
//       "tracks FILE [--eq none|riaa|riaa-bass|chrome] [--json] [--verbose]", &RunTracks}};
//
// Exit statuses: 0 done, 1 failed while working, 2 bad arguments or bad input.

#include <string>
#include <vector>

namespace Tolm::Convert {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitBadInput = 2;

struct Command {
    const char* name;
    const char* summary;
    const char* usage;  // without the program name
    int (*run)(const std::vector<std::string>& args);  // args after the command name
};

std::vector<Command>& Commands();

struct Registration {
    explicit Registration(Command command) { Commands().push_back(command); }
};

} // namespace Tolm::Convert
