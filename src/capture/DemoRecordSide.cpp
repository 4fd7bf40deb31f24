#include "capture/DemoRecordSide.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tolm::Capture {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kLeadInSeconds = 2.5;
constexpr size_t kTableSize = 4096;

struct PieceStyle {
    double length;   // seconds, fades included
    double gapAfter; // seconds of surface noise before the next piece
    int root;        // MIDI note of the key
    bool minor;
    double bpm;
    std::array<int, 4> chords; // scale degrees, one bar each
    bool drums;
    UInt32 seed;
    float leadPan; // 0 left .. 1 right
};

// Lengths from 26 s to 84 s and gaps from 2.6 s to 4 s: the gap detector needs more than
// 10 s of music to leave a gap and four quiet half-second frames to find one.
constexpr std::array<PieceStyle, DemoRecordSide::kPieceCount> kStyles{{
    {41.0, 3.0, 57, false, 112.0, {0, 4, 5, 3}, true, 0x9e3779b9u, 0.35f},
    {58.0, 2.6, 62, true, 86.0, {0, 5, 2, 6}, true, 0x7f4a7c15u, 0.65f},
    {26.0, 3.5, 55, false, 132.0, {0, 3, 4, 4}, true, 0x85ebca6bu, 0.45f},
    {72.0, 2.8, 64, true, 70.0, {0, 3, 6, 2}, false, 0xc2b2ae35u, 0.55f},
    {35.0, 4.0, 60, false, 120.0, {0, 5, 1, 4}, true, 0x27d4eb2fu, 0.30f},
    {84.0, 0.0, 65, false, 96.0, {0, 5, 1, 4}, true, 0x165667b1u, 0.60f},
}};

constexpr std::array<int, 7> kMajor{0, 2, 4, 5, 7, 9, 11};
constexpr std::array<int, 7> kMinor{0, 2, 3, 5, 7, 8, 10};

int ScaleNote(int root, bool minor, int degree)
{
    const auto& scale = minor ? kMinor : kMajor;
    const int octave = degree >= 0 ? degree / 7 : (degree - 6) / 7;
    return root + scale[static_cast<size_t>(degree - octave * 7)] + 12 * octave;
}

// Moves a note by octaves into [low, low + 12).
int IntoRange(int note, int low)
{
    while (note < low)
        note += 12;
    while (note >= low + 12)
        note -= 12;
    return note;
}

double NoteHz(int note)
{
    return 440.0 * std::pow(2.0, (note - 69) / 12.0);
}

UInt32 Hash(UInt32 a, UInt32 b)
{
    UInt32 h = a ^ (b * 0x9e3779b1u);
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    h ^= h >> 16;
    return h;
}

// One cycle of a waveform with harmonics 1..count of amplitude weight(k), peak 1.
template <typename Weight> std::vector<float> MakeTable(int count, Weight weight)
{
    std::vector<double> cycle(kTableSize, 0.0);
    for (size_t i = 0; i < kTableSize; ++i) {
        const double x = 2.0 * kPi * double(i) / double(kTableSize);
        for (int k = 1; k <= count; ++k)
            cycle[i] += weight(k) * std::sin(k * x);
    }
    double peak = 0.0;
    for (double v : cycle)
        peak = std::max(peak, std::fabs(v));
    std::vector<float> table(kTableSize + 1);
    for (size_t i = 0; i < kTableSize; ++i)
        table[i] = float(cycle[i] / peak);
    table[kTableSize] = table[0]; // guard point for interpolation
    return table;
}

double Frac(double x)
{
    return x - std::floor(x);
}

} // namespace

DemoRecordSide::DemoRecordSide(double sampleRate) : mSampleRate(sampleRate)
{
    mSine = MakeTable(1, [](int) { return 1.0; });
    mPad = MakeTable(6, [](int k) { return 1.0 / std::pow(double(k), 1.5); });
    mBass = MakeTable(8, [](int k) { return 1.0 / k; });
    mLead = MakeTable(9, [](int k) { return (k % 2 ? 1.0 : 0.25) / k; });

    double t = 0.0;
    auto frame = [&](double seconds) { return UInt64(std::llround(seconds * mSampleRate)); };
    mSegments.push_back({0, frame(kLeadInSeconds), -1});
    t = kLeadInSeconds;
    for (int i = 0; i < kPieceCount; ++i) {
        const auto& style = kStyles[size_t(i)];
        mPieces[size_t(i)] = {t, style.length};
        mSegments.push_back({frame(t), frame(t + style.length), i});
        t += style.length;
        if (style.gapAfter > 0.0) {
            mSegments.push_back({frame(t), frame(t + style.gapAfter), -1});
            t += style.gapAfter;
        }
    }
    mSegments.push_back({frame(t), std::numeric_limits<UInt64>::max(), -2});
    Reset();
}

double DemoRecordSide::RunOutStart() const
{
    return double(mSegments.back().begin) / mSampleRate;
}

void DemoRecordSide::Reset()
{
    mFrame = 0;
    mSegment = 0;
    mPadVoices = {};
    mBassVoice = mLeadVoice = mKickVoice = mSnareVoice = {};
    mNoiseState = 0x2545F491u;
    mHissState = mHatState = mCrackle = 0.0f;
}

float DemoRecordSide::Table(const std::vector<float>& table, double phase) const
{
    const double position = Frac(phase) * double(kTableSize);
    const auto index = size_t(position);
    const float fraction = float(position - double(index));
    return table[index] + (table[index + 1] - table[index]) * fraction;
}

float DemoRecordSide::NextNoise()
{
    mNoiseState ^= mNoiseState << 13;
    mNoiseState ^= mNoiseState >> 17;
    mNoiseState ^= mNoiseState << 5;
    return float(mNoiseState) * (2.0f / 4294967296.0f) - 1.0f;
}

UInt32 DemoRecordSide::Render(float* const* channels, UInt32 channelCount, UInt32 frames)
{
    if (mRewind.exchange(false, std::memory_order_acq_rel))
        Reset();
    for (UInt32 i = 0; i < frames; ++i) {
        float left = 0.0f, right = 0.0f;
        RenderFrame(left, right);
        if (channelCount == 1) {
            channels[0][i] = 0.5f * (left + right);
            continue;
        }
        for (UInt32 c = 0; c < channelCount; ++c)
            channels[c][i] = (c % 2 == 0) ? left : right;
    }
    mPosition.store(mFrame, std::memory_order_relaxed);
    return frames;
}

void DemoRecordSide::RenderFrame(float& left, float& right)
{
    while (mFrame >= mSegments[mSegment].end)
        ++mSegment;
    const Segment& segment = mSegments[mSegment];
    const double t = double(mFrame - segment.begin) / mSampleRate;

    const float surface = Surface(segment.piece == -1 && mSegment > 0, t);
    left = right = surface;
    if (segment.piece >= 0) {
        Music(segment.piece, t, double(segment.end - segment.begin) / mSampleRate, left, right);
    } else if (segment.piece == -2) {
        // The run-out groove: a soft thump once a revolution at 33 1/3 rpm.
        const UInt64 revolution = UInt64(1.8 * mSampleRate);
        if ((mFrame - segment.begin) % revolution == 0)
            mCrackle += 0.03f;
    }
    ++mFrame;
}

float DemoRecordSide::Surface(bool inGap, double t)
{
    const float white = NextNoise();
    mHissState += 0.2f * (white - mHissState);
    // Sparse crackle everywhere, about four ticks a second.
    const UInt32 roll = Hash(UInt32(mFrame), 0x51ed270bu);
    if (roll % UInt32(mSampleRate / 4.0) == 0)
        mCrackle += (roll & 0x100 ? 1.0f : -1.0f) * (0.004f + float(roll >> 24) * 0.0001f);
    // A few real clicks in each gap: a scratch crossed twice.
    if (inGap) {
        const UInt64 at = UInt64(t * mSampleRate);
        if (at == UInt64(0.7 * mSampleRate) || at == UInt64(1.9 * mSampleRate))
            mCrackle += (at % 2 ? -0.35f : 0.35f);
    }
    const float out = 0.006f * mHissState + mCrackle;
    mCrackle *= 0.55f;
    return out;
}

void DemoRecordSide::Music(int piece, double t, double length, float& left, float& right)
{
    const PieceStyle& style = kStyles[size_t(piece)];
    const double fade = std::clamp(std::min(t / 1.2, (length - t) / 3.0), 0.0, 1.0);
    const float envelope = float(fade * fade * (3.0 - 2.0 * fade)); // smooth ends
    const double beat = t * style.bpm / 60.0;
    const double beatSeconds = 60.0 / style.bpm;
    const int bar = int(beat / 4.0);
    const int degree = style.chords[size_t(bar % 4)];
    const double sinceBeat = Frac(beat) * beatSeconds;
    const int beatInBar = int(beat) % 4;

    float l = 0.0f, r = 0.0f;

    // Pad: the chord held through the bar, voiced around 300 to 600 Hz, swelling slowly.
    static constexpr std::array<std::array<float, 2>, 3> kPadPan{{{0.9f, 0.7f}, {0.7f, 0.9f}, {0.8f, 0.8f}}};
    const float swell = 0.85f + 0.15f * float(std::sin(2.0 * kPi * 0.25 * t));
    for (size_t v = 0; v < mPadVoices.size(); ++v) {
        const int note = IntoRange(ScaleNote(style.root, style.minor, degree + 2 * int(v)), 62);
        mPadVoices[v].phase += NoteHz(note) / mSampleRate;
        const float s = 0.055f * swell * Table(mPad, mPadVoices[v].phase);
        l += s * kPadPan[v][0];
        r += s * kPadPan[v][1];
    }

    // Bass: the chord's root, plucked on every beat.
    const int bassNote = IntoRange(ScaleNote(style.root, style.minor, degree), 36);
    mBassVoice.phase += NoteHz(bassNote) / mSampleRate;
    const float bass =
        0.17f * float(0.25 + 0.75 * std::exp(-sinceBeat * 4.0)) * Table(mBass, mBassVoice.phase);
    l += bass;
    r += bass;

    // Lead: a tune in eighth notes, mostly chord tones, with rests.
    const auto eighth = UInt32(beat * 2.0);
    const UInt32 h = Hash(style.seed, eighth / (eighth % 8 < 4 ? 1u : 2u)); // some notes held
    if (h % 5 != 0) {
        const int step = (h >> 4) % 3 != 0 ? degree + 2 * int((h >> 6) % 3) : degree + int((h >> 8) % 7);
        const int note = IntoRange(ScaleNote(style.root, style.minor, step), 69);
        const double vibrato = 1.0 + 0.003 * std::sin(2.0 * kPi * 5.0 * t);
        mLeadVoice.phase += NoteHz(note) * vibrato / mSampleRate;
        const double sinceNote = Frac(beat * 2.0) * beatSeconds / 2.0;
        const float attack = float(std::min(1.0, sinceNote / 0.008));
        const float lead =
            0.10f * attack * float(std::exp(-sinceNote * 3.0)) * Table(mLead, mLeadVoice.phase);
        l += lead * (1.0f - style.leadPan) * 1.4f;
        r += lead * style.leadPan * 1.4f;
    }

    if (style.drums) {
        if (beatInBar == 0 || beatInBar == 2) {
            const double hz = 48.0 + 95.0 * std::exp(-sinceBeat * 30.0);
            mKickVoice.phase = sinceBeat < 1.0 / mSampleRate ? 0.0 : mKickVoice.phase + hz / mSampleRate;
            const float kick = 0.38f * float(std::exp(-sinceBeat * 9.0)) * Table(mSine, mKickVoice.phase);
            l += kick;
            r += kick;
        } else {
            mSnareVoice.phase += 190.0 / mSampleRate;
            const float snare = float(std::exp(-sinceBeat * 20.0)) *
                                (0.10f * NextNoise() + 0.05f * Table(mSine, mSnareVoice.phase));
            l += snare * 0.9f;
            r += snare;
        }
        const double sinceEighth = Frac(beat * 2.0) * beatSeconds / 2.0;
        const float noise = NextNoise();
        const float hat = 0.05f * float(std::exp(-sinceEighth * 55.0)) * (noise - mHatState);
        mHatState = noise;
        l += hat * 0.7f;
        r += hat;
    }

    left += envelope * l;
    right += envelope * r;
}

} // namespace Tolm::Capture
