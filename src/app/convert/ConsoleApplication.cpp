#include "ConsoleApplication.h"

#include "CommandLine.h"
#include "capture/Localization.h"

namespace Tolm::Convert {

ConsoleApplication::ConsoleApplication() : mApp(mArgc, mArgv)
{
    InstallTranslations();
    InstallStopRequestHandler();
}

} // namespace Tolm::Convert
