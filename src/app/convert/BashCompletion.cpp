#include "BashCompletion.h"

#include "CommandHelp.h"

#include <cstring>

namespace Tolm::Convert {

namespace {

std::string OptionWords(const std::vector<CommandOption>& options)
{
    std::string words;
    for (const CommandOption& option : options)
        words += (words.empty() ? "--" : " --") + std::string(option.name);
    return words;
}

// case arms for the options whose value is completed, or whose value must not be taken
// for a file name.
std::string ValueCases(const std::vector<CommandOption>& options, const char* indent)
{
    std::string out;
    for (const CommandOption& option : options) {
        if (!option.takesValue())
            continue;
        out += std::string(indent) + "--" + option.name + ") ";
        const char* completion = option.completion ? option.completion : "";
        if (std::strcmp(completion, "<file>") == 0)
            out += "compopt -o filenames; COMPREPLY=($(compgen -f -- \"$cur\"))";
        else if (std::strcmp(completion, "<dir>") == 0)
            out += "compopt -o filenames; COMPREPLY=($(compgen -d -- \"$cur\"))";
        else if (*completion && completion[0] != '<')
            out += std::string("COMPREPLY=($(compgen -W '") + completion + "' -- \"$cur\"))";
        else
            out += "COMPREPLY=()";
        out += "; return ;;\n";
    }
    return out;
}

const char* const kFiles = "    compopt -o filenames\n    COMPREPLY=($(compgen -f -- \"$cur\"))\n";

} // namespace

std::string BashCompletion::ForConverter(const std::vector<Command>& commands)
{
    std::string names;
    for (const Command* command : CommandHelp::Sorted(commands))
        names += (names.empty() ? "" : " ") + std::string(command->name);
    std::string script = "# bash completion for tolm-convert -*- shell-script -*-\n\n"
                         "_tolm_convert()\n{\n"
                         "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
                         "    local command= options= i\n"
                         "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
                         "        [[ ${COMP_WORDS[i]} == -* ]] || { command=${COMP_WORDS[i]}; break; }\n"
                         "    done\n"
                         "    if [[ -z $command ]]; then\n"
                         "        COMPREPLY=($(compgen -W '" +
                         names + " help " + OptionWords(CommonOptions()) +
                         "' -- \"$cur\"))\n"
                         "        return\n"
                         "    fi\n"
                         "    case $command in\n";
    for (const Command* command : CommandHelp::Sorted(commands)) {
        script += "    " + std::string(command->name) + ")\n";
        const std::string values = ValueCases(command->options, "            ");
        if (!values.empty())
            script += "        case $prev in\n" + values + "        esac\n";
        script += "        options='" + OptionWords(command->options) + "' ;;\n";
    }
    script += "    help)\n        COMPREPLY=($(compgen -W '" + names +
              "' -- \"$cur\")); return ;;\n"
              "    *) return ;;\n    esac\n"
              "    if [[ $cur == -* ]]; then\n"
              "        COMPREPLY=($(compgen -W \"$options " +
              OptionWords(CommonOptions()) +
              "\" -- \"$cur\"))\n"
              "        return\n    fi\n" +
              kFiles + "}\n\ncomplete -F _tolm_convert tolm-convert\n";
    return script;
}

std::string BashCompletion::ForWizard(const std::vector<CommandOption>& options)
{
    return "# bash completion for tolm-audio-converter -*- shell-script -*-\n\n"
           "_tolm_audio_converter()\n{\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]}\n"
           "    COMPREPLY=($(compgen -W '" +
           OptionWords(options) +
           " --help --version' -- \"$cur\"))\n"
           "}\n\ncomplete -F _tolm_audio_converter tolm-audio-converter\n";
}

} // namespace Tolm::Convert
