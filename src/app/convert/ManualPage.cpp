#include "ManualPage.h"

#include "CommandHelp.h"

#include <cstring>

namespace Tolm::Convert {

namespace {

std::string Header(const char* name, const char* summary)
{
    return std::string(".TH ") + ManualPage::Escaped(name) +
           " 1 \"\" \"Tolm Audio Converter " TOLM_VERSION "\" \"User Commands\"\n"
           // Ragged right and unhyphenated: option names and paths stay whole.
           ".ad l\n.nh\n.SH NAME\n" +
           ManualPage::Escaped(std::string(name) + " - " + summary) + "\n";
}

std::string Options(const std::vector<CommandOption>& options)
{
    std::string out;
    for (const CommandOption& option : options) {
        out += ".TP\n";
        if (std::strcmp(option.name, "help") == 0)
            out += "\\fB\\-h\\fR, ";
        out += "\\fB" + ManualPage::Escaped(std::string("--") + option.name) + "\\fR";
        if (option.takesValue())
            out += " \\fI" + ManualPage::Escaped(option.valueName) + "\\fR";
        out += "\n" + ManualPage::Escaped(CommandHelp::DescriptionWithDefault(option, false)) + "\n";
    }
    return out;
}

std::string Item(const char* tag, const char* text)
{
    return std::string(".TP\n") + tag + "\n" + ManualPage::Escaped(text) + "\n";
}

const char* const kSettings = "~/.config/Tolm/TolmAudioConverter.conf";

} // namespace

std::string ManualPage::Escaped(const std::string& text)
{
    std::string out;
    bool lineStart = true;
    for (const char c : text) {
        if (lineStart && (c == '.' || c == '\''))
            out += "\\&";
        lineStart = c == '\n';
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    return out;
}

std::string ManualPage::ForConverter(const std::vector<Command>& commands)
{
    std::string page =
        Header("tolm-convert", "record, split and import records and tapes into your music library");
    page += ".SH SYNOPSIS\n.B tolm\\-convert\n\\fICOMMAND\\fR [\\fIOPTIONS\\fR]\n.br\n.B tolm\\-convert\n"
            "[\\fICOMMAND\\fR] \\fB\\-\\-help\\fR | \\fB\\-\\-version\\fR\n";
    page += ".SH DESCRIPTION\n" + Escaped(CommandHelp::Description()) + "\n.PP\n" +
            Escaped("Results (track files, paths, tables, JSON) go to standard output; progress, warnings "
                    "and errors to standard error. The program's own log lines are left out unless "
                    "--verbose is given.") +
            "\n.SH COMMANDS\n";
    for (const Command* command : CommandHelp::Sorted(commands)) {
        page += ".SS " + Escaped(command->name) + "\n\\fBtolm\\-convert\\fR " + Escaped(command->usage) +
                "\n.PP\n" + Escaped(CommandHelp::Sentence(command->summary)) + "\n";
        page += Options(command->options);
    }
    page += ".SH OPTIONS OF EVERY COMMAND\n" + Options(CommonOptions());
    page += ".SH EXIT STATUS\n" + Item(".B 0", "Done.") +
            Item(".B 1", "Failed while working: a device went away, the disk filled up, a track could not be "
                         "added. What was recorded is kept, and the messages say where.") +
            Item(".B 2", "Bad arguments or bad input (an unknown option, a file that is not a sound file); "
                         "nothing was done.");
    page += ".SH FILES\n" +
            Item((std::string(".I ") + kSettings).c_str(),
                 "The library folder and format chosen in the wizard; they are this program's defaults too.");
    page += ".SH ENVIRONMENT\n" +
            Item(".B XDG_MUSIC_DIR",
                 "The music folder (set in ~/.config/user-dirs.dirs), the library's default place.");
    page += ".SH EXAMPLES\n.nf\n" +
            Escaped("tolm-convert devices\n"
                    "tolm-convert monitor --demo\n"
                    "tolm-convert record --device auto --turntable --import --artist A --album B \\\n"
                    "    --title One --title Two\n"
                    "tolm-convert tracks --eq riaa side.wav\n"
                    "tolm-convert split side.flac --artist A --album B --import\n"
                    "tolm-convert import --artist A --album B --title T a.wav") +
            "\n.fi\n";
    page += ".SH SEE ALSO\n.BR tolm\\-audio\\-converter (1)\n";
    return page;
}

std::string ManualPage::ForWizard(const std::vector<CommandOption>& options, const char* description)
{
    std::string page = Header("tolm-audio-converter",
                              "turn records and tapes into named, tagged tracks in your music library");
    page += ".SH SYNOPSIS\n.B tolm\\-audio\\-converter\n[\\fB\\-\\-demo\\fR] [\\fB\\-\\-verbose\\fR]\n";
    page +=
        ".SH DESCRIPTION\n" + Escaped(description) + "\n.PP\n" +
        Escaped("Without a desktop, use tolm-convert(1), which does the same work from the command line.") +
        "\n.SH OPTIONS\n" + Options(options);
    page += ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\n" + Escaped("Show the help and exit.") + "\n";
    page += ".TP\n\\fB\\-v\\fR, \\fB\\-\\-version\\fR\n" + Escaped("Show the version and exit.") + "\n";
    page +=
        ".SH FILES\n" +
        Item(".I $XDG_STATE_HOME/tolm\\-audio\\-converter/log/tolm\\-audio\\-converter.log",
             "The program's log (~/.local/state/... when XDG_STATE_HOME is not set). At 1 MiB it moves to "
             ".log.1; three old logs are kept. Attach it when you report a problem.") +
        Item((std::string(".I ") + kSettings).c_str(),
             "The window's place and the library folder and format.");
    page += ".SH SEE ALSO\n.BR tolm\\-convert (1)\n";
    return page;
}

} // namespace Tolm::Convert
