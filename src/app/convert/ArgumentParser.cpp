#include "ArgumentParser.h"

#include "Command.h"
#include "base/TolmAssert.h"

#include <QStringList>
#include <cstdio>

namespace Tolm::Convert {

namespace {

// Latin-1 maps bytes to characters one to one: file names that are not UTF-8 come back
// byte for byte.
QString Text(const std::string& bytes)
{
    return QString::fromLatin1(bytes.data(), qsizetype(bytes.size()));
}

std::string Bytes(const QString& text)
{
    const QByteArray bytes = text.toLatin1();
    return std::string(bytes.constData(), std::size_t(bytes.size()));
}

std::vector<CommandOption> OptionsOf(const std::string& command)
{
    const Command* registered = FindCommand(command);
    return registered ? registered->options : std::vector<CommandOption>{};
}

} // namespace

ArgumentParser::ArgumentParser(std::string command, std::vector<std::string> args)
    : ArgumentParser(command, OptionsOf(command), std::move(args))
{
}

ArgumentParser::ArgumentParser(std::string command, std::vector<CommandOption> options,
                               std::vector<std::string> args)
    : mCommand(std::move(command)), mOptions(std::move(options))
{
    mOptions.insert(mOptions.end(), CommonOptions().begin(), CommonOptions().end());
    for (const CommandOption& option : mOptions) {
        QStringList names{QString::fromLatin1(option.name)};
        if (names.front() == QLatin1String("help"))
            names.prepend(QStringLiteral("h"));
        mParser.addOption(
            QCommandLineOption(names, QString::fromUtf8(option.description),
                               option.takesValue() ? QString::fromLatin1(option.valueName) : QString()));
    }
    QStringList list{QStringLiteral("tolm-convert")}; // the parser skips the program's name
    for (const std::string& arg : args)
        list << Text(arg);
    if (!mParser.parse(list))
        mProblem = Problem(args);
}

// QCommandLineParser's own texts are not ours; say it the way the rest of the program does.
std::string ArgumentParser::Problem(const std::vector<std::string>& args) const
{
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--")
            break;
        if (arg.size() < 2 || arg[0] != '-')
            continue;
        if (arg == "-h")
            continue;
        const std::string help = " (tolm-convert " + mCommand + " --help lists the options)";
        if (arg[1] != '-')
            return "unknown option " + arg + help;
        const std::size_t equals = arg.find('=');
        const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
        const CommandOption* option = Find(name);
        if (!option)
            return "unknown option --" + name + help;
        if (!option->takesValue() && equals != std::string::npos)
            return "--" + name + " takes no value";
        if (option->takesValue() && equals == std::string::npos && ++i == args.size())
            return "--" + name + " needs a value";
    }
    return Bytes(mParser.errorText());
}

const CommandOption* ArgumentParser::Find(const std::string& name) const
{
    for (const CommandOption& option : mOptions)
        if (name == option.name)
            return &option;
    return nullptr;
}

QString ArgumentParser::Declared(const std::string& name) const
{
    if (!Find(name))
        std::fprintf(stderr, "tolm-convert %s: --%s is missing from the command's option table\n",
                     mCommand.c_str(), name.c_str());
    TOLM_ASSERT(Find(name) != nullptr);
    return QString::fromLatin1(name.data(), qsizetype(name.size()));
}

bool ArgumentParser::Declares(const std::string& name) const { return Find(name) != nullptr; }

bool ArgumentParser::Flag(const std::string& name)
{
    return mParser.isSet(Declared(name));
}

std::vector<std::string> ArgumentParser::Values(const std::string& name)
{
    std::vector<std::string> values;
    for (const QString& value : mParser.values(Declared(name)))
        values.push_back(Bytes(value));
    return values;
}

std::optional<std::string> ArgumentParser::Value(const std::string& name)
{
    auto values = Values(name);
    if (values.empty())
        return std::nullopt;
    return values.back();
}

std::optional<std::vector<std::string>> ArgumentParser::Positionals()
{
    if (!mProblem.empty()) {
        Error(mProblem);
        return std::nullopt;
    }
    std::vector<std::string> positionals;
    for (const QString& arg : mParser.positionalArguments())
        positionals.push_back(Bytes(arg));
    return positionals;
}

void ArgumentParser::Error(const std::string& message) const
{
    std::fprintf(stderr, "tolm-convert %s: %s\n", mCommand.c_str(), message.c_str());
}

} // namespace Tolm::Convert
