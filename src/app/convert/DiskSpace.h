#pragma once

// Recording to a nearly full disk loses the rest of the side, so a command says beforehand
// how much fits.

#include <optional>
#include <string>

namespace Tolm::Convert {

// Minutes of 32-bit float audio that still fit into `folder`; nullopt when it cannot be told.
std::optional<double> MinutesThatFit(const std::string& folder, double sampleRate, unsigned channels);

// A line on standard error when less than a long album side (45 minutes) fits.
void WarnIfShortOfSpace(const std::string& folder, double sampleRate, unsigned channels);

} // namespace Tolm::Convert
