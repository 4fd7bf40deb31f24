#include "ImportOptions.h"

#include "CommandLine.h"

namespace Tolm::Convert {

std::optional<Library::ConsoleImport> TakeImportOptions(const std::string& command, std::vector<std::string>& args)
{
    std::string error;
    auto import = Library::ConsoleImport::Take(args, error);
    if (!import)
        ArgumentParser(command, {}).Error(error);
    return import;
}

} // namespace Tolm::Convert
