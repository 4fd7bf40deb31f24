#include "SideAnalyzer.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>
#include <stdexcept>

namespace Tolm::Analysis {

namespace {

constexpr double kHopSeconds = 0.05;
constexpr double kDecimatedRate = 8000.0;
constexpr float kSilentDb = -140.0f;  // digital silence
// Keeps the low-pass states out of denormals in digital silence.
constexpr float kDenormalGuard = 1e-18f;

constexpr double kMinTrackSeconds = 15.0;
constexpr double kMinGapSeconds = 0.3;
constexpr double kContextSeconds = 8.0;
constexpr float kQuiet = 0.25f;   // presence below this: no music
constexpr float kFloor = 0.12f;   // presence below this: at the noise floor
constexpr float kMinSpanDb = 24.0f;
constexpr double kAccept = 0.45;  // confidence needed without a hint
constexpr double kLongGapSeconds = 3.0;  // sides with shorter gaps than this get a lower bar

float Clamp01(float v) { return std::clamp(v, 0.0f, 1.0f); }

float Percentile(std::vector<float> v, double p)
{
    if (v.empty())
        return 0.0f;
    const auto k = std::size_t(std::clamp(p, 0.0, 1.0) * double(v.size() - 1));
    std::nth_element(v.begin(), v.begin() + std::ptrdiff_t(k), v.end());
    return v[k];
}

// Median of five: a click lasts a hop or two and disappears.
std::vector<float> Median5(const std::vector<float>& v)
{
    const std::size_t n = v.size();
    std::vector<float> out(v);
    for (std::size_t i = 2; i + 2 < n; ++i) {
        float w[5] = {v[i - 2], v[i - 1], v[i], v[i + 1], v[i + 2]};
        std::nth_element(w, w + 2, w + 5);
        out[i] = w[2];
    }
    return out;
}

float Mean(const std::vector<float>& v, std::ptrdiff_t from, std::ptrdiff_t to)
{
    from = std::max<std::ptrdiff_t>(from, 0);
    to = std::min<std::ptrdiff_t>(to, std::ptrdiff_t(v.size()));
    if (to <= from)
        return 0.0f;
    return std::accumulate(v.begin() + from, v.begin() + to, 0.0f) / float(to - from);
}

// A stretch without music: a candidate boundary between tracks.
struct Candidate {
    std::ptrdiff_t from = 0, to = 0;  // hops, end exclusive
    std::ptrdiff_t end = 0;           // where the track before ends
    std::ptrdiff_t start = 0;         // where the track after starts
    double confidence = 0.0;
};

struct Features {
    std::size_t n = 0;
    double hopSeconds = 0.0;
    std::vector<float> presence;  // 0 at the noise floor, 1 for music at full level
    std::vector<float> band[3];   // each band relative to its floor, same scale

    std::ptrdiff_t hops(double seconds) const
    {
        return std::max<std::ptrdiff_t>(1, std::ptrdiff_t(std::lround(seconds / hopSeconds)));
    }
};

} // namespace

SideAnalyzer::SideAnalyzer(double sampleRate) : mRate(sampleRate)
{
    if (!std::isfinite(sampleRate) || sampleRate < 1000.0)
        throw std::invalid_argument("side analysis: invalid sample rate");
    mDecimation = std::max(1, int(std::lround(sampleRate / kDecimatedRate)));
    const double rate = sampleRate / mDecimation;
    mHopLength = std::max(1, int(std::lround(rate * kHopSeconds)));
    mScale = 0.5f / float(mDecimation);
    const double cutoffs[3] = {80.0, 300.0, 1000.0};
    for (int k = 0; k < 3; ++k)
        mCoef[k] = float(1.0 - std::exp(-2.0 * std::numbers::pi * cutoffs[k] / rate));
}

void SideAnalyzer::process(const float* left, const float* right, std::size_t frames)
{
    mFrames += std::int64_t(frames);
    std::size_t i = 0;
    const std::size_t d = std::size_t(mDecimation);
    if (mPhase != 0) {
        const std::size_t take = std::min(frames, d - std::size_t(mPhase));
        for (std::size_t k = 0; k < take; ++k)
            mSum += left[k] + right[k];
        i = take;
        mPhase += int(take);
        if (mPhase < mDecimation)
            return;
        decimated(mSum * mScale);
        mSum = 0.0f;
        mPhase = 0;
    }
    for (; i + d <= frames; i += d) {
        float s = 0.0f;
        for (std::size_t k = 0; k < d; ++k)
            s += left[i + k] + right[i + k];
        decimated(s * mScale);
    }
    for (; i < frames; ++i, ++mPhase)
        mSum += left[i] + right[i];
}

void SideAnalyzer::decimated(float x)
{
    // One NaN or Inf would stay in the low-pass states for the rest of the side.
    x = std::isfinite(x) ? x + kDenormalGuard : kDenormalGuard;
    mLow[0] += mCoef[0] * (x - mLow[0]);
    mLow[1] += mCoef[1] * (x - mLow[1]);
    mLow[2] += mCoef[2] * (x - mLow[2]);
    const float bass = mLow[1] - mLow[0];
    const float mid = mLow[2] - mLow[1];
    const float high = x - mLow[2];
    mEnergy[0] += bass * bass;
    mEnergy[1] += mid * mid;
    mEnergy[2] += high * high;
    if (++mHopPhase < mHopLength)
        return;
    const auto db = [this](float e) {
        const float mean = e / float(mHopLength);
        return mean > 1e-14f ? 10.0f * std::log10(mean) : kSilentDb;
    };
    mHops.push_back({db(mEnergy[0]), db(mEnergy[1]), db(mEnergy[2])});
    mEnergy[0] = mEnergy[1] = mEnergy[2] = 0.0f;
    mHopPhase = 0;
}

namespace {

Features Measure(const std::vector<float> (&raw)[3], double hopSeconds)
{
    Features f;
    f.n = raw[0].size();
    f.hopSeconds = hopSeconds;
    std::vector<float> level[3];
    for (int k = 0; k < 3; ++k) {
        level[k] = Median5(raw[k]);
        // A moment of digital silence (before the device delivered) says nothing about the
        // side's noise; gaps that are all digital silence do.
        std::vector<float> heard;
        heard.reserve(f.n);
        for (const float v : level[k])
            if (v > kSilentDb + 10.0f)
                heard.push_back(v);
        if ((f.n - heard.size()) * 100 >= f.n)
            heard = level[k];
        // The quietest hops are the side's own noise: surface, hiss, hum.
        const float floor = Percentile(heard, 0.003);
        const float loud = Percentile(heard, 0.9);
        const float span = std::max(loud - floor, kMinSpanDb);
        f.band[k].resize(f.n);
        for (std::size_t t = 0; t < f.n; ++t)
            f.band[k][t] = std::max(0.0f, (level[k][t] - floor) / span);
    }

    // Applause and hiss lean towards the high band more than this side's music does.
    std::vector<float> tilt(f.n);
    for (std::size_t t = 0; t < f.n; ++t)
        tilt[t] = level[2][t] - level[1][t];
    std::vector<float> musicTilt;
    for (std::size_t t = 0; t < f.n; ++t)
        if (std::max(f.band[0][t], f.band[1][t]) > 0.5f)
            musicTilt.push_back(tilt[t]);
    const float usualTilt = musicTilt.empty() ? 0.0f : Percentile(musicTilt, 0.5);

    f.presence.resize(f.n);
    for (std::size_t t = 0; t < f.n; ++t) {
        const float noiseLike = Clamp01((tilt[t] - usualTilt - 4.0f) / 6.0f);
        const float sound = std::max({f.band[0][t], f.band[1][t], 0.7f * f.band[2][t]});
        f.presence[t] = sound * (1.0f - noiseLike);
    }
    return f;
}

// Where the track before a quiet stretch ends (its sound reaches the floor) and where the
// next one starts (its sound rises from the floor).
void Place(const Features& f, Candidate& c)
{
    const auto& p = f.presence;
    std::ptrdiff_t firstFloor = -1, lastFloor = -1, lowest = c.from;
    for (std::ptrdiff_t t = c.from; t < c.to; ++t) {
        if (p[std::size_t(t)] < kFloor) {
            if (firstFloor < 0)
                firstFloor = t;
            lastFloor = t;
        }
        if (p[std::size_t(t)] < p[std::size_t(lowest)])
            lowest = t;
    }
    c.end = firstFloor >= 0 ? firstFloor : lowest;
    c.start = firstFloor >= 0 ? lastFloor + 1 : lowest + 1;
}

// How sure a quiet stretch is a boundary. Above all its time at the noise floor: rests inside
// a piece rarely last a second and a half, gaps between tracks rarely less. `gapScale` below 1
// says this side's gaps are short, so shorter stretches count.
void Rate(const Features& f, Candidate& c, double gapScale)
{
    const auto& p = f.presence;
    std::ptrdiff_t atFloor = 0;
    for (std::ptrdiff_t t = c.from; t < c.to; ++t)
        atFloor += p[std::size_t(t)] < kFloor;
    const double gap = double(c.start - c.end) * f.hopSeconds;
    const std::ptrdiff_t context = f.hops(kContextSeconds);
    const float before = Mean(p, c.from - context, c.from);
    const float after = Mean(p, c.to, c.to + context);
    float change = 0.0f;
    for (int k = 0; k < 3; ++k)
        change += std::fabs(Mean(f.band[k], c.from - context, c.from) - Mean(f.band[k], c.to, c.to + context));

    const double floorShare = double(atFloor) / double(c.to - c.from);
    const double surround = Clamp01(std::min(before, after) / 0.5f);
    const double changed = Clamp01(change / 0.6f);
    const double length = std::clamp((gap / gapScale - 1.0) / 0.8, 0.0, 1.0);
    const double soft = std::clamp(gap / gapScale / 5.0, 0.0, 1.0) * (0.5 + 0.5 * floorShare);
    c.confidence = 0.75 * length * (0.6 + 0.2 * floorShare + 0.1 * surround + 0.1 * changed) + 0.25 * soft;
}

// Picks boundaries by confidence, keeping every track at least `minHops` long.
std::vector<Candidate> Choose(std::vector<Candidate> pool, std::size_t wanted, double threshold,
                              std::ptrdiff_t musicStart, std::ptrdiff_t musicEnd, std::ptrdiff_t minHops)
{
    std::sort(pool.begin(), pool.end(), [](const Candidate& a, const Candidate& b) { return a.confidence > b.confidence; });
    std::vector<Candidate> chosen;
    for (const Candidate& c : pool) {
        if (chosen.size() >= wanted || c.confidence < threshold)
            break;
        if (c.end - musicStart < minHops || musicEnd - c.start < minHops)
            continue;
        const bool fits = std::all_of(chosen.begin(), chosen.end(), [&](const Candidate& o) {
            return o.start <= c.end ? c.end - o.start >= minHops : o.end - c.start >= minHops;
        });
        if (fits)
            chosen.push_back(c);
    }
    std::sort(chosen.begin(), chosen.end(), [](const Candidate& a, const Candidate& b) { return a.from < b.from; });
    return chosen;
}

// Where nothing quiet is left to cut at: the quietest second between two hops.
Candidate Quietest(const Features& f, std::ptrdiff_t from, std::ptrdiff_t to)
{
    const std::ptrdiff_t half = f.hops(0.5);
    Candidate best;
    float lowest = 1e30f;
    for (std::ptrdiff_t t = from; t < to; ++t) {
        const float level = Mean(f.presence, t - half, t + half);
        if (level < lowest) {
            lowest = level;
            best.from = best.end = best.start = t;
            best.to = t + 1;
        }
    }
    return best;
}

// Exactly `count` tracks: the longest are cut at their quietest point while boundaries are
// missing.
void FillUp(const Features& f, std::vector<Candidate>& chosen, std::size_t wanted, std::ptrdiff_t musicStart,
            std::ptrdiff_t musicEnd)
{
    while (chosen.size() < wanted) {
        std::ptrdiff_t from = musicStart, longestFrom = 0, longestTo = 0;
        for (std::size_t i = 0; i <= chosen.size(); ++i) {
            const std::ptrdiff_t to = i < chosen.size() ? chosen[i].end : musicEnd;
            if (to - from > longestTo - longestFrom) {
                longestFrom = from;
                longestTo = to;
            }
            if (i < chosen.size())
                from = chosen[i].start;
        }
        const std::ptrdiff_t span = longestTo - longestFrom;
        if (span < 2)
            break;
        chosen.push_back(Quietest(f, longestFrom + span / 5, longestTo - span / 5));
        std::sort(chosen.begin(), chosen.end(), [](const Candidate& a, const Candidate& b) { return a.from < b.from; });
    }
}

// Boundaries placed to fit the lengths on a sleeve: each expected boundary takes the likeliest
// quiet stretch near it, or the quietest point there.
std::vector<Candidate> FitLengths(const Features& f, const std::vector<Candidate>& pool,
                                  const std::vector<double>& seconds, std::ptrdiff_t musicStart,
                                  std::ptrdiff_t musicEnd)
{
    const double total = std::accumulate(seconds.begin(), seconds.end(), 0.0);
    // Sleeves round, and may or may not count the gaps: stretch the lengths over the music.
    const double scale = double(musicEnd - musicStart) / (total / f.hopSeconds);
    const std::ptrdiff_t window = std::max(f.hops(20.0), std::ptrdiff_t(0.05 * double(musicEnd - musicStart)));
    std::vector<Candidate> chosen;
    double sum = 0.0;
    std::ptrdiff_t earliest = musicStart + 1;
    for (std::size_t j = 0; j + 1 < seconds.size(); ++j) {
        sum += seconds[j];
        const auto expected = musicStart + std::ptrdiff_t(std::lround(sum * scale / f.hopSeconds));
        const Candidate* best = nullptr;
        double bestScore = -1e30;
        for (const Candidate& c : pool) {
            const double distance = double(std::abs(c.start - expected)) / double(window);
            if (c.end < earliest || distance > 1.0)
                continue;
            const double score = c.confidence - distance;
            if (score > bestScore) {
                bestScore = score;
                best = &c;
            }
        }
        const std::ptrdiff_t lo = std::max(earliest, expected - window / 4);
        const std::ptrdiff_t hi = std::min(musicEnd - 1, expected + window / 4);
        if (best)
            chosen.push_back(*best);
        else if (lo < hi)
            chosen.push_back(Quietest(f, lo, hi));
        else
            break;
        earliest = chosen.back().start + 1;
    }
    return chosen;
}

} // namespace

SideTracks SideAnalyzer::analyze(const SideHints& hints) const
{
    SideTracks out;
    const std::int64_t hop = hopFrames();
    const double hopSeconds = double(hop) / mRate;
    if (mHops.size() < 5)
        return out;

    std::vector<float> raw[3];
    for (auto& r : raw)
        r.reserve(mHops.size());
    for (const Hop& h : mHops) {
        raw[0].push_back(h.bass);
        raw[1].push_back(h.mid);
        raw[2].push_back(h.high);
    }
    const Features f = Measure(raw, hopSeconds);
    const auto& p = f.presence;
    const auto n = std::ptrdiff_t(f.n);

    // Music: a hop above the quiet line with mostly music in the two seconds beside it.
    const std::ptrdiff_t sustain = f.hops(2.0);
    const auto musicAround = [&](std::ptrdiff_t from, std::ptrdiff_t to) {
        std::ptrdiff_t loud = 0;
        for (std::ptrdiff_t t = std::max<std::ptrdiff_t>(from, 0); t < std::min(to, n); ++t)
            loud += p[std::size_t(t)] >= kQuiet;
        return loud * 10 >= (std::min(to, n) - std::max<std::ptrdiff_t>(from, 0)) * 6;
    };
    std::ptrdiff_t first = -1, last = -1;
    for (std::ptrdiff_t t = 0; t < n && first < 0; ++t)
        if (p[std::size_t(t)] >= kQuiet && musicAround(t, t + sustain))
            first = t;
    for (std::ptrdiff_t t = n - 1; t >= 0 && last < 0; --t)
        if (p[std::size_t(t)] >= kQuiet && musicAround(t - sustain + 1, t + 1))
            last = t;
    if (first < 0 || last < first)
        return out;
    while (first > 0 && p[std::size_t(first - 1)] >= kFloor)
        --first;
    while (last + 1 < n && p[std::size_t(last + 1)] >= kFloor)
        ++last;
    const std::ptrdiff_t musicStart = first, musicEnd = last + 1;

    std::vector<Candidate> pool;
    const std::ptrdiff_t minGap = f.hops(kMinGapSeconds);
    for (std::ptrdiff_t t = musicStart; t < musicEnd;) {
        if (p[std::size_t(t)] >= kQuiet) {
            ++t;
            continue;
        }
        Candidate c;
        c.from = t;
        while (t < musicEnd && p[std::size_t(t)] < kQuiet)
            ++t;
        c.to = t;
        if (c.to - c.from < minGap || c.to >= musicEnd)
            continue;
        Place(f, c);
        pool.push_back(c);
    }
    // This side's usual gap: the longest few stretches at the floor.
    std::vector<double> gaps;
    for (const Candidate& c : pool)
        gaps.push_back(double(c.start - c.end) * hopSeconds);
    std::sort(gaps.begin(), gaps.end(), std::greater<>());
    gaps.resize(std::min<std::size_t>(gaps.size(), 3));
    const double usualGap = gaps.empty() ? kLongGapSeconds : gaps[gaps.size() / 2];
    const double gapScale = std::clamp(usualGap / kLongGapSeconds, 0.5, 1.0);
    for (Candidate& c : pool)
        Rate(f, c, gapScale);

    const std::ptrdiff_t minTrack = f.hops(kMinTrackSeconds);
    std::vector<Candidate> chosen;
    if (!hints.trackSeconds.empty())
        chosen = FitLengths(f, pool, hints.trackSeconds, musicStart, musicEnd);
    else if (hints.trackCount > 0)
        chosen = Choose(pool, std::size_t(hints.trackCount - 1), -1.0, musicStart, musicEnd, minTrack);
    else
        chosen = Choose(pool, pool.size(), kAccept, musicStart, musicEnd, minTrack);
    const std::size_t wanted = !hints.trackSeconds.empty() ? hints.trackSeconds.size()
                               : hints.trackCount > 0      ? std::size_t(hints.trackCount)
                                                           : 0;
    if (wanted > 0)
        FillUp(f, chosen, wanted - 1, musicStart, musicEnd);

    std::ptrdiff_t start = musicStart;
    for (const Candidate& c : chosen) {
        out.tracks.push_back({start * hop, c.end * hop});
        out.boundaryConfidence.push_back(c.confidence);
        start = c.start;
    }
    out.tracks.push_back({start * hop, std::min<std::int64_t>(musicEnd * hop, mFrames)});
    out.sideEndSample = out.tracks.back().endSample;
    out.sideEndFound = double(n - musicEnd) * hopSeconds >= 1.0;
    return out;
}

} // namespace Tolm::Analysis
