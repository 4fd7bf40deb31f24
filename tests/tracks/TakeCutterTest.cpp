#include "TempFolder.h"
#include "tracks/TakeCutter.h"
#include "tracks/TrackError.h"

#include "SoundFile.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <filesystem>

using namespace Tolm::Tracks;

namespace {

// Frame n of the recording carries n in the left channel and -n in the right, so any shift
// or lost frame shows.
float Left(std::int64_t frame) { return float(frame) * 1e-6f; }

void WriteTake(const std::string& path, std::int64_t first, std::int64_t frames)
{
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    std::vector<float> samples;
    for (std::int64_t n = first; n < first + frames; ++n) {
        samples.push_back(Left(n));
        samples.push_back(-Left(n));
    }
    ASSERT_EQ(sf_writef_float(file, samples.data(), frames), frames);
    sf_close(file);
}

std::vector<float> ReadAll(const std::string& path)
{
    return Tolm::Test::ReadSoundFile(path).samples;
}

struct ThreeTakes {
    TempFolder folder;
    std::vector<std::int64_t> lengths{70000, 150001, 90000};
    std::vector<std::string> paths;

    ThreeTakes()
    {
        std::int64_t first = 0;
        for (std::size_t i = 0; i < lengths.size(); ++i) {
            paths.push_back(folder / ("TolmACTmpFile." + std::to_string(i + 1) + ".wav"));
            WriteTake(paths.back(), first, lengths[i]);
            first += lengths[i];
        }
    }
    std::string track(unsigned n) const { return folder / ("TolmACTmpFile." + std::to_string(n) + ".wav"); }
};

} // namespace

// Boundaries across and inside takes: every track holds exactly the frames between its
// markers, and the takes are left for their owner to replace.
TEST(TakeCutter, CutsSampleExactAcrossTakes)
{
    ThreeTakes side;
    const TakeFiles takes(side.paths);
    ASSERT_EQ(takes.frames(), 310001);
    EXPECT_EQ(takes.liveSplits(), (std::vector<std::int64_t>{70000, 220001}));
    EXPECT_FALSE(TakeCutter::changes(takes, {0, 70000, 220001, 310001}));

    const std::vector<std::int64_t> markers{1234, 69999, 300000};
    std::vector<double> progress;
    const auto tracks = TakeCutter::write(takes, markers, [&](unsigned n) { return side.track(n) + ".cut"; },
                                          [&](double f) { progress.push_back(f); });
    ASSERT_EQ(tracks.size(), 2u);
    EXPECT_DOUBLE_EQ(progress.back(), 1.0);
    for (std::size_t t = 0; t < tracks.size(); ++t) {
        const std::vector<float> samples = ReadAll(tracks[t]);
        ASSERT_EQ(std::int64_t(samples.size() / 2), markers[t + 1] - markers[t]) << "track " << t + 1;
        for (std::int64_t i = 0; i < std::int64_t(samples.size() / 2); ++i) {
            ASSERT_EQ(samples[std::size_t(2 * i)], Left(markers[t] + i)) << "track " << t + 1 << " frame " << i;
            ASSERT_EQ(samples[std::size_t(2 * i + 1)], -Left(markers[t] + i));
        }
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(side.folder.Path()),
                            std::filesystem::directory_iterator()),
              5);
    EXPECT_THROW(TakeCutter::write(takes, markers, [&](unsigned n) { return side.track(n); }), TrackError);
    EXPECT_EQ(ReadAll(side.paths[0]).size(), std::size_t(side.lengths[0] * 2));
}

// A cut that fails on its second track (here: a folder that is gone) leaves the takes as they
// were, frame for frame, and no half-written file behind.
TEST(TakeCutter, AFailedCutLosesNothing)
{
    ThreeTakes side;
    const TakeFiles takes(side.paths);
    const std::string gone = side.folder / "gone/2.wav";
    EXPECT_THROW(TakeCutter::write(takes, {0, 100000, 310001},
                                   [&](unsigned n) { return n == 1 ? side.track(1) + ".cut" : gone; }),
                 TrackError);
    std::int64_t first = 0;
    for (std::size_t i = 0; i < side.paths.size(); ++i) {
        const std::vector<float> samples = ReadAll(side.paths[i]);
        ASSERT_EQ(std::int64_t(samples.size() / 2), side.lengths[i]);
        EXPECT_EQ(samples.front(), Left(first));
        first += side.lengths[i];
    }
    EXPECT_FALSE(std::filesystem::exists(side.track(1) + ".cut"));
}
