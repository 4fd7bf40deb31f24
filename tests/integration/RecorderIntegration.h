#pragma once

// Shared pieces of the recorder's tests against a real PulseAudio daemon.

#include "SoundFile.h"
#include "WaitUntil.h"
#include "platform/AudioHardware.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace RecorderIntegration {

constexpr unsigned kRate = 48000;
constexpr UInt32 kRingFrames = 32768;

using Tolm::Test::WaitUntil;
using WavFile = Tolm::Test::SoundFile;

inline WavFile ReadWav(const std::string& path) { return Tolm::Test::ReadSoundFile(path); }

// Different in every frame and channel, never near 0 (silence cannot be mistaken for it)
// and well inside ±1.
inline float Signal(std::uint64_t frame, unsigned channel)
{
    std::uint64_t x = frame * 2 + channel + 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    x ^= x >> 31;
    const float v = float(x >> 40) / float(1u << 24) * 1.6f - 0.8f; // [-0.8, 0.8)
    return v + (v < 0.0f ? -0.05f : 0.05f);
}

inline std::optional<AudioDeviceID> FindDevice(const std::string& name, bool input)
{
    std::optional<AudioDeviceID> found;
    WaitUntil(
        [&] {
            for (const auto& d : Tolm::Platform::Hardware().Devices()) {
                if (d.name == name && (input ? d.inputChannels : d.outputChannels) > 0)
                    found = d.id;
            }
            return found.has_value();
        },
        std::chrono::seconds(10));
    return found;
}

// The frame where the signal's first frame appears in the recording, if it does.
inline std::optional<std::size_t> FindSignalStart(const std::vector<float>& stereo)
{
    const float first[2] = {Signal(0, 0), Signal(0, 1)};
    for (std::size_t i = 0; i + 1 < stereo.size(); i += 2) {
        if (stereo[i] == first[0] && stereo[i + 1] == first[1])
            return i / 2;
    }
    return std::nullopt;
}

// How many frames from `start` on equal the signal, frame by frame, until the first that
// does not (or `limit`).
inline std::size_t MatchingFrames(const std::vector<float>& stereo, std::size_t start, std::size_t limit)
{
    std::size_t n = 0;
    for (std::size_t f = start; f * 2 + 1 < stereo.size() && n < limit; ++f, ++n) {
        if (stereo[f * 2] != Signal(n, 0) || stereo[f * 2 + 1] != Signal(n, 1))
            break;
    }
    return n;
}

} // namespace RecorderIntegration
