#include "SideAnalysis.h"
#include "TracksTestSide.h"

#include <gtest/gtest.h>

#include <thread>

using namespace Tolm::Convert;
using namespace Tolm::Test;
using Morvo::Audio::Filters::AudioFilter;
using Morvo::Audio::Filters::GapDetector;

namespace {

struct NoEvents : GapDetector::Listener {
    void TrackSilenceStarted() override {}
    void TrackSilenceEnded() override {}
    void AlbumEnded() override {}
};

std::vector<std::pair<int, int>> Samples(const std::vector<GapDetector::TrackItem>& tracks)
{
    std::vector<std::pair<int, int>> v;
    for (const auto& t : tracks)
        v.emplace_back(t.startSample, t.lengthSamples);
    return v;
}

// The three-song side, written once for the whole run.
struct SharedSide {
    TempFolder folder;
    StereoSamples samples = MakeSide(ThreeSongSide(), 44100);
    std::string path = folder.File("side.wav");
    SharedSide() { WriteSound(path, samples, 44100, kFloatWav); }
};

const SharedSide& Side()
{
    static const SharedSide side;
    return side;
}

} // namespace

// The file read in chunks on another thread must analyse exactly like the samples fed
// straight through the equaliser and the detector.
TEST(SideAnalysis, HearsTheFileAsTheLiveChainWould)
{
    SideAnalysisOptions options;
    options.equaliser = AudioFilter::RIAAFilter;
    const auto side = SideAnalysis::Run(Side().path, options);

    AudioFilter eq;
    eq.Set(AudioFilter::RIAAFilter);
    NoEvents listener;
    GapDetector detector(listener, 44100);
    auto l = Side().samples.left, r = Side().samples.right;
    for (std::size_t at = 0; at < l.size(); at += 512) {
        const std::size_t n = std::min<std::size_t>(512, l.size() - at);
        eq(l.data() + at, r.data() + at, n);
        detector(l.data() + at, r.data() + at, n);
    }
    EXPECT_EQ(side.levels, detector.levels);
    std::vector<GapDetector::TrackItem> tracks;
    detector.FindTracks(tracks);
    EXPECT_EQ(Samples(side.tracks), Samples(tracks));
    EXPECT_EQ(side.frames, 136 * 44100);
    EXPECT_EQ(side.tracks.size(), 3u);
}

TEST(SideAnalysis, ReportsProgressAndStopsWhenAsked)
{
    std::vector<double> seen;
    const auto caller = std::this_thread::get_id();
    SideAnalysisOptions options;
    options.progress = [&](double f) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        seen.push_back(f);
    };
    SideAnalysis::Run(Side().path, options);
    ASSERT_GT(seen.size(), 10u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), 1.0);

    int polls = 0;
    options.progress = nullptr;
    options.stopRequested = [&] { return ++polls == 3; };
    const auto part = SideAnalysis::Run(Side().path, options);
    EXPECT_TRUE(part.stopped);
    EXPECT_GT(part.frames, 0);
    EXPECT_LT(part.frames, 136 * 44100);
}

TEST(SideAnalysis, ReadsOtherFormatsAndRatesAndANearlyEmptyFileHasNoTracks)
{
    TempFolder folder;
    WriteSound(folder.File("side.flac"), MakeSide(ThreeSongSide(), 48000), 48000, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    const auto result = SideAnalysis::Run(folder.File("side.flac"));
    EXPECT_EQ(result.sampleRate, 48000u);
    EXPECT_EQ(Samples(result.tracks), (std::vector<std::pair<int, int>>{
                                          {0, 53 * 48000}, {53 * 48000, 1128000}, {3672000, 2712000}}));

    WriteSound(folder.File("blip.wav"), MakeSide({{0.3, true}}, 44100), 44100, kFloatWav);
    const auto blip = SideAnalysis::Run(folder.File("blip.wav"));
    EXPECT_EQ(blip.frames, 13230);
    EXPECT_TRUE(blip.levels.empty());
    EXPECT_TRUE(blip.tracks.empty());
}

// The detector's 32-bit sample fields wrap past 2^31; positions come from its seconds.
TEST(SideAnalysis, TrackPositionsOfALongSideAtAHighRatePass32Bits)
{
    SideAnalysisResult result;
    result.sampleRate = 192000;
    result.tracks.push_back({13000.0f, 200.0f, INT32_MIN, 38400000});
    const auto spans = result.spans();
    ASSERT_EQ(spans.size(), 1u);
    EXPECT_EQ(spans[0].startSample, 2'496'000'000);
    EXPECT_EQ(spans[0].endSample, 2'534'400'000);
}
