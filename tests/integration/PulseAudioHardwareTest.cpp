#include "platform/PulseAudioHardware.h"

#include "PulseDaemon.h"
#include "WaitUntil.h"
#include "platform/AudioHardware.h"
#include "platform/HostTime.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <set>
#include <thread>

using namespace Tolm::Platform;
using Tolm::Test::PulseDaemon;
using namespace std::chrono_literals;

using Tolm::Test::WaitUntil;

namespace {

// Different in every frame and channel, and exactly a float32.
float Signal(std::uint64_t frame, unsigned channel)
{
    return float(std::sin(double(frame) * 0.0123 + channel)) * 0.5f;
}

// Keeps what an input stream delivers, in memory sized up front.
struct Capture {
    explicit Capture(std::size_t maxFrames) : left(maxFrames), right(maxFrames), blockSizes(maxFrames) {}

    std::vector<float> left, right;
    std::vector<UInt32> blockSizes;
    std::atomic<std::size_t> frames{0};
    std::atomic<std::size_t> blocks{0};
    std::atomic<int> wrongSampleTimes{0};
    std::atomic<int> wrongShapes{0};
    std::atomic<UInt32> largestBlock{0};
    UInt32 limit = 0; // BufferFrames()

    static OSStatus Proc(void* refCon, const AudioTimeStamp& time, UInt32 n, AudioBufferList* data)
    {
        auto* self = static_cast<Capture*>(refCon);
        const std::size_t at = self->frames.load(std::memory_order_relaxed);
        if (time.mSampleTime != double(at))
            ++self->wrongSampleTimes;
        if (data->mNumberBuffers != 2 || n == 0 || n > self->limit ||
            data->mBuffers[0].mDataByteSize != n * sizeof(float))
            ++self->wrongShapes;
        const std::size_t count =
            std::min<std::size_t>(n, self->left.size() - std::min(at, self->left.size()));
        std::copy_n(static_cast<const float*>(data->mBuffers[0].mData), count, self->left.begin() + long(at));
        std::copy_n(static_cast<const float*>(data->mBuffers[1].mData), count,
                    self->right.begin() + long(at));
        const std::size_t block = self->blocks.load(std::memory_order_relaxed);
        if (block < self->blockSizes.size())
            self->blockSizes[block] = n;
        self->blocks.store(block + 1, std::memory_order_relaxed);
        if (n > self->largestBlock)
            self->largestBlock = n;
        self->frames.store(at + n, std::memory_order_release);
        return noErr;
    }
};

class PulseAudioHardwareTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite()
    {
        sDaemon = new PulseDaemon;
        sDaemon->Start();
    }
    static void TearDownTestSuite()
    {
        delete sDaemon;
        sDaemon = nullptr;
    }

    void SetUp() override
    {
        if (!sDaemon->Running())
            GTEST_SKIP() << sDaemon->SkipReason();
        ASSERT_TRUE(sDaemon->LoadPipeSource());
        std::string error;
        mHardware = PulseAudioHardware::Connect(std::chrono::seconds(5), &error);
        ASSERT_TRUE(mHardware) << error;
    }

    void TearDown() override
    {
        if (sDaemon)
            sDaemon->StopFeeding();
    }

    AudioDeviceID FindByName(const std::string& name) const
    {
        for (const auto& device : mHardware->Devices())
            if (device.name == name)
                return device.id;
        return kAudioDeviceUnknown;
    }

    static PulseDaemon* sDaemon;
    std::shared_ptr<PulseAudioHardware> mHardware;
};

PulseDaemon* PulseAudioHardwareTest::sDaemon = nullptr;

} // namespace

TEST_F(PulseAudioHardwareTest, ListsThePipeSourceAsAUsbInputAndTheNullSinkAsOutput)
{
    const auto devices = mHardware->Devices();
    std::set<AudioDeviceID> ids;
    const AudioDeviceInfo* codec = nullptr;
    const AudioDeviceInfo* speakers = nullptr;
    for (const auto& device : devices) {
        EXPECT_NE(device.id, 0u);
        EXPECT_LT(device.id, 0x70000000u);
        EXPECT_TRUE(ids.insert(device.id).second) << "duplicate id " << device.id;
        // The null sink's monitor records what it plays: not a device of its own.
        EXPECT_EQ(device.description.find("Monitor of"), std::string::npos) << device.description;
        if (device.name == PulseDaemon::kProductName)
            codec = &device;
        if (device.outputChannels > 0)
            speakers = &device;
    }
    ASSERT_TRUE(codec) << "no input device named \"USB Audio CODEC \" (with its trailing blank)";
    EXPECT_EQ(codec->description, PulseDaemon::kDescription);
    EXPECT_EQ(codec->inputChannels, 2u);
    EXPECT_EQ(codec->outputChannels, 0u);
    EXPECT_EQ(codec->nominalSampleRate, 48000.0);
    EXPECT_EQ(codec->bufferFrames, 512u);
    EXPECT_EQ(codec->safetyOffsetFrames, 512u);
    ASSERT_TRUE(codec->usb.has_value());
    EXPECT_EQ(codec->usb->vendorId, 0x08bb);
    EXPECT_EQ(codec->usb->productId, 0x2902);
    EXPECT_EQ(FindByName("USB Audio CODEC"), kAudioDeviceUnknown); // no trimming

    ASSERT_TRUE(speakers);
    EXPECT_EQ(speakers->name, "Null Output"); // no product name: the description stands in
    EXPECT_EQ(speakers->inputChannels, 0u);
    EXPECT_FALSE(speakers->usb.has_value());
    EXPECT_EQ(mHardware->DefaultOutputDevice(), speakers->id);
    EXPECT_EQ(mHardware->DefaultInputDevice(), codec->id);

    AudioDeviceInfo info;
    ASSERT_EQ(mHardware->GetDevice(codec->id, info), noErr);
    EXPECT_EQ(info.name, codec->name);
    EXPECT_EQ(mHardware->GetDevice(kAudioDeviceUnknown, info), kAudioHardwareBadDeviceError);
}

TEST_F(PulseAudioHardwareTest, UnplugAndPlugRaiseDeviceSetNotifications)
{
    std::atomic<int> changes{0};
    std::atomic<bool> listedDuringNotification{false};
    const auto listener = mHardware->AddDeviceSetListener([&] {
        // Listeners may call back in; what they see is already up to date.
        listedDuringNotification = !mHardware->Devices().empty();
        ++changes;
    });
    const AudioDeviceID before = FindByName(PulseDaemon::kProductName);
    ASSERT_NE(before, kAudioDeviceUnknown);

    ASSERT_TRUE(sDaemon->UnloadPipeSource());
    ASSERT_TRUE(WaitUntil([&] { return changes >= 1; }));
    EXPECT_EQ(FindByName(PulseDaemon::kProductName), kAudioDeviceUnknown);
    EXPECT_TRUE(listedDuringNotification); // the null sink is still there
    AudioDeviceInfo info;
    EXPECT_EQ(mHardware->GetDevice(before, info), kAudioHardwareBadDeviceError);

    const int afterUnplug = changes;
    ASSERT_TRUE(sDaemon->LoadPipeSource());
    ASSERT_TRUE(WaitUntil([&] { return changes > afterUnplug; }));
    const AudioDeviceID after = FindByName(PulseDaemon::kProductName);
    ASSERT_NE(after, kAudioDeviceUnknown);
    EXPECT_NE(after, before); // a new device, as after a replug

    mHardware->RemoveListener(listener);
    const int removed = changes;
    ASSERT_TRUE(sDaemon->UnloadPipeSource());
    mHardware->FlushNotifications();
    EXPECT_EQ(changes, removed);
}

TEST_F(PulseAudioHardwareTest, InputStreamsRecordWhatIsFedFrameForFrame)
{
    const AudioDeviceID codec = FindByName(PulseDaemon::kProductName);
    ASSERT_NE(codec, kAudioDeviceUnknown);
    constexpr std::size_t kFrames = 5 * 48000;
    // Two streams on one source, as the recorder and the play-through engine open them.
    Capture first(kFrames), second(kFrames);
    std::unique_ptr<AudioStream> a, b;
    ASSERT_EQ(mHardware->OpenInputStream(codec, &Capture::Proc, &first, a), noErr);
    ASSERT_EQ(mHardware->OpenInputStream(codec, &Capture::Proc, &second, b), noErr);
    first.limit = a->BufferFrames();
    second.limit = b->BufferFrames();
    EXPECT_EQ(a->BufferFrames(), 512u);
    EXPECT_EQ(a->ClientFormat().mSampleRate, 48000.0);
    EXPECT_EQ(a->ClientFormat().mChannelsPerFrame, 2u);
    AudioTimeStamp now{};
    EXPECT_EQ(a->GetCurrentTime(now), kAudioHardwareNotRunningError);

    ASSERT_EQ(a->Start(), noErr);
    ASSERT_EQ(b->Start(), noErr);
    sDaemon->Feed(&Signal, kFrames, PulseDaemon::Pace::Unpaced);
    ASSERT_TRUE(sDaemon->WaitFed(60s)) << sDaemon->FeedError();
    ASSERT_TRUE(WaitUntil([&] { return first.frames >= kFrames && second.frames >= kFrames; }))
        << first.frames << " and " << second.frames << " of " << kFrames;
    ASSERT_EQ(a->GetCurrentTime(now), noErr);
    EXPECT_GE(now.mSampleTime, double(kFrames));
    ASSERT_EQ(a->Stop(), noErr);
    ASSERT_EQ(b->Stop(), noErr);

    for (const Capture* capture : {&first, &second}) {
        EXPECT_EQ(capture->frames, kFrames);
        EXPECT_EQ(capture->wrongSampleTimes, 0);
        EXPECT_EQ(capture->wrongShapes, 0);
        for (std::size_t f = 0; f < kFrames; ++f) {
            ASSERT_EQ(capture->left[f], Signal(f, 0)) << "frame " << f;
            ASSERT_EQ(capture->right[f], Signal(f, 1)) << "frame " << f;
        }
    }
    const auto stats = a->Statistics();
    EXPECT_EQ(stats.frames, kFrames);
    EXPECT_EQ(stats.holes, 0u);
    RecordProperty("largest_block", int(first.largestBlock));
    RecordProperty("blocks", int(first.blocks));
}

TEST_F(PulseAudioHardwareTest, RealTimeInputHasADeviceClockAndUnpluggingEndsIt)
{
    const AudioDeviceID codec = FindByName(PulseDaemon::kProductName);
    ASSERT_NE(codec, kAudioDeviceUnknown);
    Capture capture(60 * 48000);
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(mHardware->OpenInputStream(codec, &Capture::Proc, &capture, stream), noErr);
    capture.limit = stream->BufferFrames();
    ASSERT_EQ(stream->Start(), noErr);
    sDaemon->Feed(&Signal, 60 * 48000, PulseDaemon::Pace::RealTime);
    ASSERT_TRUE(WaitUntil([&] { return capture.frames >= 3 * 48000; }, 60s));

    AudioTimeStamp now{};
    ASSERT_EQ(stream->GetCurrentTime(now), noErr);
    EXPECT_TRUE(now.mFlags & kAudioTimeStampRateScalarValid);
    // Fed at real time, the measured clock is near nominal (a loaded machine makes it wobble,
    // never leave the range a clock can have).
    EXPECT_GT(now.mRateScalar, 0.8);
    EXPECT_LT(now.mRateScalar, 1.25);
    EXPECT_NEAR(double(now.mHostTime), double(AudioGetCurrentHostTime()), 1e9);
    AudioDeviceInfo info;
    ASSERT_EQ(mHardware->GetDevice(codec, info), noErr);
    EXPECT_GT(info.actualSampleRate, 0.0);
    RecordProperty("rate_scalar", std::to_string(now.mRateScalar));

    // Not moved to another source when unplugged: the stream ends, nothing more arrives.
    ASSERT_TRUE(sDaemon->UnloadPipeSource());
    ASSERT_TRUE(WaitUntil([&] { return !stream->IsRunning(); }));
    EXPECT_EQ(stream->GetCurrentTime(now), kAudioHardwareNotRunningError);
    const std::size_t frames = capture.frames;
    EXPECT_EQ(capture.wrongSampleTimes, 0);
    EXPECT_EQ(capture.wrongShapes, 0);
    for (std::size_t f = 0; f < frames; ++f)
        ASSERT_EQ(capture.left[f], Signal(f, 0)) << "frame " << f;

    EXPECT_EQ(stream->Start(), kAudioHardwareBadDeviceError);
    EXPECT_EQ(stream->Stop(), noErr);
    EXPECT_EQ(stream->Start(), kAudioHardwareBadDeviceError); // the device is gone
    stream.reset();
}

TEST_F(PulseAudioHardwareTest, OutputStreamIsAskedForBlocksAtItsSampleTimes)
{
    const AudioDeviceID speakers = mHardware->DefaultOutputDevice();
    ASSERT_NE(speakers, kAudioDeviceUnknown);
    struct Tone {
        std::atomic<UInt64> frames{0};
        std::atomic<int> wrongSampleTimes{0};
        std::atomic<UInt32> largestBlock{0};
        static OSStatus Proc(void* refCon, const AudioTimeStamp& time, UInt32 n, AudioBufferList* data)
        {
            auto* self = static_cast<Tone*>(refCon);
            if (time.mSampleTime != double(self->frames))
                ++self->wrongSampleTimes;
            for (UInt32 c = 0; c < data->mNumberBuffers; ++c)
                for (UInt32 f = 0; f < n; ++f)
                    static_cast<float*>(data->mBuffers[c].mData)[f] = Signal(self->frames + f, c);
            self->frames += n;
            self->largestBlock = std::max<UInt32>(self->largestBlock, n);
            return noErr;
        }
    } tone;
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(mHardware->OpenOutputStream(speakers, &Tone::Proc, &tone, stream), noErr);
    ASSERT_EQ(stream->Start(), noErr);
    ASSERT_TRUE(WaitUntil([&] { return tone.frames >= 24000; }));
    AudioTimeStamp now{};
    EXPECT_EQ(stream->GetCurrentTime(now), noErr);
    ASSERT_EQ(stream->Stop(), noErr);
    const UInt64 stopped = tone.frames;
    // Another stream on the same speakers shows the server kept asking, just not the stopped one.
    Tone witness;
    std::unique_ptr<AudioStream> witnessStream;
    ASSERT_EQ(mHardware->OpenOutputStream(speakers, &Tone::Proc, &witness, witnessStream), noErr);
    ASSERT_EQ(witnessStream->Start(), noErr);
    ASSERT_TRUE(WaitUntil([&] { return witness.frames >= 4800; }));
    EXPECT_EQ(tone.frames, stopped);
    EXPECT_EQ(tone.wrongSampleTimes, 0);
    EXPECT_LE(tone.largestBlock, stream->BufferFrames());
    RecordProperty("largest_block", int(tone.largestBlock));
}

TEST_F(PulseAudioHardwareTest, ComesBackWhenTheServerIsRestarted)
{
    const AudioDeviceID before = FindByName(PulseDaemon::kProductName);
    ASSERT_NE(before, kAudioDeviceUnknown);
    Capture capture(48000);
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(mHardware->OpenInputStream(before, &Capture::Proc, &capture, stream), noErr);
    capture.limit = stream->BufferFrames();
    ASSERT_EQ(stream->Start(), noErr);
    std::atomic<int> changes{0};
    mHardware->AddDeviceSetListener([&] { ++changes; });

    ASSERT_TRUE(sDaemon->Restart()) << sDaemon->SkipReason();
    ASSERT_TRUE(WaitUntil([&] { return !stream->IsRunning(); }));
    ASSERT_TRUE(WaitUntil([&] {
        return mHardware->Connected() && FindByName(PulseDaemon::kProductName) != kAudioDeviceUnknown;
    }));
    EXPECT_GE(changes, 1);
    const AudioDeviceID after = FindByName(PulseDaemon::kProductName);
    EXPECT_NE(after, before);
    EXPECT_EQ(mHardware->DefaultInputDevice(), after);

    // The old stream stays ended; a new one on the new device records.
    EXPECT_EQ(stream->Stop(), noErr);
    stream.reset();
    Capture again(9600);
    ASSERT_EQ(mHardware->OpenInputStream(after, &Capture::Proc, &again, stream), noErr);
    again.limit = stream->BufferFrames();
    ASSERT_EQ(stream->Start(), noErr);
    sDaemon->Feed(&Signal, 9600, PulseDaemon::Pace::Unpaced);
    ASSERT_TRUE(WaitUntil([&] { return again.frames >= 9600; }));
    EXPECT_EQ(again.left[9599], Signal(9599, 0));
}

TEST_F(PulseAudioHardwareTest, TheProcessWideHardwareIsTheServerWhenOneAnswers)
{
    SetHardware(nullptr);
    bool found = false;
    for (const auto& device : Hardware().Devices())
        found = found || device.name == PulseDaemon::kProductName;
    EXPECT_TRUE(found);

    // No server: a null output keeps monitoring working.
    const std::string server = std::getenv("PULSE_SERVER");
    setenv("PULSE_SERVER", "unix:/nonexistent/native", 1);
    SetHardware(nullptr);
    const auto devices = Hardware().Devices();
    setenv("PULSE_SERVER", server.c_str(), 1);
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(devices[0].name, "Null Output");
    EXPECT_EQ(devices[0].outputChannels, 2u);
    EXPECT_EQ(Hardware().DefaultOutputDevice(), devices[0].id);
    EXPECT_EQ(Hardware().DefaultInputDevice(), kAudioDeviceUnknown);
    SetHardware(nullptr);
}
