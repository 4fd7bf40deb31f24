// tolm-convert: the converter's work without the wizard.

#include "ArgumentParser.h"
#include "Command.h"
#include "CommandHelp.h"
#include "capture/LogRouting.h"

#include <QCommandLineParser>
#include <cstdio>

namespace {

using namespace Tolm::Convert;

std::string Bytes(const QString& text)
{
    const QByteArray bytes = text.toLatin1();
    return std::string(bytes.constData(), std::size_t(bytes.size()));
}

int Usage(const std::string& problem)
{
    std::string names;
    for (const Command* command : CommandHelp::Sorted(Commands()))
        names += (names.empty() ? "" : ", ") + std::string(command->name);
    std::fprintf(stderr, "tolm-convert: %s\nCommands: %s. \"tolm-convert --help\" tells more.\n",
                 problem.c_str(), names.c_str());
    return kExitBadInput;
}

} // namespace

int main(int argc, char** argv)
{
    // The program's own options come before the command; the rest belongs to the command.
    QCommandLineParser program;
    program.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, {});
    const QCommandLineOption version(QStringLiteral("version"));
    const QCommandLineOption verbose(QStringLiteral("verbose"));
    program.addOptions({help, version, verbose});
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLatin1(argv[i]); // bytes kept, see ArgumentParser
    if (!program.parse(arguments)) {
        const QStringList unknown = program.unknownOptionNames();
        return Usage(unknown.isEmpty()
                         ? Bytes(program.errorText())
                         : "unknown option " + std::string(unknown.front().size() == 1 ? "-" : "--") +
                               Bytes(unknown.front()));
    }
    if (program.isSet(version)) {
        std::printf("%s\n", CommandHelp::Version().c_str());
        return kExitOk;
    }
    QStringList rest = program.positionalArguments();
    if (program.isSet(help) ||
        (!rest.isEmpty() && rest.front() == QLatin1String("help") && rest.size() == 1)) {
        std::printf("%s", CommandHelp::ForProgram(Commands()).c_str());
        return kExitOk;
    }
    if (rest.isEmpty())
        return Usage("which command?");
    if (rest.front() == QLatin1String("help")) // tolm-convert help COMMAND
        rest = {rest.at(1), QStringLiteral("--help")};

    const std::string name = Bytes(rest.takeFirst());
    const Command* command = FindCommand(name);
    if (!command)
        return Usage("unknown command \"" + name + "\"");
    std::vector<std::string> args;
    for (const QString& arg : rest)
        args.push_back(Bytes(arg));

    ArgumentParser options(name, args);
    if (options.Flag("help")) {
        std::printf("%s", CommandHelp::ForCommand(*command).c_str());
        return kExitOk;
    }
    if (options.Flag("version")) {
        std::printf("%s\n", CommandHelp::Version().c_str());
        return kExitOk;
    }
    const bool verboseHere = options.Flag("verbose");
    if (program.isSet(verbose) && !verboseHere)
        args.insert(args.begin(), "--verbose"); // a command that prints more with it hears it too
    // The engine's own lines are for whoever debugs it; users see them only when they ask.
    const Tolm::Capture::LogRouting logLines(
        program.isSet(verbose) || verboseHere ? nullptr : &Tolm::SystemLog::Nowhere());
    return command->run(args);
}
