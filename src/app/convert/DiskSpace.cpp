#include "DiskSpace.h"

#include <cstdio>
#include <sys/statvfs.h>

namespace Tolm::Convert {

namespace {
constexpr double kLongSideMinutes = 45.0;
}

std::optional<double> MinutesThatFit(const std::string& folder, double sampleRate, unsigned channels)
{
    struct statvfs fs {};
    if (sampleRate <= 0.0 || channels == 0 || statvfs(folder.c_str(), &fs) != 0)
        return std::nullopt;
    const double bytes = double(fs.f_bavail) * double(fs.f_frsize);
    return bytes / (sampleRate * channels * sizeof(float) * 60.0);
}

void WarnIfShortOfSpace(const std::string& folder, double sampleRate, unsigned channels)
{
    const auto minutes = MinutesThatFit(folder, sampleRate, channels);
    if (minutes && *minutes < kLongSideMinutes)
        std::fprintf(stderr, "Warning: %s has room for only %.1f minutes of recording; free some space first.\n",
                     folder.c_str(), *minutes);
}

} // namespace Tolm::Convert
