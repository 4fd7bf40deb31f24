#pragma once

// The input gain both input callbacks apply (the recorder's and the play-through engine's).
// Header only, so that monitoring can use it without depending on capture.

#include "platform/CoreAudioTypes.h"

#include <cmath>

namespace Tolm::Platform {

// 10^(dB/20) in single precision, as the gain is stored.
inline float GainFactorFromDecibels(float dB)
{
    return std::pow(10.0f, dB / 20.0f);
}

// Every sample s of every buffer becomes min(1, s * factor). Only the positive side is
// clamped; negative samples are scaled without limit. The asymmetry is deliberate and both
// paths must keep it, so what is heard and what is written match. A factor of exactly 1.0
// leaves the block untouched (a NaN factor does not count as 1.0).
inline void ApplyInputGain(AudioBufferList& list, float factor)
{
    if (factor == 1.0f)
        return;
    for (UInt32 b = 0; b < list.mNumberBuffers; ++b) {
        AudioBuffer& buffer = list.mBuffers[b];
        auto* samples = static_cast<float*>(buffer.mData);
        if (samples == nullptr)
            continue;
        const UInt32 count = buffer.mDataByteSize / 4;
        for (UInt32 i = 0; i < count; ++i) {
            const float v = samples[i] * factor;
            samples[i] = v < 1.0f ? v : 1.0f;
        }
    }
}

} // namespace Tolm::Platform
