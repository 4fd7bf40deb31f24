// The side analysis on short generated sides whose answers are known: songs of tones over a
// record's surface noise and clicks, laid out with the hard cases between and inside them.

#include "analysis/SideAnalyzer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

using namespace Tolm::Analysis;

namespace {

constexpr int kRate = 44100;

struct Side {
    std::vector<float> left, right;
    std::vector<double> starts, ends;  // each song's audible music, seconds

    double now() const { return double(left.size()) / kRate; }

    void quiet(double seconds) { append(seconds, [](double) { return std::pair{0.0f, 0.0f}; }); }

    // A song: a bass line and a melody that change note four times a second. `shape` scales
    // it over its own time (fades, quiet passages).
    template <class Shape> void song(double seconds, int seed, Shape shape)
    {
        starts.push_back(now());
        std::mt19937 rng{unsigned(seed)};
        std::vector<double> notes(std::size_t(seconds * 4) + 1);
        for (auto& n : notes)
            n = 220.0 * std::pow(2.0, double(rng() % 12) / 12.0 + seed % 3 * 0.25);
        double phase[3] = {};
        append(seconds, [&, t0 = now()](double t) {
            const double local = t - t0;
            const double f = notes[std::size_t(local * 4)];
            for (int k = 0; k < 3; ++k)
                phase[k] += 2 * std::numbers::pi * f * (k == 0 ? 0.25 : k) / kRate;
            const double v = shape(local) * (0.25 * std::sin(phase[0]) + 0.15 * std::sin(phase[1]) +
                                             0.05 * std::sin(phase[2]));
            return std::pair{float(v), float(0.9 * v)};
        });
        ends.push_back(now());
    }
    void song(double seconds, int seed) { song(seconds, seed, [](double) { return 1.0; }); }

    // A crowd clapping: dense noise bursts, loud in the treble.
    void applause(double seconds)
    {
        std::mt19937 rng(99);
        std::normal_distribution<float> n(0.0f, 1.0f);
        float env = 0.0f, low = 0.0f;
        append(seconds, [&](double) {
            if (rng() % 800 == 0)
                env = 0.15f;
            env *= 0.995f;
            const float x = n(rng);
            low += 0.5f * (x - low);
            return std::pair{env * (x - low), env * (n(rng) - low)};
        });
    }

    template <class F> void append(double seconds, F sample)
    {
        for (long i = 0; i < std::lround(seconds * kRate); ++i) {
            const auto [l, r] = sample(now());
            left.push_back(l);
            right.push_back(r);
        }
    }

    // Surface noise, clicks, and a tick once per turn through the run-out groove.
    void wear(double runOutStart)
    {
        std::mt19937 rng(7);
        std::normal_distribution<float> n(0.0f, 0.0006f);
        for (std::size_t i = 0; i < left.size(); ++i) {
            left[i] += n(rng);
            right[i] += n(rng);
            const bool tick = double(i) / kRate > runOutStart && i % std::size_t(1.8 * kRate) == 0;
            if (tick || rng() % 40000 == 0) {
                left[i] += 0.4f;
                right[i] -= 0.3f;
            }
        }
    }

    SideTracks analyze(const SideHints& hints = {}, std::size_t block = 4096) const
    {
        SideAnalyzer analyzer(kRate);
        for (std::size_t at = 0; at < left.size(); at += block)
            analyzer.process(left.data() + at, right.data() + at, std::min(block, left.size() - at));
        return analyzer.analyze(hints);
    }
};

std::vector<double> Starts(const SideTracks& found)
{
    std::vector<double> s;
    for (const auto& t : found.tracks)
        s.push_back(double(t.startSample) / kRate);
    return s;
}

void ExpectNear(const std::vector<double>& found, const std::vector<double>& truth, double tolerance)
{
    std::string list;
    for (const double s : found)
        list += std::to_string(s) + " ";
    SCOPED_TRACE("found starts " + list);
    ASSERT_EQ(found.size(), truth.size());
    for (std::size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i], truth[i], tolerance) << "track " << i + 1;
}

} // namespace

TEST(SideAnalyzer, CutsWhereTheMusicStopsNotInsideAPiece)
{
    Side side;
    side.quiet(2.5);
    // A long fade-out: the track ends where it reaches the noise floor, not where it gets quiet.
    side.song(40, 1, [](double t) { return t < 28 ? 1.0 : std::pow(10.0, -3.0 * (t - 28) / 12); });
    side.quiet(1.5);
    // A long pianissimo passage and a bar of rest inside one piece.
    side.song(60, 2, [](double t) { return t > 15 && t < 35 ? 0.05 : t > 45 && t < 45.6 ? 0.0 : 1.0; });
    side.quiet(1.0);  // a side with short gaps: a second is enough
    side.song(30, 3);
    side.quiet(1.5);
    side.song(25, 4, [](double) { return 0.1; });  // a quiet last track keeps its end
    side.quiet(12);
    side.wear(side.ends.back());

    const SideTracks found = side.analyze();
    ExpectNear(Starts(found), side.starts, 0.3);
    ASSERT_EQ(found.tracks.size(), 4u);
    EXPECT_GT(double(found.tracks[0].endSample) / kRate, side.ends[0] - 4.0) << "the fade runs on to the floor";
    EXPECT_NEAR(double(found.tracks[3].endSample) / kRate, side.ends[3], 0.3);
    EXPECT_TRUE(found.sideEndFound);
    EXPECT_EQ(found.sideEndSample, found.tracks.back().endSample);
    ASSERT_EQ(found.boundaryConfidence.size(), 3u);
    for (const double c : found.boundaryConfidence) {
        EXPECT_GE(c, 0.45);
        EXPECT_LE(c, 1.0);
    }

    // The feature track does not care how the audio came in.
    const SideTracks odd = side.analyze({}, 1001);
    ASSERT_EQ(odd.tracks.size(), found.tracks.size());
    for (std::size_t i = 0; i < odd.tracks.size(); ++i)
        EXPECT_NEAR(double(odd.tracks[i].startSample), double(found.tracks[i].startSample), 2.0 * kRate / 20);
}

TEST(SideAnalyzer, ApplauseBetweenLiveSongsIsNoMusic)
{
    Side side;
    side.applause(3);
    for (int i = 0; i < 3; ++i) {
        side.song(35, 10 + i);
        side.applause(7);
    }
    side.wear(side.now());

    const SideTracks found = side.analyze();
    ExpectNear(Starts(found), side.starts, 0.5);
    EXPECT_TRUE(found.sideEndFound);
    EXPECT_NEAR(double(found.sideEndSample) / kRate, side.ends.back(), 1.0);
}

TEST(SideAnalyzer, HintsGiveExactlyTheTracksAsked)
{
    Side side;
    side.quiet(2);
    side.song(40, 20);
    side.quiet(0.4);  // too short to trust without a hint
    side.song(50, 21);
    side.quiet(3);
    side.song(45, 22, [](double t) { return t > 20 && t < 21 ? 0.0 : 1.0; });  // a rest inside
    side.quiet(3);
    side.song(30, 23);
    side.quiet(5);
    side.wear(side.now() - 5);

    auto expected = side.starts;
    expected.erase(expected.begin() + 1);
    ExpectNear(Starts(side.analyze()), expected, 0.3);

    const SideTracks many = side.analyze({7, {}});
    ASSERT_EQ(many.tracks.size(), 7u);
    ASSERT_EQ(many.boundaryConfidence.size(), 6u);
    for (std::size_t i = 1; i < many.tracks.size(); ++i)
        EXPECT_GE(many.tracks[i].startSample, many.tracks[i - 1].endSample);

    // A sleeve's lengths (rounded, gaps counted) pick the short gap over the longer rest.
    ExpectNear(Starts(side.analyze({0, {40, 53, 48, 30}})), side.starts, 0.3);
    EXPECT_EQ(side.analyze({0, {20, 20, 20, 20, 20, 20, 20, 20, 20}}).tracks.size(), 9u);
}

TEST(SideAnalyzer, SilenceAndNothingAreNoTracksAndABrokenSampleIsNoHarm)
{
    Side broken;
    broken.quiet(2);
    broken.song(30, 30);
    broken.quiet(3);
    broken.song(30, 31);
    broken.quiet(5);
    broken.left[5 * kRate] = std::numeric_limits<float>::quiet_NaN();
    broken.right[6 * kRate] = std::numeric_limits<float>::infinity();
    ExpectNear(Starts(broken.analyze()), broken.starts, 0.3);

    Side side;
    side.quiet(30);
    side.wear(1e9);
    EXPECT_TRUE(side.analyze().tracks.empty());
    EXPECT_TRUE(SideAnalyzer(kRate).analyze({3, {}}).tracks.empty());
    EXPECT_THROW(SideAnalyzer(0.0), std::invalid_argument);
}

// A short opening phrase and a long rest before the piece goes on: too short to be a track.
TEST(SideAnalyzer, APieceIsNotCutIntoAPhraseShorterThanATrack)
{
    Side side;
    side.quiet(2);
    side.song(45, 30, [](double t) { return t > 6 && t < 8.5 ? 0.0 : 1.0; });
    side.quiet(3);
    side.song(40, 31);
    side.quiet(5);
    side.wear(side.now() - 5);
    ExpectNear(Starts(side.analyze()), side.starts, 0.3);
}
