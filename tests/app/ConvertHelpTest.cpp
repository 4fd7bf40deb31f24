// What tolm-convert tells about itself: --help and --version of every command, the manual
// pages and the bash completion, all made from the commands' option tables.

#include "Command.h"
#include "ConvertRun.h"

#include <gtest/gtest.h>
#include <regex>

using namespace Tolm::Test;
using Tolm::Convert::Command;
using Tolm::Convert::CommandOption;
using Tolm::Convert::CommonOptions;

namespace {

// Help text with its line breaks and indents as single blanks.
std::string Flowing(const std::string& text)
{
    return std::regex_replace(text, std::regex("\\s+"), " ");
}

bool Declared(const Command& command, const std::string& name)
{
    for (const auto* table : {&command.options, &CommonOptions()})
        for (const CommandOption& option : *table)
            if (name == option.name)
                return true;
    return false;
}

std::string Quote(const std::string& arg)
{
    std::string q = "'";
    for (char c : arg)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

std::string Shell(const std::string& script)
{
    const auto run = RunProgram({"/bin/bash", "-c", script});
    return run.status == 0 ? run.out : "(failed)";
}

// What bash offers after `words`, the last being the one completed.
std::string Completed(const std::vector<std::string>& words)
{
    std::string array;
    for (const auto& word : words)
        array += " " + Quote(word);
    return Shell("source " + Quote(std::string(TOLM_MANUAL_DIR) + "/tolm-convert.bash") +
                 "\nCOMP_WORDS=(tolm-convert" + array + ")\nCOMP_CWORD=" + std::to_string(words.size()) +
                 "\n_tolm_convert\necho ${COMPREPLY[*]}\n");
}

} // namespace

TEST(ConvertHelp, EveryCommandAnswersHelpAndVersionAndTellsEachOptionWithItsDefault)
{
    TempFolder folder;
    const auto program = Convert(folder, {"--help"});
    EXPECT_EQ(program.status, 0);
    for (const Command& command : Tolm::Convert::Commands()) {
        SCOPED_TRACE(command.name);
        EXPECT_NE(program.out.find(std::string("  ") + command.name + " "), std::string::npos);

        const auto help = Convert(folder, {command.name, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.err, "");
        EXPECT_EQ(help.out.rfind(std::string("Usage: tolm-convert ") + command.name, 0), 0u) << help.out;
        const std::string text = Flowing(help.out);
        for (const CommandOption& option : command.options) {
            EXPECT_NE(text.find(std::string(" --") + option.name + (option.takesValue() ? " " : "")),
                      std::string::npos)
                << option.name;
            if (option.defaultText && !option.currentDefault) {
                EXPECT_NE(text.find(std::string("Default: ") + option.defaultText + "."), std::string::npos)
                    << option.name;
            }
        }
        const auto version = Convert(folder, {command.name, "--version"});
        EXPECT_EQ(version.status, 0);
        EXPECT_TRUE(std::regex_match(version.out, std::regex("tolm-convert [0-9]+\\.[0-9]+\\.[0-9]+\n")))
            << version.out;
    }
    const auto unknown = Convert(folder, {"nonsense"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.out, "");
    EXPECT_EQ(unknown.err.rfind("tolm-convert: unknown command \"nonsense\"\n", 0), 0u) << unknown.err;
}

// A branch that adds an option to a usage line must add its row to the table too, or the
// option would be refused, and missing from the help, the manual page and the completion.
TEST(ConvertHelp, EveryOptionOfAUsageLineIsInItsCommandsTable)
{
    const std::regex option("--([a-z][a-z0-9-]*)");
    for (const Command& command : Tolm::Convert::Commands()) {
        const std::string usage = command.usage;
        for (auto it = std::sregex_iterator(usage.begin(), usage.end(), option); it != std::sregex_iterator();
             ++it)
            EXPECT_TRUE(Declared(command, (*it)[1])) << command.name << ": --" << (*it)[1];
    }
}

TEST(ManualPages, RenderCleanlyAndTellEveryCommandAndOption)
{
    if (std::system("command -v groff >/dev/null") != 0)
        GTEST_SKIP() << "groff is not installed";
    for (const char* page : {"tolm-convert.1", "tolm-audio-converter.1"}) {
        SCOPED_TRACE(page);
        const std::string path = std::string(TOLM_MANUAL_DIR) + "/" + page;
        // -ww: every warning; -z: no output, only the warnings.
        EXPECT_EQ(Shell("groff -man -ww -z -Tutf8 " + Quote(path) + " 2>&1"), "");
    }
    const std::string text = Flowing(
        Shell("groff -man -Tascii -P-cbou " + Quote(std::string(TOLM_MANUAL_DIR) + "/tolm-convert.1")));
    for (const Command& command : Tolm::Convert::Commands()) {
        EXPECT_NE(text.find(std::string("tolm-convert ") + command.name), std::string::npos) << command.name;
        for (const CommandOption& option : command.options)
            EXPECT_NE(text.find(std::string("--") + option.name), std::string::npos)
                << command.name << " --" << option.name;
    }
}

TEST(BashCompletion, OffersCommandsTheirOptionsAndTheValuesAnOptionTakes)
{
    EXPECT_EQ(Completed({"rec"}), "record record-file recover\n");
    EXPECT_EQ(Completed({"tracks", "--e"}), "--eq\n");
    EXPECT_EQ(Completed({"tracks", "--eq", ""}), "none riaa riaa-bass chrome\n");
    EXPECT_EQ(Completed({"import", "--format", "o"}), "ogg opus\n");
    EXPECT_EQ(Completed({"record", "--tape", ""}), "normal chrome\n");
    EXPECT_EQ(Completed({"--verbose", "split", "--no"}), "\n"); // split has no --no-auto-split
    EXPECT_EQ(Completed({"help", "sp"}), "split\n");
}
