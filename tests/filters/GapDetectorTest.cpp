#include "filters/GapDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <tuple>
#include <vector>

using Morvo::Audio::Filters::GapDetector;

namespace {

struct Event {
    char kind;  // 'S' silence started, 'E' silence ended, 'A' album ended
    int frame;  // the analysis frame (from 1) during which it came
    bool operator==(const Event&) const = default;
};
std::ostream& operator<<(std::ostream& os, const Event& e) { return os << e.kind << '@' << e.frame; }
using Log = std::vector<Event>;

enum class Kind { Loud, Quiet, Between };

// A detector that logs its events and is fed whole analysis frames of a 500 Hz tone (or zeros).
struct Rig : GapDetector::Listener {
    Log log;
    int frame = 0;
    long sample = 0;
    GapDetector d{*this, 44100};

    void TrackSilenceStarted() override { log.push_back({'S', frame}); }
    void TrackSilenceEnded() override { log.push_back({'E', frame}); }
    void AlbumEnded() override { log.push_back({'A', frame}); }

    // The detector's result for the last frame.
    bool Frames(Kind kind, int count)
    {
        bool result = false;
        const auto n = static_cast<std::size_t>(d.frameLength);
        std::vector<float> l(n);
        const double amplitude = kind == Kind::Loud ? 0.3 : kind == Kind::Between ? 0.0072 : 0.0;
        for (int f = 0; f < count; ++f) {
            for (std::size_t i = 0; i < n; ++i, ++sample)
                l[i] = float(amplitude * std::sin(2 * std::numbers::pi * 500.0 * double(sample) / double(d.sampleRate)));
            ++frame;
            result = d(l.data(), l.data(), n);
        }
        return result;
    }
};

std::vector<int> Q(const GapDetector::FilterParams& p) { return {p.q0, p.q1, p.q2, p.q3, p.q4}; }

// The 16-bit mono value the detector makes of one stereo sample.
std::int32_t MonoOf(float left, float right)
{
    Rig r;
    r.d(&left, &right, 1);
    return r.d.filterParams.x1;
}

const std::string kBothWays = "Audio has transitioned out of silence\nAudio has transitioned into silence\n";

} // namespace

TEST(GapDetector, FixedPointDesignMixAndFilterStep)
{
    Rig r;
    GapDetector d(r, 96000);  // the argument is ignored on purpose
    EXPECT_EQ(d.sampleRate, 44100.0f);
    EXPECT_EQ(d.frameLength, 22050);
    EXPECT_EQ(Q(d.filterParams), (std::vector<int>{173, 0, -173, -16169, 8018}));
    EXPECT_EQ(d.filterParams.frequency, 500.0f);
    d.SetSampleRate(48000);
    EXPECT_EQ(d.frameLength, 24000);
    EXPECT_EQ(Q(d.filterParams), (std::vector<int>{159, 0, -159, -16189, 8032}));
    d.SetSampleRate(11025);
    EXPECT_EQ(d.frameLength, 5513);  // 5512.5, halves away from zero

    // The bandwidth is doubled in 16 bits: 2 x 16400 and 2 x -16368 are the same number.
    GapDetector::FilterParams a, b, lp;
    GapDetector::SetFilter_BP(&a, 500.0f, 16400, 44100.0);
    GapDetector::SetFilter_BP(&b, 500.0f, -16368, 44100.0);
    EXPECT_EQ(std::tie(a.q0, a.q3, a.q4), std::tie(b.q0, b.q3, b.q4));
    GapDetector::SetFilter_LP(&lp, 1000.0, 0.0, 44100.0);
    EXPECT_EQ(Q(lp), (std::vector<int>{41, 82, 41, -16065, 8038}));

    // Mono mix: 16 bits that wrap instead of clipping.
    EXPECT_EQ(MonoOf(1.0f, 1.0f), 32767);
    EXPECT_EQ(MonoOf(1.5f, 1.5f), -16386);  // 49150 wraps to -16386
    EXPECT_EQ(MonoOf(-1.5f, -1.5f), 16386);
    EXPECT_EQ(MonoOf(-1.0f, 0.0f), -16384);  // arithmetic shift rounds down
    EXPECT_EQ(MonoOf(0.5f, -0.25f), 4096);   // each side truncated toward zero first
    EXPECT_EQ(MonoOf(std::numeric_limits<float>::quiet_NaN(), 0.0f), 0);
    EXPECT_EQ(MonoOf(1e10f, 0.0f), 0);

    // Filter step: shifts, truncates and wraps.
    GapDetector f(r, 44100), n(r, 44100), big(r, 44100), wrap(r, 44100);
    EXPECT_EQ(f.ApplyFilter(1000), 21);
    EXPECT_EQ(f.ApplyFilter(0), 41);
    EXPECT_EQ(f.ApplyFilter(0), 39);
    EXPECT_EQ(f.frameSum, 101);
    EXPECT_EQ(n.ApplyFilter(-1000), -22);         // arithmetic shift rounds down
    EXPECT_EQ(big.ApplyFilter(2000000), -23300);  // 42236 cut to 16 bits...
    EXPECT_EQ(big.filterParams.y1, 42236);        // ...while the memory keeps 32
    EXPECT_EQ(big.frameSum, 42236);
    wrap.ApplyFilter(20000000);  // 173 x 20000000 wraps in 32 bits
    EXPECT_EQ(wrap.filterParams.y1, -101925);

    // A frame's level is the mean from the full 32-bit sum, not from the 16-bit samples.
    n.frameLength = 4;
    const std::int16_t samples[] = {100, -100, 100, -100};
    std::copy(std::begin(samples), std::end(samples), n.frame.get());
    n.frameSum = 40000;
    EXPECT_EQ(n.CalcAAMFrame(), 10000.0f);
    n.frameSum = 0;
    EXPECT_EQ(n.CalcAAMFrame(), 100.0f);
    n.frameLength = 0;
    EXPECT_TRUE(std::isnan(n.CalcAAMFrame()));
}

// Digital silence, and a tone too soft to ever count as sound (no frame has reached 500).
TEST(GapDetector, QuietFromTheStartEndsTheAlbumOnceAndSaysNothingElse)
{
    for (Kind kind : {Kind::Quiet, Kind::Between}) {
        testing::internal::CaptureStderr();
        Rig r;
        EXPECT_FALSE(r.Frames(kind, 120));
        EXPECT_TRUE(r.log.empty());
        EXPECT_TRUE(r.Frames(kind, 1));
        EXPECT_TRUE(r.Frames(kind, 5));
        EXPECT_EQ(r.log, (Log{{'A', 121}}));
        EXPECT_EQ(r.d.levels.size(), 126u);
        EXPECT_GE(r.d.levels.back(), kind == Kind::Between ? 100.0f : 0.0f);
        float half[100] = {};
        EXPECT_FALSE(r.d(half, half, 100));  // no frame completed
        EXPECT_FALSE(r.d(half, half, 0));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
}

TEST(GapDetector, TwentyOneUnbrokenFramesOfSoundLeaveSilenceFourQuietOnesMakeAGap)
{
    testing::internal::CaptureStderr();
    Rig r;
    r.Frames(Kind::Loud, 20);
    EXPECT_TRUE(r.log.empty());
    r.Frames(Kind::Loud, 1);
    EXPECT_EQ(r.log, (Log{{'E', 21}}));
    EXPECT_GT(r.d.levels.back(), 500.0f);
    r.Frames(Kind::Quiet, 3);
    EXPECT_EQ(r.log.size(), 1u);
    r.Frames(Kind::Quiet, 1);
    EXPECT_EQ(r.log.back(), (Event{'S', 25}));
    // The album end counts every quiet frame since silence was left: the 121st.
    EXPECT_FALSE(r.Frames(Kind::Quiet, 116));
    EXPECT_TRUE(r.Frames(Kind::Quiet, 1));
    EXPECT_EQ(r.log.back(), (Event{'A', 142}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), kBothWays);

    Rig broken;
    broken.Frames(Kind::Loud, 20);
    broken.Frames(Kind::Quiet, 1);  // starts the count of sound again
    broken.Frames(Kind::Loud, 20);
    EXPECT_TRUE(broken.log.empty());
    broken.Frames(Kind::Loud, 1);
    EXPECT_EQ(broken.log, (Log{{'E', 42}}));
    // Once out of silence, single quiet frames between sound still count: the fourth is a gap.
    for (int i = 0; i < 4; ++i) {
        broken.Frames(Kind::Loud, 4);
        broken.Frames(Kind::Quiet, 1);
    }
    EXPECT_EQ(broken.log, (Log{{'E', 42}, {'S', 62}}));
}

TEST(GapDetector, ResetGoesBackToSilenceQuietlyAndKeepsTheCounts)
{
    Rig r;
    r.Frames(Kind::Loud, 21);
    testing::internal::CaptureStderr();
    r.d.Reset();
    EXPECT_TRUE(r.d.silence);
    EXPECT_EQ(r.log.size(), 1u);
    // The sound count was kept, so the next loud frame leaves silence again at once.
    r.Frames(Kind::Loud, 1);
    EXPECT_EQ(r.log.back(), (Event{'E', 22}));
    r.Frames(Kind::Quiet, 121);
    EXPECT_EQ(r.log.back(), (Event{'A', 143}));
    r.d.Reset();
    EXPECT_FALSE(r.d.albumEnd);
    EXPECT_TRUE(r.Frames(Kind::Quiet, 1));
    EXPECT_EQ(r.log.back(), (Event{'A', 144}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), kBothWays);
}

TEST(GapDetector, RateChangesStartOverButKeepTheLevels)
{
    Rig r;
    r.Frames(Kind::Loud, 21);
    std::vector<float> part(1000, 0.25f);
    r.d(part.data(), part.data(), part.size());
    r.d.SetSampleRate(44100);  // same rate: nothing at all
    EXPECT_EQ(r.d.framePosition, 1000);
    EXPECT_FALSE(r.d.silence);

    r.d.SetSampleRate(48000);
    EXPECT_EQ(std::tie(r.d.framePosition, r.d.frameSum, r.d.maxLevel, r.d.minLevel),
              std::make_tuple(0, 0, 0.0f, 9999999.0f));
    EXPECT_EQ(r.d.levels.size(), 21u);
    EXPECT_TRUE(r.d.silence);
    EXPECT_EQ(r.log.size(), 1u);  // back in silence without a word
    r.d(part.data(), part.data(), part.size());
    r.d.SetSampleRate(48000);
    EXPECT_EQ(r.d.framePosition, 1000);

    // Frames are half a second at the new rate too. The 1000 samples fed just now still
    // start a frame, so the first quiet half second ends a frame with sound in it.
    r.Frames(Kind::Loud, 21);
    r.Frames(Kind::Quiet, 4);
    EXPECT_EQ(r.log, (Log{{'E', 21}, {'E', 42}}));
    r.Frames(Kind::Quiet, 1);
    EXPECT_EQ(r.log.back(), (Event{'S', 47}));
}

// The block loop against the plain per-sample path, on music-like noise with bursts, loud
// overshoots and random block cuts (with a Reset now and then, which must not lose the frame).
TEST(GapDetector, BlocksOfAnySizeAnalyseLikeOneSampleAtATime)
{
    const std::size_t n = 22050 * 9 + 1234;
    std::vector<float> l(n), r(n);
    std::mt19937 rng(11);
    std::normal_distribution<float> noise(0.0f, 1.0f);
    for (std::size_t i = 0; i < n; ++i) {
        const float envelope = (i / 30000) % 3 == 0 ? 0.0005f : 0.6f;
        l[i] = envelope * noise(rng), r[i] = envelope * noise(rng);
    }
    Rig a, b;
    GapDetector &plain = a.d, &blocks = b.d;
    for (std::size_t i = 0; i < n; ++i) {
        const auto left = std::int32_t(std::int16_t(std::int32_t(l[i] * 32767.0f)));
        const auto right = std::int32_t(std::int16_t(std::int32_t(r[i] * 32767.0f)));
        plain.frame[plain.framePosition++] = plain.ApplyFilter((right + left) >> 1);
        if (plain.framePosition >= plain.frameLength) {
            plain.ProcessFrameBuffer();
            plain.framePosition = 0;
            plain.frameSum = 0;
        }
    }
    for (std::size_t at = 0; at < n;) {
        const std::size_t count = std::min<std::size_t>(rng() % 5000, n - at);
        blocks(l.data() + at, r.data() + at, count);
        if (rng() % 7 == 0)
            blocks.Reset();
        at += count;
    }
    ASSERT_EQ(plain.levels.size(), 9u);
    EXPECT_EQ(blocks.levels, plain.levels);
    const auto &p = plain.filterParams, &q = blocks.filterParams;
    EXPECT_EQ(std::tie(blocks.framePosition, blocks.frameSum, q.x1, q.x2, q.y1, q.y2, blocks.maxLevel, blocks.minLevel),
              std::tie(plain.framePosition, plain.frameSum, p.x1, p.x2, p.y1, p.y2, plain.maxLevel, plain.minLevel));
    EXPECT_TRUE(std::equal(plain.frame.get(), plain.frame.get() + plain.framePosition, blocks.frame.get()));
}
