#include "Command.h"

namespace Tolm::Convert {

std::vector<Command>& Commands()
{
    static std::vector<Command> commands;
    return commands;
}

const Command* FindCommand(const std::string& name)
{
    for (const Command& command : Commands())
        if (name == command.name)
            return &command;
    return nullptr;
}

const std::vector<CommandOption>& CommonOptions()
{
    static const std::vector<CommandOption> options = {
        {"verbose", nullptr,
         "Print the program's own log lines on standard error (device detection, equaliser, silence, "
         "recorder errors). Messages meant for you show without it."},
        {"help", nullptr, "Show this help and exit."},
        {"version", nullptr, "Show the version and exit."},
    };
    return options;
}

} // namespace Tolm::Convert
