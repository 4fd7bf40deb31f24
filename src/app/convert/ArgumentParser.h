#pragma once

// A command's arguments, read by QCommandLineParser against the command's option table:
// --name VALUE or --name=VALUE, flags --name, and positional arguments in any order; after
// "--" everything is positional. Asking for an option the table does not declare is a
// programming error and stops the program.

#include "CommandOption.h"

#include <QCommandLineParser>
#include <optional>
#include <string>
#include <vector>

namespace Tolm::Convert {

class ArgumentParser {
  public:
    // The options of the registered command `command`.
    ArgumentParser(std::string command, std::vector<std::string> args);
    ArgumentParser(std::string command, std::vector<CommandOption> options, std::vector<std::string> args);

    bool Declares(const std::string& name) const;               // --name is in the table
    bool Flag(const std::string& name);                        // --name present
    std::optional<std::string> Value(const std::string& name); // last --name VALUE
    std::vector<std::string> Values(const std::string& name);  // every --name VALUE, in order
    // The positionals, or nullopt after a message when an argument was not understood (an
    // unknown option, a missing value, a value given to a flag).
    std::optional<std::vector<std::string>> Positionals();

    // Prints "tolm-convert COMMAND: message" on standard error.
    void Error(const std::string& message) const;
    const std::string& CommandName() const { return mCommand; }

  private:
    const CommandOption* Find(const std::string& name) const;
    QString Declared(const std::string& name) const;
    std::string Problem(const std::vector<std::string>& args) const;

    std::string mCommand;
    std::vector<CommandOption> mOptions;
    QCommandLineParser mParser;
    std::string mProblem; // told by Positionals()
};

} // namespace Tolm::Convert
