// A whole side through a real sound server, in real time, with monitoring running: four
// tracks with short gaps, then the long silence that ends a side.

#include "../capture/AudioTestSupport.h"
#include "PulseDaemon.h"
#include "capture/Audio.h"
#include "capture/InputChain.h"
#include "platform/FakeUsbBus.h"
#include "platform/PulseAudioHardware.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <sndfile.h>

using namespace Tolm;
using Capture::Audio;
using namespace std::chrono_literals;

namespace {

constexpr double kRate = Tolm::Test::PulseDaemon::kRate;
constexpr double kTrackSeconds = 12.0; // more than the 10.5 s that leave a gap
constexpr double kGapSeconds = 3.0;
constexpr double kEndSilenceSeconds = 66.0;
constexpr int kTracks = 4;
constexpr double kToneHz[kTracks] = {350.0, 450.0, 550.0, 650.0};

double FeedSeconds()
{
    return kTracks * kTrackSeconds + (kTracks - 1) * kGapSeconds + kEndSilenceSeconds;
}

// Track k is a chord on kToneHz[k] at a record's level; the gaps and the end are silent.
float Side(std::uint64_t frame, unsigned channel)
{
    const double t = double(frame) / kRate;
    const double period = kTrackSeconds + kGapSeconds;
    const int track = int(t / period);
    const double inTrack = t - track * period;
    if (track >= kTracks || inTrack >= kTrackSeconds)
        return 0.0f;
    const double f = kToneHz[track];
    const double phase = 2.0 * M_PI * f * t;
    return float(0.2 * std::sin(phase) + 0.08 * std::sin(2.0 * phase + channel) +
                 0.05 * std::sin(1.5 * phase));
}

struct TrackFile {
    double seconds = -1.0;
    double dominantHz = 0.0; // from zero crossings in the loud part
};

TrackFile ReadTrack(UInt32 track)
{
    TrackFile result;
    SF_INFO info{};
    SNDFILE* sf = sf_open(Tolm::Test::TakePath(track).toUtf8().constData(), SFM_READ, &info);
    if (!sf)
        return result;
    std::vector<float> samples(size_t(info.frames) * size_t(info.channels));
    sf_readf_float(sf, samples.data(), info.frames);
    sf_close(sf);
    result.seconds = double(info.frames) / info.samplerate;
    // Count upward zero crossings of the left channel over its loud frames.
    int crossings = 0;
    size_t loud = 0;
    for (size_t i = 1; i < size_t(info.frames); ++i) {
        const float a = samples[(i - 1) * info.channels], b = samples[i * info.channels];
        if (std::fabs(b) > 0.0f || std::fabs(a) > 0.0f) {
            ++loud;
            if (a < 0.0f && b >= 0.0f)
                ++crossings;
        }
    }
    if (loud > 0)
        result.dominantHz = crossings / (double(loud) / info.samplerate);
    return result;
}

void RemoveTrackFiles()
{
    for (UInt32 n = 1; n <= 8; ++n)
        std::filesystem::remove(Tolm::Test::TakePath(n).toStdString());
}

} // namespace

TEST(WholeSide, FourTracksSplitAtTheGapsAndTheSideEndsByItself)
{
    Tolm::Test::App();
    Tolm::Test::PulseDaemon daemon;
    if (!daemon.Start())
        GTEST_SKIP() << daemon.SkipReason();
    std::string error;
    auto pulse = Platform::PulseAudioHardware::Connect(5s, &error);
    ASSERT_TRUE(pulse) << error;
    Platform::SetHardware(pulse);
    auto bus = std::make_shared<Platform::FakeUsbBus>();
    bus->Add(0x08bb, 0x2902);
    Platform::SetUsbBus(bus);
    RemoveTrackFiles();
    {
        Tolm::Test::CountingDelegate delegate;
        Audio audio;
        audio.setTakeFolder(Tolm::Test::TakeFolder());
        delegate.audio = &audio;
        audio.setDelegate(&delegate);
        ASSERT_EQ(audio.detectAudioDevice(), Audio::kDetectSelected);
        audio.setNoFilter(); // a normal tape
        audio.startPlayThru();
        audio.resetTrackCounter();
        Capture::ResetVUMax();
        audio.setAutomaticTrackSplit(true);
        ASSERT_TRUE(audio.newTrack());

        daemon.Feed(&Side, std::uint64_t(FeedSeconds() * kRate), Tolm::Test::PulseDaemon::Pace::RealTime);
        const bool ended = Tolm::Test::ProcessEventsUntil(
            [&] { return delegate.albumEnds > 0; },
            std::chrono::milliseconds(std::int64_t((FeedSeconds() + 60.0) * 1000)));
        daemon.StopFeeding();
        ASSERT_TRUE(ended) << "fed " << daemon.FramesFed() << " frames; " << daemon.FeedError();
        Tolm::Test::Settle();

        EXPECT_EQ(delegate.albumEnds, 1);
        EXPECT_EQ(delegate.tracksWhenTold, UInt32(kTracks));
        EXPECT_EQ(audio.numRecordedTracks(), UInt32(kTracks));
        EXPECT_FALSE(audio.recording());
        EXPECT_GT(Capture::GetVUMax(), 0.3f);
        audio.stopPlayThru();
    }
    Platform::SetUsbBus(nullptr);
    Platform::SetHardware(nullptr);

    // A gap is found at its fourth quiet half second, so each split lies 1.5 to 2.5 s into
    // its gap; a track runs from one split to the next (the first from the start).
    for (int k = 0; k < kTracks; ++k) {
        SCOPED_TRACE(k + 1);
        const TrackFile file = ReadTrack(UInt32(k + 1));
        ASSERT_GT(file.seconds, 0.0);
        const double shortest = kTrackSeconds + 1.5 - (k == 0 ? 0.0 : 2.5);
        const double longest = kTrackSeconds + 2.5 + (k == 0 ? 1.5 : 1.5) + 1.0;
        EXPECT_GT(file.seconds, shortest);
        EXPECT_LT(file.seconds, longest);
        EXPECT_NEAR(file.dominantHz, kToneHz[k], 40.0) << "each file holds its own track";
    }
    // The fifth, uncounted: the silence from the last split to the album end (60.5 s of
    // quiet in all, 2 s of which came before the split).
    const TrackFile last = ReadTrack(kTracks + 1);
    EXPECT_GT(last.seconds, 55.0);
    EXPECT_LT(last.seconds, 62.0);
    RemoveTrackFiles();
}
