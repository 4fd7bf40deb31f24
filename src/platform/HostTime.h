#pragma once

#include "platform/CoreAudioTypes.h"

#include <time.h>

// The host clock: CLOCK_MONOTONIC in nanoseconds, so host ticks are nanoseconds.
inline UInt64 AudioGetCurrentHostTime()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return UInt64(ts.tv_sec) * 1'000'000'000u + UInt64(ts.tv_nsec);
}

inline UInt64 AudioConvertHostTimeToNanos(UInt64 hostTime) { return hostTime; }
inline UInt64 AudioConvertNanosToHostTime(UInt64 nanos) { return nanos; }
