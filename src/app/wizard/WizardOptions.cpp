#include "WizardOptions.h"

namespace Tolm::Wizard {

const std::vector<Convert::CommandOption>& WizardOptions()
{
    static const std::vector<Convert::CommandOption> options = {
        {"demo", nullptr,
         "Record from a built-in demo turntable instead of a USB device: it plays a generated record side "
         "(six pieces, then the run-out groove)."},
        {"verbose", nullptr,
         "Print the program's own log lines on standard error as well as into its log file."},
    };
    return options;
}

// Broken into lines for --help, which does not wrap it; the manual page joins them again.
const char* WizardDescription()
{
    return "Turns records and tapes played on a USB turntable or cassette deck into named,\n"
           "tagged tracks in your music library. The wizard leads you through it: connect\n"
           "the device, say whether it is a turntable or a tape deck (normal or chrome\n"
           "tape), set the level while listening, record (tracks are split at the silent\n"
           "gaps between them and the recording ends by itself at the end of an album side,\n"
           "or you split by hand), name artist, album and tracks, and the tracks land in\n"
           "your music library, tagged and converted to your format.";
}

} // namespace Tolm::Wizard
