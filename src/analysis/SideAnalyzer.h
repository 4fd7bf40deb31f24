#pragma once

// Finds the tracks of a recorded side, and where its music ends.
//
// Feeding is cheap: each block is mixed to mono and decimated to about 8 kHz by summing, then
// split by three one-pole low-passes into a bass (80-300 Hz), a middle (300 Hz-1 kHz) and a
// high band (1 kHz up); every 50 ms hop keeps one energy per band (12 bytes, under 1 MB an
// hour). Everything else works on that feature track, so analyze() can be called again and
// again (with other hints) without touching the audio.
//
// analyze() measures each band against the side itself: its noise floor (the quietest hops:
// surface noise, hiss, hum) and its music level. Clicks and run-out ticks are taken out by a
// short median. Music is present where a band rises clearly above its floor; noise-like sound
// (applause, hiss) is recognised by its tilt towards the high band and does not count as
// music. Every stretch without music is a candidate boundary, rated above all by its time at
// the noise floor (rests inside a piece rarely last 1.5 s, gaps between tracks rarely less;
// a side whose longest gaps are short lowers that bar), then by how much of it lies at the
// floor, how loud the music is on both sides and how much the sound changes across it.
// Tracks are at least 15 s long. A track ends where its sound reaches the floor (so a fade-out
// ends late, not early) and starts where the next music rises from it; lead-in and run-out are
// left out. A track count takes the likeliest boundaries; sleeve lengths, stretched over the
// music, take the likeliest boundary near each expected one; where quiet places run out, the
// longest tracks are cut at their quietest second.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tolm::Analysis {

struct SideHints {
    int trackCount = 0;                // 0: not known
    std::vector<double> trackSeconds;  // lengths from a sleeve, in order; empty: not known
};

struct FoundTrack {
    std::int64_t startSample = 0;
    std::int64_t endSample = 0;  // exclusive
};

struct SideTracks {
    std::vector<FoundTrack> tracks;          // the audible music of each track
    std::vector<double> boundaryConfidence;  // one per boundary between tracks i and i+1, 0..1
    std::int64_t sideEndSample = 0;          // where the music of the side ends (run-out starts)
    bool sideEndFound = false;               // false when the music runs to the end of the file
};

class SideAnalyzer {
public:
    // Throws std::invalid_argument for a rate below 1 kHz or not finite.
    explicit SideAnalyzer(double sampleRate);

    // Stereo, non-interleaved, after the chosen equaliser; any block size.
    void process(const float* left, const float* right, std::size_t frames);
    std::int64_t frames() const { return mFrames; }

    SideTracks analyze(const SideHints& hints = {}) const;

    // The feature track's resolution.
    std::int64_t hopFrames() const { return std::int64_t(mDecimation) * mHopLength; }
    double sampleRate() const { return mRate; }

private:
    struct Hop {
        float bass, mid, high;  // energy in dB
    };

    void decimated(float x);

    double mRate;
    int mDecimation;
    int mHopLength;  // in decimated samples
    float mScale;
    float mCoef[3];

    std::int64_t mFrames = 0;
    int mPhase = 0;
    float mSum = 0.0f;
    float mLow[3] = {};
    int mHopPhase = 0;
    float mEnergy[3] = {};
    std::vector<Hop> mHops;
};

} // namespace Tolm::Analysis
