// Writes the manual pages and the bash completion scripts of both programs into a folder, at
// build time, from the option tables their --help is made of.

#include "BashCompletion.h"
#include "Command.h"
#include "ManualPage.h"
#include "app/wizard/WizardOptions.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace {

bool WriteFile(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        std::fprintf(stderr, "tolm-manuals: cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    using namespace Tolm::Convert;
    if (argc != 2) {
        std::fprintf(stderr, "Usage: tolm-manuals FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    const auto& wizard = Tolm::Wizard::WizardOptions();
    const bool written = WriteFile(folder + "/tolm-convert.1", ManualPage::ForConverter(Commands())) &&
                         WriteFile(folder + "/tolm-audio-converter.1",
                                   ManualPage::ForWizard(wizard, Tolm::Wizard::WizardDescription())) &&
                         WriteFile(folder + "/tolm-convert.bash", BashCompletion::ForConverter(Commands())) &&
                         WriteFile(folder + "/tolm-audio-converter.bash", BashCompletion::ForWizard(wizard));
    return written ? 0 : 1;
}
