#include "AudioTestSupport.h"
#include "capture/InputChain.h"
#include "filters/GapDetector.h"
#include "monitoring/CAPlayThroughHost.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sndfile.h>
#include <thread>

using namespace Tolm;
using Capture::Audio;

namespace {

constexpr float kLeft = 0.25f;
constexpr float kRight = -0.125f;
constexpr UInt32 kBlock = 512; // the virtual devices' buffer size

struct TrackFile {
    int rate = 0; // 0: no file
    int channels = 0;
    std::vector<float> samples; // interleaved
};

TrackFile ReadTrack(UInt32 track)
{
    TrackFile file;
    SF_INFO info{};
    SNDFILE* sf = sf_open(Tolm::Test::TakePath(track).toUtf8().constData(), SFM_READ, &info);
    if (!sf)
        return file;
    file.rate = info.samplerate;
    file.channels = info.channels;
    file.samples.resize(size_t(info.frames) * size_t(info.channels));
    sf_readf_float(sf, file.samples.data(), info.frames);
    sf_close(sf);
    return file;
}

void RemoveTrackFiles()
{
    for (UInt32 n = 1; n <= 12; ++n)
        std::filesystem::remove(Tolm::Test::TakePath(n).toStdString());
}

class AudioRecording : public Tolm::Test::VirtualRig {
  protected:
    void SetUp() override
    {
        VirtualRig::SetUp();
        RemoveTrackFiles();
        bus->Add(0x08bb, 0x2902);
        codec = AddInput("USB Audio CODEC ",
                         [](UInt64, UInt32 channel) { return channel == 0 ? kLeft : kRight; });
        audio = std::make_unique<Audio>(&alerts);
        audio->setTakeFolder(Tolm::Test::TakeFolder());
        delegate.audio = audio.get();
        audio->setDelegate(&delegate);
        ASSERT_EQ(audio->detectAudioDevice(), Audio::kDetectSelected);
        audio->startPlayThru();
    }

    void TearDown() override
    {
        audio->setNoFilter(); // the equaliser is process-wide
        audio.reset();
        RemoveTrackFiles();
        VirtualRig::TearDown();
    }

    void Record(bool split)
    {
        audio->resetTrackCounter();
        Capture::ResetVUMax();
        audio->setAutomaticTrackSplit(split);
        ASSERT_TRUE(audio->newTrack());
    }

    void Pump(UInt32 blocks) { hardware->Pump(codec, blocks * kBlock); }

    // As the gap detector does it: from its audio thread.
    void FromAudioThread(const std::function<void()>& events) { std::thread(events).join(); }

    Tolm::Test::RecordedAlerts alerts;
    Tolm::Test::CountingDelegate delegate;
    std::unique_ptr<Audio> audio;
    AudioDeviceID codec = 0;
};

} // namespace

// The files hold the input as it came, unequalised; a gain change is heard at once and
// written from the next track on. A link planted at a track's path is replaced, not followed.
TEST_F(AudioRecording, TrackFilesHoldTheInputAndAGainChangeStartsWithTheNextTrack)
{
    const std::string victim = std::filesystem::temp_directory_path() / "tolm-capture-victim.txt";
    std::ofstream(victim) << "precious";
    std::filesystem::create_symlink(victim, Tolm::Test::TakePath(1).toStdString());
    audio->setRIAAFilter();
    Record(true);
    EXPECT_TRUE(audio->recording());
    EXPECT_EQ(audio->outputFilePath(), Tolm::Test::TakePath(1));
    Pump(20);
    audio->setGainDb(6.0f);
    Capture::GetVUMaxL(); // clear the peak held from before the change
    Pump(20);
    const float louder = std::pow(10.0f, 6.0f / 20.0f);
    EXPECT_NEAR(Capture::GetVUMaxL(), kLeft * louder, 1e-5f) << "meters follow the monitored gain";
    ASSERT_TRUE(audio->newTrack());
    EXPECT_EQ(audio->outputFilePath(), Tolm::Test::TakePath(2));
    Pump(20);
    audio->stopRecording();
    EXPECT_FALSE(audio->recording());
    EXPECT_EQ(audio->numRecordedTracks(), 2u);

    const TrackFile first = ReadTrack(1), second = ReadTrack(2);
    ASSERT_EQ(first.rate, 44100);
    ASSERT_EQ(second.rate, 44100);
    ASSERT_EQ(first.channels, 2);
    ASSERT_EQ(first.samples.size(), 40u * kBlock * 2);
    for (size_t i = 0; i < first.samples.size(); i += 2) {
        ASSERT_EQ(first.samples[i], kLeft) << "the running track keeps its gain, frame " << i / 2;
        ASSERT_EQ(first.samples[i + 1], kRight);
    }
    ASSERT_FALSE(second.samples.empty());
    EXPECT_FLOAT_EQ(second.samples[0], kLeft * louder);
    EXPECT_FLOAT_EQ(second.samples[1], kRight * louder);
    EXPECT_FALSE(std::filesystem::is_symlink(Tolm::Test::TakePath(1).toStdString()));
    std::string content;
    std::getline(std::ifstream(victim), content);
    EXPECT_EQ(content, "precious");
    std::filesystem::remove(victim);
}

TEST_F(AudioRecording, GapsSplitAndTheAlbumEndStopsOnTheMainThread)
{
    Record(true);
    for (int gap = 0; gap < 3; ++gap) {
        Pump(10);
        FromAudioThread([&] { audio->trackGapDetected(); });
        ASSERT_TRUE(
            Tolm::Test::ProcessEventsUntil([&] { return audio->numRecordedTracks() == UInt32(gap + 2); }));
        EXPECT_TRUE(audio->recording());
    }
    Pump(10);
    FromAudioThread([&] { audio->albumEndDetected(); });
    EXPECT_EQ(delegate.albumEnds, 0) << "nothing happens on the audio thread";
    ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return delegate.albumEnds > 0; }));
    Tolm::Test::Settle();
    EXPECT_EQ(delegate.albumEnds, 1);
    EXPECT_EQ(delegate.tracksWhenTold, 3u);
    EXPECT_EQ(audio->numRecordedTracks(), 3u);
    EXPECT_FALSE(audio->recording());
    // The fourth file, started at the last gap, stays in the folder uncounted.
    for (UInt32 n = 1; n <= 4; ++n)
        EXPECT_EQ(ReadTrack(n).samples.size(), 10u * kBlock * 2) << n;
}

// Events faster than the main thread keep their order; events queued before the user
// stops still act; without automatic splitting they do nothing.
TEST_F(AudioRecording, QueuedEventsActInOrderAndOnlyWhenSplittingAutomatically)
{
    Record(true);
    FromAudioThread([&] {
        audio->trackGapDetected();
        audio->trackGapDetected();
        audio->albumEndDetected();
    });
    ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return delegate.albumEnds == 1; }));
    EXPECT_EQ(delegate.tracksWhenTold, 2u) << "both splits ran before the album end";

    Record(true);
    FromAudioThread([&] { audio->trackGapDetected(); });
    audio->stopRecording();
    ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return audio->numRecordedTracks() == 2; }));
    EXPECT_TRUE(audio->recording()) << "the queued split starts a new recording after the stop";
    FromAudioThread([&] { audio->albumEndDetected(); });
    audio->stopRecording();
    ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return delegate.albumEnds == 2; }));
    EXPECT_EQ(audio->numRecordedTracks(), 1u);

    Record(false);
    FromAudioThread([&] {
        audio->trackGapDetected();
        audio->albumEndDetected();
    });
    Tolm::Test::Settle();
    EXPECT_EQ(audio->numRecordedTracks(), 1u);
    EXPECT_TRUE(audio->recording());
    EXPECT_EQ(delegate.albumEnds, 2);
    audio->stopRecording();
}

TEST_F(AudioRecording, FileThatCannotBeMadeWarnsAndTheCountGoesOn)
{
    hardware->RemoveDevice(codec); // the recorder then has no device to open
    testing::internal::CaptureStderr();
    EXPECT_FALSE(audio->newTrack());
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("newRecorder Error: "), std::string::npos) << err;
    ASSERT_EQ(alerts.messages.size(), 1u);
    EXPECT_EQ(alerts.messages[0],
              QStringLiteral("IDS_WARNING/There was a problem creating the audio file. Your "
                             "recording may not be successful."));
    EXPECT_FALSE(audio->recording());
    EXPECT_EQ(audio->numRecordedTracks(), 1u);
}

TEST_F(AudioRecording, EachTrackSetsTheGapDetectorToTheDevicesRate)
{
    bus->Clear();
    bus->Add(0x08bb, 0x2900);
    hardware->RemoveDevice(codec);
    codec = AddInput("USB Audio CODEC ", nullptr, 48000.0);
    ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return audio->inputDeviceID() == codec; }));
    Record(true);
    EXPECT_EQ(Capture::gapDetector.load()->sampleRate, 48000.0f);
    Pump(4);
    audio->stopRecording();
    EXPECT_EQ(ReadTrack(1).rate, 48000);
}
