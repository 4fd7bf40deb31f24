#include "GapDetector.h"

#include "FilterLog.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace Morvo::Audio::Filters {

namespace {

// Float to int32 by truncation, with the hardware's answer (INT32_MIN) for NaN and values
// out of range instead of undefined behaviour.
inline std::int32_t Truncate(float v)
{
#if defined(__SSE__)
    return _mm_cvtt_ss2si(_mm_set_ss(v));
#else
    if (!(v > -2147483648.0f && v < 2147483648.0f))
        return INT32_MIN;
    return static_cast<std::int32_t>(v);
#endif
}

// Full scale to 16 bits; beyond +-1.0 the value wraps rather than clips.
inline std::int32_t To16Bit(float sample)
{
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(Truncate(sample * 32767.0f)));
}

// Q13 arithmetic wraps in 32 bits; unsigned keeps that defined.
inline std::uint32_t U(std::int32_t v) { return static_cast<std::uint32_t>(v); }

} // namespace

GapDetector::Listener::~Listener() = default;

GapDetector::SilenceState& GapDetector::SilenceState::operator=(bool v)
{
    if (value.load(std::memory_order_relaxed) == v)
        return *this;
    value.store(v, std::memory_order_relaxed);
    FilterLog::Write(v ? "Audio has transitioned into silence\n" : "Audio has transitioned out of silence\n");
    if (v)
        listener.TrackSilenceStarted();
    else
        listener.TrackSilenceEnded();
    return *this;
}

GapDetector::AlbumEnd& GapDetector::AlbumEnd::operator=(bool v)
{
    if (value.load(std::memory_order_relaxed) == v)
        return *this;
    value.store(v, std::memory_order_relaxed);
    if (v)
        listener.AlbumEnded();
    return *this;
}

GapDetector::GapDetector(Listener& listener, unsigned int /*sampleRate*/)
    : silence(listener, false), albumEnd(listener, false)
{
    SetSampleRate(44100);
}

GapDetector::~GapDetector() = default;

void GapDetector::SetSampleRate(unsigned int hz)
{
    const float r = static_cast<float>(hz);
    if (r == sampleRate)
        return;
    const auto length = static_cast<std::int32_t>(std::lround(r * 0.5));
    auto newFrame = std::make_unique<std::int16_t[]>(static_cast<std::size_t>(std::max(length, 0)));

    sampleRate = r;
    frameLength = length;
    frame = std::move(newFrame);
    framePosition = 0;
    frameSum = 0;
    maxLevel = 0.0f;
    minLevel = 9999999.0f;
    filterParams = FilterParams{};
    SetFilter_BP(&filterParams, 500.0f, 75, r);
    silenceSeconds = 0.0f;
    soundSeconds = 0.0f;
    silence.value.store(true, std::memory_order_relaxed);
    albumEnd.value.store(false, std::memory_order_relaxed);
}

void GapDetector::Reset() noexcept
{
    silence.value.store(true, std::memory_order_relaxed);
    albumEnd.value.store(false, std::memory_order_relaxed);
}

void GapDetector::SetFilter_BP(FilterParams* p, float centreHz, short halfBandwidthHz, double rate)
{
    p->frequency = centreHz;
    const auto bandwidth = static_cast<short>(2 * halfBandwidthHz);  // 16-bit, as the caller's type
    const double K = 1.0 / std::tan(std::numbers::pi * bandwidth / rate);
    const double D = 2.0 * std::cos(2.0 * std::numbers::pi * centreHz / rate);
    const double a = 1.0 / (K + 1.0);
    // Peak gain 2 (+6 dB): the factor 2 in q0 is intended.
    p->q0 = static_cast<std::int32_t>(a * 8192 * 2);
    p->q1 = 0;
    p->q2 = -p->q0;
    p->q3 = static_cast<std::int32_t>(D * (-K) * a * 8192);
    p->q4 = static_cast<std::int32_t>((K - 1.0) * a * 8192);
}

void GapDetector::SetFilter_LP(FilterParams* p, double cutoffHz, double resonance, double rate)
{
    if (static_cast<double>(p->frequency) == cutoffHz)
        return;
    p->frequency = static_cast<float>(cutoffHz);
    const double K = 1.0 / std::tan(std::numbers::pi * cutoffHz / rate);
    const double r = std::numbers::sqrt2 / ((300.0 - resonance) * 0.032 + 1.0);
    const double a = 1.0 / (r * K + 1.0 + K * K);
    p->q0 = static_cast<std::int32_t>(a * 8192);
    p->q1 = static_cast<std::int32_t>(U(p->q0) * 2u);
    p->q2 = p->q0;
    p->q3 = static_cast<std::int32_t>(2.0 * (1.0 - K * K) * a * 8192);
    p->q4 = static_cast<std::int32_t>((1.0 - r * K + K * K) * a * 8192);
}

short GapDetector::ApplyFilter(long x)
{
    FilterParams& p = filterParams;
    const auto xi = static_cast<std::int32_t>(x);
    const std::uint32_t acc =
        U(p.q1) * U(p.x1) + U(p.q0) * U(xi) + U(p.q2) * U(p.x2) - U(p.q3) * U(p.y1) - U(p.q4) * U(p.y2);
    const std::int32_t y = static_cast<std::int32_t>(acc) >> 13;
    p.x2 = p.x1;
    p.x1 = xi;
    p.y2 = p.y1;
    p.y1 = y;
    frameSum = static_cast<std::int32_t>(U(frameSum) + U(y));
    return static_cast<short>(y);
}

bool GapDetector::operator()(const float* left, const float* right, unsigned long count)
{
    bool result = false;
    if (frameLength <= 0)  // a rate of 0 slipped through: there is no frame to write into
        return result;
    FilterParams& p = filterParams;
    // Hot loop with the state in locals; the same arithmetic as ApplyFilter.
    const std::uint32_t q0 = U(p.q0), q1 = U(p.q1), q2 = U(p.q2), q3 = U(p.q3), q4 = U(p.q4);
    std::uint32_t x1 = U(p.x1), x2 = U(p.x2);
    std::int32_t y1 = p.y1, y2 = p.y2;
    std::uint32_t sum = U(frameSum);
    std::int32_t position = framePosition;
    std::int16_t* const out = frame.get();

    unsigned long i = 0;
    while (i < count) {
        const unsigned long room =
            position < frameLength ? static_cast<unsigned long>(frameLength - position) : 1;
        const unsigned long end = i + std::min(room, count - i);
        for (; i < end; ++i) {
            const std::uint32_t m = U((To16Bit(right[i]) + To16Bit(left[i])) >> 1);
            // Everything but the y1 term first: it is the only one on the recursion's path.
            const std::uint32_t partial = q1 * x1 + q0 * m + q2 * x2 - q4 * U(y2);
            const std::int32_t y = static_cast<std::int32_t>(partial - q3 * U(y1)) >> 13;
            x2 = x1;
            x1 = m;
            y2 = y1;
            y1 = y;
            sum += U(y);
            out[position++] = static_cast<std::int16_t>(y);
        }
        if (position >= frameLength) {
            frameSum = static_cast<std::int32_t>(sum);
            result = ProcessFrameBuffer();
            position = 0;
            sum = 0;
        }
    }

    p.x1 = static_cast<std::int32_t>(x1);
    p.x2 = static_cast<std::int32_t>(x2);
    p.y1 = y1;
    p.y2 = y2;
    frameSum = static_cast<std::int32_t>(sum);
    framePosition = position;
    return result;
}

float GapDetector::CalcAAMFrame()
{
    const std::int32_t n = frameLength;
    float sum = 0.0f;
    if (n > 0) {
        const float mean = static_cast<float>(frameSum) / static_cast<float>(n);
        for (std::int32_t i = 0; i < n; ++i)
            sum += std::fabs(static_cast<float>(frame[i]) - mean);
    }
    return sum / static_cast<float>(n);
}

bool GapDetector::ProcessFrameBuffer()
{
    const float level = CalcAAMFrame();
    if (level > maxLevel)
        maxLevel = level;
    if (minLevel > level)
        minLevel = level;
    levels.push_back(level);

    // Until one frame has reached 500, every frame counts as quiet.
    const double threshold = maxLevel < 500.0f ? maxLevel + 1.0 : 100.0;
    if (threshold > level) {
        silenceSeconds += 0.5f;
        soundSeconds = 0.0f;
        if (silenceSeconds > 1.5f)
            silence = true;
        if (silenceSeconds > 60.0f) {
            if (!albumEnd)
                albumEnd = true;
            return true;
        }
        return false;
    }
    soundSeconds += 0.5f;
    if (soundSeconds > 10.0f) {
        silence = false;
        // Only leaving silence clears the quiet count, so scattered quiet frames add up.
        silenceSeconds = 0.0f;
    }
    return false;
}

void GapDetector::FindTracks(std::vector<TrackItem>& tracks)
{
    const std::size_t n = levels.size();
    if (n == 0)
        return;
    const float totalSeconds = static_cast<float>(n) * 0.5f;

    float threshold = 50.0f;
    if (minLevel > 15.0f && maxLevel / minLevel > 40.0f)
        threshold = minLevel * 4.0f;

    std::vector<ZoneItem> zones;
    zones.push_back({Silence, 0.0f, 0.0f, 9999999.0f});
    const auto open = [&zones](ZoneType type, float t) {
        ZoneItem& last = zones.back();
        last.duration = t - last.start;
        zones.push_back({type, t, 0.0f, last.duration});
    };
    bool inSound = false;
    float t = 0.0f;
    for (const float level : levels) {
        if (!inSound && level > threshold) {
            open(Sound, t);
            inSound = true;
        } else if (inSound && level <= threshold) {
            open(Silence, t);
            inSound = false;
        }
        t += 0.5f;
    }
    zones.back().duration = t - zones.back().start;
    levels.clear();

    const auto isLongSound = [](const ZoneItem& z) { return z.type == Sound && z.duration > 45.0f; };
    // Lead-in: everything before the first long passage of sound is silence.
    if (auto first = std::find_if(zones.begin(), zones.end(), isLongSound); first != zones.end()) {
        for (auto z = zones.begin() + 1; z < first; ++z)
            z->type = Silence;
    }
    CleanupZones(zones, totalSeconds);
    // Run-out: likewise after the last one.
    if (auto last = std::find_if(zones.rbegin(), zones.rend(), isLongSound); last != zones.rend()) {
        for (auto z = last.base(); z != zones.end(); ++z)
            z->type = Silence;
    }
    CleanupZones(zones, totalSeconds);
    std::erase_if(zones, [](const ZoneItem& z) { return z.type == Silence && z.duration < 1.5f; });
    CleanupZones(zones, totalSeconds);
    std::erase_if(zones, [](const ZoneItem& z) { return z.type == Sound && z.duration < 10.0f; });
    CleanupZones(zones, totalSeconds);

    if (zones.empty())
        return;
    if (zones.front().start != 0.0f && zones.front().type == Silence)
        zones.front().start = 0.0f;
    CleanupZones(zones, totalSeconds);

    float trackStart = 0.0f;
    std::int32_t trackStartSample = 0;
    bool trackOpen = true;
    const auto emit = [&](float end) {
        const float duration = end - trackStart;
        tracks.push_back({trackStart, duration, trackStartSample, static_cast<std::int32_t>(duration * sampleRate)});
    };
    for (std::size_t i = 1; i < zones.size(); ++i) {
        const ZoneItem& previous = zones[i - 1];
        const ZoneItem& current = zones[i];
        if (previous.type == Sound && current.type == Silence) {
            if (i + 1 < zones.size()) {
                // Split in the middle of the gap.
                const float split = current.start + current.duration / 2.0f;
                emit(split);
                trackStart = split;
                trackStartSample = static_cast<std::int32_t>(split * sampleRate);
            } else {
                // The run-out keeps at most 5 s of silence.
                emit(current.start + std::min(5.0f, current.duration));
            }
            trackOpen = false;
        } else if (previous.type == Silence && current.type == Sound) {
            trackOpen = true;
        }
    }
    if (trackOpen)
        emit(totalSeconds);
}

void GapDetector::CleanupZones(std::vector<ZoneItem>& zones, float totalSeconds)
{
    CalculateDurations(zones, totalSeconds);
    ReduceZones(zones);
    CalculateDurations(zones, totalSeconds);
}

void GapDetector::CalculateDurations(std::vector<ZoneItem>& zones, float totalSeconds)
{
    if (zones.empty())
        return;
    zones.front().previousDuration = 9999999.0f;
    for (std::size_t i = 0; i + 1 < zones.size(); ++i) {
        zones[i].duration = zones[i + 1].start - zones[i].start;
        zones[i + 1].previousDuration = zones[i].duration;
    }
    zones.back().duration = totalSeconds - zones.back().start;
}

void GapDetector::ReduceZones(std::vector<ZoneItem>& zones)
{
    if (zones.empty())
        return;
    std::size_t kept = 0;
    for (std::size_t i = 1; i < zones.size(); ++i) {
        if (zones[i].type != zones[kept].type)
            zones[++kept] = zones[i];
    }
    zones.resize(kept + 1);
}

} // namespace Morvo::Audio::Filters
