#include "filters/GapDetector.h"

#include <gtest/gtest.h>

#include <vector>

using Morvo::Audio::Filters::GapDetector;
using Track = GapDetector::TrackItem;
using Zone = GapDetector::ZoneItem;

namespace {

struct Quiet : GapDetector::Listener {
    void TrackSilenceStarted() override {}
    void TrackSilenceEnded() override {}
    void AlbumEnded() override {}
};

constexpr float kSong = 1000.0f;
constexpr float kNothing = 0.0f;

// A detector whose frame levels read like a side: (level, seconds) pieces.
class Side {
public:
    Side() : detector(listener, 44100) {}

    Side& Add(float level, float seconds)
    {
        for (int i = 0; i < int(seconds * 2); ++i)
            detector.levels.push_back(level);
        return *this;
    }

    std::vector<Track> Tracks()
    {
        std::vector<Track> tracks;
        detector.FindTracks(tracks);
        return tracks;
    }

    Quiet listener;
    GapDetector detector;
};

// (start, end) in seconds.
std::vector<std::pair<float, float>> Spans(const std::vector<Track>& tracks)
{
    std::vector<std::pair<float, float>> spans;
    for (const auto& t : tracks)
        spans.emplace_back(t.start, t.start + t.duration);
    return spans;
}

using Spans_ = std::vector<std::pair<float, float>>;

} // namespace

TEST(FindTracks, NothingRecordedNothingFound)
{
    Side side;
    std::vector<Track> tracks{{1, 2, 3, 4}};
    side.detector.FindTracks(tracks);
    ASSERT_EQ(tracks.size(), 1u);  // appends, never clears
    EXPECT_EQ(tracks[0].startSample, 3);
}

TEST(FindTracks, AQuietOrAnUnbrokenRecordingIsOneTrack)
{
    Side quiet;
    quiet.Add(kNothing, 30);
    const auto q = quiet.Tracks();
    ASSERT_EQ(q.size(), 1u);
    EXPECT_EQ(q[0].start, 0.0f);
    EXPECT_EQ(q[0].duration, 30.0f);
    EXPECT_EQ(q[0].startSample, 0);
    EXPECT_EQ(q[0].lengthSamples, 30 * 44100);
    EXPECT_TRUE(quiet.detector.levels.empty());

    Side loud;
    loud.Add(kSong, 100);
    EXPECT_EQ(Spans(loud.Tracks()), (Spans_{{0, 100}}));
}

TEST(FindTracks, SplitsInTheMiddleOfEachGapAndKeepsFiveSecondsOfRunOut)
{
    Side side;
    side.Add(kNothing, 3).Add(kSong, 60).Add(kNothing, 4).Add(kSong, 50).Add(kNothing, 7).Add(kSong, 80)
        .Add(kNothing, 20);
    const auto tracks = side.Tracks();
    EXPECT_EQ(Spans(tracks), (Spans_{{0, 65}, {65, 120.5f}, {120.5f, 209}}));
    ASSERT_EQ(tracks.size(), 3u);
    EXPECT_EQ(tracks[1].startSample, 2866500);
    EXPECT_EQ(tracks[1].lengthSamples, 2447550);

    Side shortRunOut;
    shortRunOut.Add(kSong, 60).Add(kNothing, 3);
    EXPECT_EQ(Spans(shortRunOut.Tracks()), (Spans_{{0, 63}}));
}

TEST(FindTracks, GapsShorterThanOneAndAHalfSecondsDoNotSplit)
{
    Side kept;
    kept.Add(kSong, 60).Add(kNothing, 1.5f).Add(kSong, 60);
    EXPECT_EQ(Spans(kept.Tracks()), (Spans_{{0, 60.75f}, {60.75f, 121.5f}}));

    Side merged;
    merged.Add(kSong, 60).Add(kNothing, 1).Add(kSong, 60);
    EXPECT_EQ(Spans(merged.Tracks()), (Spans_{{0, 121}}));
}

TEST(FindTracks, SoundShorterThanTenSecondsBetweenSongsIsAbsorbed)
{
    Side absorbed;
    absorbed.Add(kSong, 60).Add(kNothing, 10).Add(kSong, 9.5f).Add(kNothing, 10).Add(kSong, 60);
    EXPECT_EQ(Spans(absorbed.Tracks()), (Spans_{{0, 74.75f}, {74.75f, 149.5f}}));

    Side kept;
    kept.Add(kSong, 60).Add(kNothing, 5).Add(kSong, 10).Add(kNothing, 5).Add(kSong, 60);
    EXPECT_EQ(Spans(kept.Tracks()), (Spans_{{0, 62.5f}, {62.5f, 77.5f}, {77.5f, 140}}));
}

TEST(FindTracks, NoiseBeforeTheFirstAndAfterTheLastLongSongIsLeadInAndRunOut)
{
    Side side;
    side.Add(kSong, 12).Add(kNothing, 5).Add(kSong, 60).Add(kNothing, 4).Add(kSong, 60).Add(kNothing, 5)
        .Add(kSong, 15).Add(kNothing, 2);
    EXPECT_EQ(Spans(side.Tracks()), (Spans_{{0, 79}, {79, 146}}));
}

TEST(FindTracks, ANoisySideRaisesTheThreshold)
{
    const auto build = [](Side& side) {
        side.Add(kSong, 60).Add(60.0f, 4).Add(kSong, 60);
        side.detector.maxLevel = 2000.0f;
    };
    Side noisy;
    build(noisy);
    noisy.detector.minLevel = 20.0f;  // threshold 80: the gap at 60 is quiet
    EXPECT_EQ(noisy.Tracks().size(), 2u);

    Side clean;
    build(clean);
    clean.detector.minLevel = 15.0f;  // threshold 50: the gap counts as sound
    EXPECT_EQ(clean.Tracks().size(), 1u);

    Side flat;
    build(flat);
    flat.detector.minLevel = 60.0f;  // a ratio of 40 or less keeps 50
    flat.detector.maxLevel = 2400.0f;
    EXPECT_EQ(flat.Tracks().size(), 1u);
}

TEST(FindTracks, TimesInSamplesFollowTheRate)
{
    Side side;
    side.detector.SetSampleRate(48000);
    side.Add(kSong, 60).Add(kNothing, 4).Add(kSong, 60);
    const auto tracks = side.Tracks();
    ASSERT_EQ(tracks.size(), 2u);
    EXPECT_EQ(tracks[1].startSample, 62 * 48000);
    EXPECT_EQ(tracks[1].lengthSamples, 62 * 48000);
}

TEST(FindTracks, ZonesAlternateAndKnowTheirNeighbours)
{
    std::vector<Zone> zones = {{GapDetector::Sound, 0, 0, 0},
                               {GapDetector::Sound, 5, 0, 0},
                               {GapDetector::Silence, 8, 0, 0},
                               {GapDetector::Silence, 9, 0, 0},
                               {GapDetector::Sound, 12, 0, 0}};
    GapDetector::CleanupZones(zones, 20.0f);
    ASSERT_EQ(zones.size(), 3u);
    EXPECT_EQ(zones[0].type, GapDetector::Sound);
    EXPECT_EQ(zones[1].start, 8.0f);
    EXPECT_EQ(zones[2].type, GapDetector::Sound);
    EXPECT_EQ(zones[0].duration, 8.0f);
    EXPECT_EQ(zones[1].duration, 4.0f);
    EXPECT_EQ(zones[2].duration, 8.0f);
    EXPECT_EQ(zones[0].previousDuration, 9999999.0f);
    EXPECT_EQ(zones[2].previousDuration, 4.0f);

    std::vector<Zone> none;
    GapDetector::CleanupZones(none, 5.0f);
    EXPECT_TRUE(none.empty());
}
