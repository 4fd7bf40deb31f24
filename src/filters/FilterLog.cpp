#include "FilterLog.h"

#include <cstdio>

namespace Morvo::Audio::Filters {

void FilterLog::Write(const char* line)
{
    if (const Hook hook = sHook.load())
        hook(line);
    else
        std::fputs(line, stderr);
}

} // namespace Morvo::Audio::Filters
