#pragma once

#include "BiQuad.h"

#include <atomic>
#include <cstdint>
#include <optional>

namespace Morvo::Audio::Filters {

// The stereo input equaliser: up to two sections per channel, chosen as a whole by Set.
//
// Set runs on the main thread while the audio thread may be inside operator(). Set builds
// the new sections in the slot the audio thread is not using and publishes it through one
// atomic word; the audio thread takes it over with a single exchange at the start of its next
// block. Slots are preallocated, so neither side allocates, frees or locks, the audio side
// never waits or retries, and a slot is rebuilt only when the audio thread has provably left
// it (or never took it). The audio thread sees the old sections, then the new ones from
// silence.
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

    // One slot: the four sections, empty where the type needs none.
    struct Sections {
        std::optional<BiQuad> leftStage1;
        std::optional<BiQuad> leftStage2;
        std::optional<BiQuad> rightStage1;
        std::optional<BiQuad> rightStage2;
    };

private:
    Sections mSlots[2]{};
    std::atomic<std::uint32_t> mPending{0};  // published slot + 1; 0 once taken or never published
    std::uint32_t mAudioSlot = 0;            // audio thread only: the slot it filters with
    std::uint32_t mSetSlot = 0;              // main thread only: the slot the audio thread may be using
    std::uint32_t mPublishedSlot = 0;        // main thread only: the slot last published
    bool mPublished = false;                 // main thread only: a publication may be outstanding
};

} // namespace Morvo::Audio::Filters
