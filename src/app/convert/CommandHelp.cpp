#include "CommandHelp.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace Tolm::Convert {

namespace {

constexpr std::size_t kLineWidth = 79;
constexpr std::size_t kLeftWidth = 22; // option column, beyond it the text starts below

std::string Wrapped(const std::string& text, std::size_t indent)
{
    std::string out, line;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find(' ', start);
        if (end == std::string::npos)
            end = text.size();
        const std::string word = text.substr(start, end - start);
        if (!line.empty() && indent + line.size() + 1 + word.size() > kLineWidth) {
            out += line + "\n" + std::string(indent, ' ');
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
        start = end + 1;
    }
    return out + line;
}

// Words of a usage line: spaces inside brackets do not split, unless a group is too long
// for a line by itself, when its own spaces do.
std::vector<std::string> UsageWords(const std::string& usage, std::size_t width, int depth = 0)
{
    std::vector<std::string> words;
    std::string word;
    int level = 0;
    for (const char c : usage) {
        if (c == '[')
            ++level;
        if (c == ']')
            --level;
        if (c == ' ' && level <= depth) {
            if (!word.empty())
                words.push_back(word);
            word.clear();
        } else {
            word += c;
        }
    }
    if (!word.empty())
        words.push_back(word);
    // An option stays with its value: "--album B".
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        const std::string& next = words[i + 1];
        if (words[i].rfind("--", 0) == 0 && words[i].back() != ']' && next[0] != '-' && next[0] != '[' &&
            next[0] != '|') {
            words[i] += " " + next;
            words.erase(words.begin() + std::ptrdiff_t(i) + 1);
        }
    }
    std::vector<std::string> fitted;
    for (const std::string& w : words) {
        if (w.size() > width && depth < 3) {
            const auto parts = UsageWords(w, width, depth + 1);
            fitted.insert(fitted.end(), parts.begin(), parts.end());
        } else {
            fitted.push_back(w);
        }
    }
    return fitted;
}

std::string WrappedUsage(const std::string& usage, std::size_t indent)
{
    std::string out, line;
    for (const std::string& word : UsageWords(usage, kLineWidth - indent)) {
        if (!line.empty() && indent + line.size() + 1 + word.size() > kLineWidth) {
            out += line + "\n" + std::string(indent, ' ');
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return out + line;
}

std::string OptionName(const CommandOption& option)
{
    std::string name = std::strcmp(option.name, "help") == 0 ? "-h, --help" : std::string("--") + option.name;
    if (option.takesValue())
        name += std::string(" ") + option.valueName;
    return name;
}

std::string OptionList(const std::vector<CommandOption>& options)
{
    std::string out;
    for (const CommandOption& option : options) {
        const std::string name = "  " + OptionName(option);
        const std::string text = Wrapped(CommandHelp::DescriptionWithDefault(option, true), kLeftWidth + 2);
        if (name.size() + 2 <= kLeftWidth + 2)
            out += name + std::string(kLeftWidth + 2 - name.size(), ' ') + text + "\n";
        else
            out += name + "\n" + std::string(kLeftWidth + 2, ' ') + text + "\n";
    }
    return out;
}

} // namespace

const char* CommandHelp::Description()
{
    return "Turns records and tapes played on a USB turntable or cassette deck into named, tagged "
           "tracks in your music library, as the wizard tolm-audio-converter does, or works on sides "
           "recorded elsewhere: finds their tracks, cuts them apart and imports them.";
}

std::string CommandHelp::Sentence(const char* summary)
{
    std::string text = summary;
    if (!text.empty())
        text[0] = char(std::toupper(static_cast<unsigned char>(text[0])));
    return text + ".";
}

std::string CommandHelp::DescriptionWithDefault(const CommandOption& option, bool current)
{
    std::string text = option.description;
    std::string value = option.defaultText ? option.defaultText : "";
    if (current && option.currentDefault)
        value = option.currentDefault();
    if (!value.empty())
        text += " Default: " + value + ".";
    return text;
}

std::vector<const Command*> CommandHelp::Sorted(const std::vector<Command>& commands)
{
    std::vector<const Command*> sorted;
    for (const Command& command : commands)
        sorted.push_back(&command);
    std::sort(sorted.begin(), sorted.end(),
              [](const Command* a, const Command* b) { return std::strcmp(a->name, b->name) < 0; });
    return sorted;
}

std::string CommandHelp::ForProgram(const std::vector<Command>& commands)
{
    std::string out =
        "Usage: tolm-convert COMMAND [OPTIONS]\n\n" + Wrapped(Description(), 0) + "\n\nCommands:\n";
    for (const Command* command : Sorted(commands)) {
        const std::string name = std::string("  ") + command->name;
        out += name + std::string(name.size() < 15 ? 15 - name.size() : 1, ' ') +
               Wrapped(command->summary, 15) + "\n";
    }
    out += "\nOptions:\n" + OptionList(CommonOptions());
    out +=
        "\n\"tolm-convert COMMAND --help\" tells the options of a command, \"man tolm-convert\" tells more.\n"
        "Exit status: 0 done, 1 failed while working, 2 bad arguments or bad input.\n";
    return out;
}

std::string CommandHelp::ForCommand(const Command& command)
{
    std::vector<CommandOption> options = command.options;
    options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
    return "Usage: tolm-convert " + WrappedUsage(command.usage, 20) + "\n\n" + Sentence(command.summary) +
           "\n\nOptions:\n" + OptionList(options);
}

std::string CommandHelp::Version()
{
    return std::string("tolm-convert ") + TOLM_VERSION;
}

} // namespace Tolm::Convert
