#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace Morvo::Audio::Filters {

// Finds the gaps between tracks in a live stereo stream. Each block is mixed to 16-bit mono,
// band-passed around 500 Hz in Q13 fixed point and measured per half-second frame; a small
// state machine on the frame levels reports silence starting and ending and, once, the end
// of an album side. FindTracks turns the collected frame levels into a track list offline.
class GapDetector {
public:
    // Called on the audio thread, inside the block: must be quick and must not block.
    class Listener {
    public:
        virtual ~Listener();
        virtual void TrackSilenceStarted() = 0;
        virtual void TrackSilenceEnded() = 0;
        virtual void AlbumEnded() = 0;
    };

    // A bool that tells the listener (and standard error) when it changes.
    class SilenceState {
    public:
        SilenceState(Listener& l, bool v) noexcept : listener(l), value(v) {}
        SilenceState& operator=(bool v);
        operator bool() const noexcept { return value.load(std::memory_order_relaxed); }

        Listener& listener;
        std::atomic<bool> value;  // Reset writes it from the main thread
    };

    // A bool that tells the listener when it becomes true. Silent otherwise.
    class AlbumEnd {
    public:
        AlbumEnd(Listener& l, bool v) noexcept : listener(l), value(v) {}
        AlbumEnd& operator=(bool v);
        operator bool() const noexcept { return value.load(std::memory_order_relaxed); }

        Listener& listener;
        std::atomic<bool> value;
    };

    // Q13 fixed-point section: y = (q0 x + q1 x1 + q2 x2 - q3 y1 - q4 y2) >> 13, wrapping.
    struct FilterParams {
        std::int32_t q0 = 0, q1 = 0, q2 = 0, q3 = 0, q4 = 0;
        std::int32_t x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        std::int32_t reserved[4] = {};
        float frequency = -1.0f;  // -1: nothing designed yet
    };

    struct ZoneItem {
        std::int32_t type;  // 0 sound, 1 silence
        float start;
        float duration;
        float previousDuration;  // 9999999 for the first zone
    };

    struct TrackItem {
        float start;
        float duration;
        std::int32_t startSample;
        std::int32_t lengthSamples;
    };

    enum ZoneType : std::int32_t { Sound = 0, Silence = 1 };

    // The rate argument is ignored on purpose: the detector always starts at 44100 Hz and
    // gets the real rate through SetSampleRate.
    GapDetector(Listener& listener, unsigned int sampleRate);
    ~GapDetector();
    GapDetector(const GapDetector&) = delete;
    GapDetector& operator=(const GapDetector&) = delete;

    // Not while blocks are being analysed: it replaces the frame buffer. A rate of 0 is
    // never allowed (call Reset instead). No-op when the rate does not change.
    void SetSampleRate(unsigned int hz);

    // Back into silence without telling anyone; counters, levels and filter memory stay.
    void Reset() noexcept;

    // Audio thread. True if the last frame completed in this block ended after more than
    // 60 s of counted quiet.
    bool operator()(const float* left, const float* right, unsigned long count);

    static void SetFilter_BP(FilterParams* p, float centreHz, short halfBandwidthHz, double sampleRate);
    static void SetFilter_LP(FilterParams* p, double cutoffHz, double resonance, double sampleRate);

    short ApplyFilter(long x);
    float CalcAAMFrame();
    bool ProcessFrameBuffer();

    // Offline: appends the tracks found in `levels` to `tracks` and empties `levels`.
    void FindTracks(std::vector<TrackItem>& tracks);
    static void CleanupZones(std::vector<ZoneItem>& zones, float totalSeconds);
    static void CalculateDurations(std::vector<ZoneItem>& zones, float totalSeconds);
    static void ReduceZones(std::vector<ZoneItem>& zones);

    SilenceState silence;
    AlbumEnd albumEnd;
    std::int32_t frameLength = 0;
    std::unique_ptr<std::int16_t[]> frame;
    FilterParams filterParams;
    std::int32_t framePosition = 0;
    float sampleRate = 0.0f;
    std::int32_t frameSum = 0;
    float maxLevel = 0.0f;
    float minLevel = 9999999.0f;
    std::vector<float> levels;
    float silenceSeconds = 0.0f;
    float soundSeconds = 0.0f;
    bool flag = false;  // kept for layout; unused
};

} // namespace Morvo::Audio::Filters
