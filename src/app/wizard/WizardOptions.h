#pragma once

// The wizard's command-line options and description: its --help and its manual page.

#include "app/convert/CommandOption.h"

#include <vector>

namespace Tolm::Wizard {

const std::vector<Convert::CommandOption>& WizardOptions(); // without --help and --version
const char* WizardDescription();

} // namespace Tolm::Wizard
