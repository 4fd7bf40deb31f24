#pragma once

#include "BiQuad.h"

#include <atomic>
#include <cstdint>
#include <optional>

namespace Morvo::Audio::Filters {

// The stereo input equaliser: up to two sections per channel, chosen as a whole by Set.
//
// Set runs on the main thread while the audio thread may be inside operator(). Set builds
// the new sections in a spare slot and publishes it with one atomic store; the audio thread
// adopts it at the start of its next block. Slots are preallocated, so neither side
// allocates, frees or locks, and a slot is reused only once the audio thread has moved off
// it. The audio thread therefore sees the old sections, then the new ones from silence.
//
// All-zero storage is a valid NoFilter equaliser, so a process-wide instance works before
// main and needs no destructor.
class AudioFilter {
public:
    enum Type {
        NoFilter = 0,
        RIAAFilter = 1,      // full RIAA playback curve, two sections
        ChromeFilter = 2,    // treble cut for type II tape, one section
        RIAABassFilter = 3,  // only the bass boost of RIAA, one section
    };

    constexpr AudioFilter() noexcept = default;
    AudioFilter(const AudioFilter&) = delete;
    AudioFilter& operator=(const AudioFilter&) = delete;

    // Main thread only. Every call starts from silence, also for the same type; a type
    // outside 0..3 leaves the equaliser empty.
    void Set(Type type) noexcept;

    // Audio thread only. Filters both channels in place.
    void operator()(float* left, float* right, unsigned long count) noexcept;

    // The sections the audio thread will use for its next block (null when not needed).
    struct Sections {
        std::optional<BiQuad> leftStage1;
        std::optional<BiQuad> leftStage2;
        std::optional<BiQuad> rightStage1;
        std::optional<BiQuad> rightStage2;
    };

private:
    static constexpr unsigned kSlots = 3;  // in use by audio, published, being built

    // Bits 0-7: slot the audio thread uses. Bits 8-15: published slot + 1, 0 if none.
    static constexpr std::uint32_t kPendingShift = 8;

    Sections& Adopt() noexcept;

    Sections mSlots[kSlots]{};
    std::atomic<std::uint32_t> mState{0};
};

} // namespace Morvo::Audio::Filters
