#pragma once

// One option of a program or a command, as its --help, its manual page and the shell's
// completion show it. Commands keep theirs in one table next to their Registration.

#include <string>

namespace Tolm::Convert {

struct CommandOption {
    const char* name;                  // "eq" for --eq
    const char* valueName = nullptr;   // "EQ"; null for a flag
    const char* description = "";      // whole sentences
    const char* defaultText = nullptr; // "none"; null where there is none to tell
    // What completion offers for the value: words ("none riaa chrome"), "<file>" or "<dir>".
    const char* completion = nullptr;
    // The default as it is right now (a setting the user chose); --help shows it, the manual
    // page shows defaultText.
    std::string (*currentDefault)() = nullptr;

    bool takesValue() const { return valueName != nullptr; }
};

} // namespace Tolm::Convert
