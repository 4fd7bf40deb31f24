#include "filters/GapDetector.h"

#include <gtest/gtest.h>

#include <vector>

using Morvo::Audio::Filters::GapDetector;
using Track = GapDetector::TrackItem;

namespace {

constexpr float kSong = 1000.0f;
constexpr float kNothing = 0.0f;
using Spans = std::vector<std::pair<float, float>>;

// A detector whose frame levels read like a side made of (level, seconds) pieces.
struct Side : GapDetector::Listener {
    GapDetector detector{*this, 0};
    explicit Side(unsigned rate = 44100) { detector.SetSampleRate(rate); }
    void TrackSilenceStarted() override {}
    void TrackSilenceEnded() override {}
    void AlbumEnded() override {}

    Side& Add(float level, float seconds)
    {
        detector.levels.insert(detector.levels.end(), std::size_t(seconds * 2), level);
        return *this;
    }
    std::vector<Track> Tracks()
    {
        std::vector<Track> tracks;
        detector.FindTracks(tracks);
        return tracks;
    }
    Spans TrackSpans()
    {
        Spans spans;
        for (const auto& t : Tracks())
            spans.emplace_back(t.start, t.start + t.duration);
        return spans;
    }
};

} // namespace

TEST(FindTracks, AnEmptyQuietOrUnbrokenRecording)
{
    std::vector<Track> tracks{{1, 2, 3, 4}};
    Side().detector.FindTracks(tracks);
    EXPECT_EQ(tracks.size(), 1u);  // appends, never clears

    Side quiet;
    const auto q = quiet.Add(kNothing, 30).Tracks();
    ASSERT_EQ(q.size(), 1u);
    EXPECT_EQ(std::tie(q[0].start, q[0].duration, q[0].startSample, q[0].lengthSamples),
              std::make_tuple(0.0f, 30.0f, 0, 30 * 44100));
    EXPECT_TRUE(quiet.detector.levels.empty());
    EXPECT_EQ(Side().Add(kSong, 100).TrackSpans(), (Spans{{0, 100}}));
}

TEST(FindTracks, SplitsInTheMiddleOfEachGapAndKeepsFiveSecondsOfRunOut)
{
    Side side(48000);
    side.Add(kNothing, 3).Add(kSong, 60).Add(kNothing, 4).Add(kSong, 50).Add(kNothing, 7).Add(kSong, 80)
        .Add(kNothing, 20);
    const auto tracks = side.Tracks();
    ASSERT_EQ(tracks.size(), 3u);
    EXPECT_EQ(std::tie(tracks[1].start, tracks[1].duration), std::make_tuple(65.0f, 55.5f));
    EXPECT_EQ(std::tie(tracks[1].startSample, tracks[1].lengthSamples), std::make_tuple(65 * 48000, 2664000));
    EXPECT_EQ(tracks[2].start + tracks[2].duration, 209.0f);
    EXPECT_EQ(Side().Add(kSong, 60).Add(kNothing, 3).TrackSpans(), (Spans{{0, 63}}));
}

TEST(FindTracks, ShortGapsAndSoundsAreAbsorbedAndShortEndsAreLeadInAndRunOut)
{
    // Gaps under 1.5 s and sounds under 10 s do not make tracks.
    EXPECT_EQ(Side().Add(kSong, 60).Add(kNothing, 1.5f).Add(kSong, 60).TrackSpans(),
              (Spans{{0, 60.75f}, {60.75f, 121.5f}}));
    EXPECT_EQ(Side().Add(kSong, 60).Add(kNothing, 1).Add(kSong, 60).TrackSpans(), (Spans{{0, 121}}));
    EXPECT_EQ(Side().Add(kSong, 60).Add(kNothing, 5).Add(kSong, 10).Add(kNothing, 5).Add(kSong, 60).TrackSpans(),
              (Spans{{0, 62.5f}, {62.5f, 77.5f}, {77.5f, 140}}));
    EXPECT_EQ(Side().Add(kSong, 60).Add(kNothing, 10).Add(kSong, 9.5f).Add(kNothing, 10).Add(kSong, 60).TrackSpans(),
              (Spans{{0, 74.75f}, {74.75f, 149.5f}}));
    // Sound before the first and after the last long song belongs to it.
    EXPECT_EQ(Side().Add(kSong, 12).Add(kNothing, 5).Add(kSong, 60).Add(kNothing, 4).Add(kSong, 60)
                  .Add(kNothing, 5).Add(kSong, 15).Add(kNothing, 2).TrackSpans(),
              (Spans{{0, 79}, {79, 146}}));
}

TEST(FindTracks, ANoisySideRaisesTheThreshold)
{
    // (lowest level, highest level, tracks): 4 x the lowest only above 15 and a ratio over 40.
    for (const auto& [low, high, count] : {std::tuple{20.0f, 2000.0f, 2u}, std::tuple{15.0f, 2000.0f, 1u},
                                           std::tuple{60.0f, 2400.0f, 1u}}) {
        Side side;
        side.Add(kSong, 60).Add(60.0f, 4).Add(kSong, 60);
        side.detector.minLevel = low;
        side.detector.maxLevel = high;
        EXPECT_EQ(side.Tracks().size(), count) << low << " " << high;
    }
}
