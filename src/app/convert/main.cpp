// tolm-convert: the converter's work without the wizard.

#include "Command.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace Tolm::Convert {

std::vector<Command>& Commands()
{
    static std::vector<Command> commands;
    return commands;
}

} // namespace Tolm::Convert

namespace {

void PrintUsage(std::FILE* out)
{
    using namespace Tolm::Convert;
    auto commands = Commands();
    std::sort(commands.begin(), commands.end(),
              [](const Command& a, const Command& b) { return std::strcmp(a.name, b.name) < 0; });
    std::fprintf(out, "Usage: tolm-convert COMMAND [OPTIONS]\n\n"
                      "Turns records and tapes played on a USB turntable or cassette deck into\n"
                      "named, tagged tracks in your music library.\n\nCommands:\n");
    for (const auto& c : commands)
        std::fprintf(out, "  %-12s %s\n", c.name, c.summary);
    std::fprintf(out, "\nUsage of each command:\n");
    for (const auto& c : commands)
        std::fprintf(out, "  tolm-convert %s\n", c.usage);
}

} // namespace

int main(int argc, char** argv)
{
    using namespace Tolm::Convert;
    if (argc < 2) {
        PrintUsage(stderr);
        return kExitBadInput;
    }
    const std::string name = argv[1];
    if (name == "--help" || name == "-h" || name == "help") {
        PrintUsage(stdout);
        return kExitOk;
    }
    for (const auto& c : Commands()) {
        if (name == c.name) {
            std::vector<std::string> args(argv + 2, argv + argc);
            if (std::find(args.begin(), args.end(), "--help") != args.end()) {
                std::printf("Usage: tolm-convert %s\n", c.usage);
                return kExitOk;
            }
            return c.run(args);
        }
    }
    std::fprintf(stderr, "tolm-convert: unknown command \"%s\"\n\n", name.c_str());
    PrintUsage(stderr);
    return kExitBadInput;
}
