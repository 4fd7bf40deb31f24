#include "platform/VirtualAudioHardware.h"

#include "platform/HostTime.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

using namespace Tolm::Platform;
using namespace std::chrono_literals;

namespace {

template <typename Predicate> bool WaitUntil(Predicate predicate, std::chrono::milliseconds timeout = 10s)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// What an input callback saw: each block's size and sample time, and the samples.
struct Recording {
    std::mutex mutex;
    std::vector<UInt32> blockFrames;
    std::vector<Float64> sampleTimes;
    std::vector<std::vector<float>> channels;
    std::atomic<UInt64> frames{0};

    static OSStatus Proc(void* refCon, const AudioTimeStamp& time, UInt32 frames, AudioBufferList* data)
    {
        auto* self = static_cast<Recording*>(refCon);
        std::lock_guard lock(self->mutex);
        self->blockFrames.push_back(frames);
        self->sampleTimes.push_back(time.mSampleTime);
        self->channels.resize(data->mNumberBuffers);
        for (UInt32 c = 0; c < data->mNumberBuffers; ++c) {
            const auto* samples = static_cast<const float*>(data->mBuffers[c].mData);
            EXPECT_EQ(data->mBuffers[c].mDataByteSize, frames * sizeof(float));
            self->channels[c].insert(self->channels[c].end(), samples, samples + frames);
        }
        self->frames += frames;
        return noErr;
    }
};

// Left channel counts frames, right channel counts them negated.
float Ramp(UInt64 frame, UInt32 channel)
{
    return channel == 0 ? float(frame) : -float(frame);
}

VirtualDeviceSpec Turntable()
{
    VirtualDeviceSpec spec;
    spec.name = "USB Audio CODEC ";
    spec.description = "USB turntable";
    spec.inputChannels = 2;
    spec.sampleRate = 48000.0;
    spec.bufferFrames = 256;
    spec.safetyOffsetFrames = 32;
    spec.usb = UsbIdentity{0x08bb, 0x2902};
    return spec;
}

VirtualDeviceSpec Speakers()
{
    VirtualDeviceSpec spec;
    spec.name = "Speakers";
    spec.outputChannels = 2;
    spec.sampleRate = 48000.0;
    spec.bufferFrames = 128;
    return spec;
}

} // namespace

TEST(VirtualAudioHardware, ListsDevicesWithTheirPropertiesAndDefaults)
{
    VirtualAudioHardware hardware;
    EXPECT_TRUE(hardware.Devices().empty());
    EXPECT_EQ(hardware.DefaultInputDevice(), kAudioDeviceUnknown);

    const AudioDeviceID input = hardware.AddDevice(Turntable());
    const AudioDeviceID output = hardware.AddDevice(Speakers());
    hardware.SetDefaultInputDevice(input);
    hardware.SetDefaultOutputDevice(output);

    EXPECT_GT(input, 0x70000000u);
    EXPECT_NE(input, output);
    const auto devices = hardware.Devices();
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].id, input);
    EXPECT_EQ(devices[0].name, "USB Audio CODEC ");
    EXPECT_EQ(devices[0].description, "USB turntable");
    EXPECT_EQ(devices[0].inputChannels, 2u);
    EXPECT_EQ(devices[0].outputChannels, 0u);
    EXPECT_EQ(devices[0].nominalSampleRate, 48000.0);
    EXPECT_EQ(devices[0].safetyOffsetFrames, 32u);
    EXPECT_EQ(devices[0].bufferFrames, 256u);
    EXPECT_EQ(devices[0].usb, (UsbIdentity{0x08bb, 0x2902}));
    EXPECT_EQ(devices[1].description, "Speakers"); // defaults to the name
    EXPECT_FALSE(devices[1].usb.has_value());
    EXPECT_EQ(hardware.DefaultInputDevice(), input);
    EXPECT_EQ(hardware.DefaultOutputDevice(), output);

    AudioDeviceInfo info;
    EXPECT_EQ(hardware.GetDevice(kAudioDeviceUnknown, info), kAudioHardwareBadDeviceError);
    std::unique_ptr<AudioStream> stream;
    Recording recording;
    EXPECT_EQ(hardware.OpenInputStream(output, &Recording::Proc, &recording, stream),
              kAudioHardwareBadDeviceError);
    EXPECT_EQ(hardware.OpenOutputStream(input, &Recording::Proc, &recording, stream),
              kAudioHardwareBadDeviceError);

    hardware.RemoveDevice(input);
    EXPECT_EQ(hardware.DefaultInputDevice(), kAudioDeviceUnknown);
    EXPECT_EQ(hardware.GetDevice(input, info), kAudioHardwareBadDeviceError);
}

TEST(VirtualAudioHardware, InputStreamsShareTheDeviceClockAndSignal)
{
    VirtualAudioHardware hardware;
    const AudioDeviceID id = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));
    Recording first, second;
    std::unique_ptr<AudioStream> a, b;
    ASSERT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &first, a), noErr);
    ASSERT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &second, b), noErr);
    EXPECT_EQ(a->BufferFrames(), 256u);
    const auto client = a->ClientFormat();
    EXPECT_EQ(client.mChannelsPerFrame, 2u);
    EXPECT_TRUE(client.mFormatFlags & kAudioFormatFlagIsNonInterleaved);

    AudioTimeStamp now{};
    EXPECT_EQ(a->GetCurrentTime(now), kAudioHardwareNotRunningError);
    hardware.Pump(id, 100); // before either runs: lost to both
    ASSERT_EQ(a->Start(), noErr);
    ASSERT_EQ(b->Start(), noErr);
    hardware.Pump(id, 1000);

    EXPECT_EQ(first.blockFrames, (std::vector<UInt32>{256, 256, 256, 232}));
    EXPECT_EQ(first.sampleTimes, (std::vector<Float64>{100, 356, 612, 868}));
    EXPECT_EQ(first.sampleTimes, second.sampleTimes);
    ASSERT_EQ(first.channels.size(), 2u);
    for (UInt32 f = 0; f < 1000; ++f) {
        ASSERT_EQ(first.channels[0][f], float(100 + f));
        ASSERT_EQ(first.channels[1][f], -float(100 + f));
    }
    EXPECT_EQ(second.channels, first.channels);

    ASSERT_EQ(a->GetCurrentTime(now), noErr);
    EXPECT_EQ(now.mSampleTime, 1100.0);
    EXPECT_EQ(now.mRateScalar, 1.0);
    EXPECT_EQ(a->Statistics().frames, 1000u);

    ASSERT_EQ(a->Stop(), noErr);
    hardware.Pump(id, 256);
    EXPECT_EQ(first.frames, 1000u);
    EXPECT_EQ(second.frames, 1256u);
    EXPECT_EQ(a->GetCurrentTime(now), kAudioHardwareNotRunningError);
}

TEST(VirtualAudioHardware, HoleAdvancesSampleTimeAndIsCounted)
{
    VirtualAudioHardware hardware;
    const AudioDeviceID id = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));
    Recording recording;
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &recording, stream), noErr);
    ASSERT_EQ(stream->Start(), noErr);

    hardware.Pump(id, 256);
    hardware.InjectHole(id, 300); // more than one block
    hardware.Pump(id, 1024);

    EXPECT_EQ(recording.blockFrames, (std::vector<UInt32>{256, 212, 256, 256}));
    EXPECT_EQ(recording.sampleTimes, (std::vector<Float64>{0, 556, 768, 1024}));
    EXPECT_EQ(recording.frames, 256u + 1024u - 300u);
    // The frames after the hole are where the signal had got to, not where it stopped.
    const auto& left = recording.channels[0];
    EXPECT_EQ(left[255], 255.0f);
    EXPECT_EQ(left[256], float(256 + 300));
    EXPECT_EQ(left.back(), float(256 + 1024 - 1));

    const auto stats = stream->Statistics();
    EXPECT_EQ(stats.holes, 1u);
    EXPECT_EQ(stats.holeFrames, 300u);
    EXPECT_EQ(stats.frames, 980u);
    AudioTimeStamp now{};
    ASSERT_EQ(stream->GetCurrentTime(now), noErr);
    EXPECT_EQ(now.mSampleTime, 1280.0);
    // Each block's sample time is that of its first sample.
    for (std::size_t i = 0, frame = 0; i < recording.blockFrames.size(); frame += recording.blockFrames[i++])
        EXPECT_EQ(left[frame], float(recording.sampleTimes[i]));
}

TEST(VirtualAudioHardware, OutputStreamsAreMixedIntoCapturedOutput)
{
    VirtualAudioHardware hardware;
    const AudioDeviceID id = hardware.AddDevice(Speakers());
    struct Writer {
        float value;
        std::vector<Float64> sampleTimes;
        static OSStatus Proc(void* refCon, const AudioTimeStamp& time, UInt32 frames, AudioBufferList* data)
        {
            auto* self = static_cast<Writer*>(refCon);
            self->sampleTimes.push_back(time.mSampleTime);
            for (UInt32 c = 0; c < data->mNumberBuffers; ++c)
                for (UInt32 f = 0; f < frames; ++f)
                    static_cast<float*>(data->mBuffers[c].mData)[f] = c == 0 ? self->value : -self->value;
            return noErr;
        }
    } one{0.25f, {}}, two{0.5f, {}};
    std::unique_ptr<AudioStream> a, b;
    ASSERT_EQ(hardware.OpenOutputStream(id, &Writer::Proc, &one, a), noErr);
    ASSERT_EQ(hardware.OpenOutputStream(id, &Writer::Proc, &two, b), noErr);
    hardware.SetCaptureOutput(id, true);
    hardware.Pump(id, 10); // nothing plays yet: silence
    ASSERT_EQ(a->Start(), noErr);
    hardware.Pump(id, 200);
    ASSERT_EQ(b->Start(), noErr);
    hardware.Pump(id, 100);

    const std::vector<float> out = hardware.TakeCapturedOutput(id);
    ASSERT_EQ(out.size(), 2u * 310);
    EXPECT_EQ(out[0], 0.0f);
    EXPECT_EQ(out[2 * 10], 0.25f);
    EXPECT_EQ(out[2 * 10 + 1], -0.25f);
    EXPECT_EQ(out[2 * 209], 0.25f);
    EXPECT_EQ(out[2 * 210], 0.75f);
    EXPECT_EQ(out[2 * 309 + 1], -0.75f);
    EXPECT_EQ(one.sampleTimes, (std::vector<Float64>{10, 138, 210}));
    EXPECT_TRUE(hardware.TakeCapturedOutput(id).empty());
}

TEST(VirtualAudioHardware, ClientFormatTakesOtherChannelCountsButNotOtherRates)
{
    VirtualAudioHardware hardware;
    const AudioDeviceID id = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));
    Recording recording;
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &recording, stream), noErr);

    auto mono = stream->ClientFormat();
    mono.mChannelsPerFrame = 1;
    ASSERT_EQ(stream->SetClientFormat(mono), noErr);
    auto otherRate = mono;
    otherRate.mSampleRate = 44100.0;
    EXPECT_EQ(stream->SetClientFormat(otherRate), kAudioDeviceUnsupportedFormatError);
    auto interleaved = mono;
    interleaved.mFormatFlags &= ~kAudioFormatFlagIsNonInterleaved;
    EXPECT_EQ(stream->SetClientFormat(interleaved), kAudioDeviceUnsupportedFormatError);

    ASSERT_EQ(stream->Start(), noErr);
    EXPECT_EQ(stream->SetClientFormat(mono), kAudioHardwareIllegalOperationError);
    hardware.Pump(id, 10);
    ASSERT_EQ(recording.channels.size(), 1u);
    EXPECT_EQ(recording.channels[0][9], 9.0f);
    EXPECT_EQ(stream->DeviceFormat().mChannelsPerFrame, 2u);
}

TEST(VirtualAudioHardware, RemovingADeviceEndsItsStreamsAndNotifies)
{
    VirtualAudioHardware hardware;
    std::atomic<int> changes{0};
    const auto listener = hardware.AddDeviceSetListener([&] { ++changes; });
    const AudioDeviceID id = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));
    ASSERT_TRUE(WaitUntil([&] { return changes >= 1; }));

    Recording recording;
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &recording, stream), noErr);
    ASSERT_EQ(stream->Start(), noErr);
    hardware.Pump(id, 512);

    const int before = changes;
    hardware.RemoveDevice(id);
    ASSERT_TRUE(WaitUntil([&] { return changes > before; }));
    hardware.Pump(id, 512);
    AudioTimeStamp now{};
    EXPECT_EQ(stream->GetCurrentTime(now), kAudioHardwareNotRunningError);
    EXPECT_FALSE(stream->IsRunning());
    EXPECT_EQ(recording.frames, 512u);
    EXPECT_EQ(stream->Start(), kAudioHardwareBadDeviceError);
    EXPECT_EQ(stream->Stop(), noErr);
    stream.reset();
    hardware.RemoveListener(listener);
}

TEST(VirtualAudioHardware, SampleRateChangeNotifiesOnlyThatDevicesListeners)
{
    VirtualAudioHardware hardware;
    const AudioDeviceID a = hardware.AddDevice(Turntable());
    const AudioDeviceID b = hardware.AddDevice(Turntable());
    std::atomic<int> aChanges{0}, bChanges{0};
    hardware.AddStreamFormatListener(a, [&] { ++aChanges; });
    hardware.AddStreamFormatListener(b, [&] { ++bChanges; });

    Recording recording;
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(hardware.OpenInputStream(a, &Recording::Proc, &recording, stream), noErr);
    hardware.SetSampleRate(a, 44100.0);
    ASSERT_TRUE(WaitUntil([&] { return aChanges == 1; }));
    EXPECT_EQ(bChanges, 0);
    EXPECT_EQ(stream->DeviceFormat().mSampleRate, 44100.0);
    EXPECT_EQ(stream->ClientFormat().mSampleRate, 44100.0);
    AudioDeviceInfo info;
    ASSERT_EQ(hardware.GetDevice(a, info), noErr);
    EXPECT_EQ(info.nominalSampleRate, 44100.0);

    hardware.SetRateScalar(a, 1.001);
    ASSERT_EQ(hardware.GetDevice(a, info), noErr);
    EXPECT_DOUBLE_EQ(info.actualSampleRate, 44100.0 * 1.001);
    ASSERT_EQ(stream->Start(), noErr);
    hardware.Pump(a, 441);
    AudioTimeStamp now{};
    ASSERT_EQ(stream->GetCurrentTime(now), noErr);
    EXPECT_EQ(now.mRateScalar, 1.001);
}

TEST(VirtualAudioHardware, ListenersMayRemoveThemselvesAndRemovalWaitsForARunningOne)
{
    VirtualAudioHardware hardware;
    std::atomic<int> selfRemoving{0}, added{0};
    AudioHardware::ListenerId self = 0;
    std::atomic<bool> ready{false};
    self = hardware.AddDeviceSetListener([&] {
        while (!ready)
            std::this_thread::yield();
        ++selfRemoving;
        hardware.RemoveListener(self);
        hardware.AddDeviceSetListener([&] { ++added; });
        hardware.Devices(); // calling back in is fine
    });
    ready = true;
    hardware.AddDevice(Speakers());
    ASSERT_TRUE(WaitUntil([&] { return selfRemoving == 1; }));
    hardware.AddDevice(Speakers());
    ASSERT_TRUE(WaitUntil([&] { return added == 1; }));
    EXPECT_EQ(selfRemoving, 1);

    std::atomic<bool> inside{false}, release{false}, finished{false};
    const auto slow = hardware.AddDeviceSetListener([&] {
        inside = true;
        while (!release)
            std::this_thread::sleep_for(1ms);
        std::this_thread::sleep_for(20ms);
        finished = true;
    });
    hardware.AddDevice(Speakers());
    ASSERT_TRUE(WaitUntil([&] { return inside.load(); }));
    std::thread releaser([&] { release = true; });
    hardware.RemoveListener(slow);
    EXPECT_TRUE(finished);
    releaser.join();
}

TEST(VirtualAudioHardware, RealTimeDevicePacesBlocksAndCanBeStoppedFromItsCallback)
{
    VirtualAudioHardware hardware(VirtualAudioHardware::Clock::RealTime);
    const AudioDeviceID id = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));
    Recording recording;
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &recording, stream), noErr);

    const UInt64 started = AudioGetCurrentHostTime();
    ASSERT_EQ(stream->Start(), noErr);
    ASSERT_TRUE(WaitUntil([&] { return recording.frames >= 4800; }));
    const double frames = double(recording.frames);
    const double elapsed = double(AudioGetCurrentHostTime() - started) * 1e-9;
    // Paced, not as fast as it can: never more than what the time allowed, plus one block.
    EXPECT_LE(frames, elapsed * 48000.0 + 256.0);
    AudioTimeStamp now{};
    ASSERT_EQ(stream->GetCurrentTime(now), noErr);
    ASSERT_EQ(stream->Stop(), noErr);
    const UInt64 stoppedAt = recording.frames;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(recording.frames, stoppedAt);
    {
        std::lock_guard lock(recording.mutex);
        for (std::size_t i = 0; i < recording.blockFrames.size(); ++i) {
            EXPECT_EQ(recording.blockFrames[i], 256u);
            EXPECT_EQ(recording.sampleTimes[i], 256.0 * double(i));
        }
    }

    // A callback that stops its own stream must not wait for itself.
    struct SelfStopping {
        AudioStream* stream = nullptr;
        std::atomic<int> calls{0};
        static OSStatus Proc(void* refCon, const AudioTimeStamp&, UInt32, AudioBufferList*)
        {
            auto* self = static_cast<SelfStopping*>(refCon);
            if (++self->calls == 3)
                self->stream->Stop();
            return noErr;
        }
    } selfStopping;
    std::unique_ptr<AudioStream> other;
    ASSERT_EQ(hardware.OpenInputStream(id, &SelfStopping::Proc, &selfStopping, other), noErr);
    selfStopping.stream = other.get();
    ASSERT_EQ(other->Start(), noErr);
    ASSERT_TRUE(WaitUntil([&] { return !other->IsRunning(); }));
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(selfStopping.calls, 3);
}

TEST(VirtualAudioHardware, BackingHardwareDevicesComeFirstAndWorkThrough)
{
    auto backing = std::make_shared<VirtualAudioHardware>();
    const AudioDeviceID speakers = backing->AddDevice(Speakers());
    backing->SetDefaultOutputDevice(speakers);
    // Stands in for the sound server.
    VirtualAudioHardware hardware(VirtualAudioHardware::Clock::Manual, backing);
    const AudioDeviceID turntable = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));

    auto devices = hardware.Devices();
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].id, speakers);
    EXPECT_EQ(devices[1].id, turntable);
    EXPECT_EQ(hardware.DefaultOutputDevice(), speakers);
    AudioDeviceInfo info;
    ASSERT_EQ(hardware.GetDevice(speakers, info), noErr);
    EXPECT_EQ(info.name, "Speakers");

    std::atomic<int> setChanges{0}, formatChanges{0};
    hardware.AddDeviceSetListener([&] { ++setChanges; });
    const auto format = hardware.AddStreamFormatListener(speakers, [&] { ++formatChanges; });
    backing->AddDevice(Speakers());
    ASSERT_TRUE(WaitUntil([&] { return setChanges >= 1; }));
    backing->SetSampleRate(speakers, 44100.0);
    ASSERT_TRUE(WaitUntil([&] { return formatChanges == 1; }));
    hardware.RemoveListener(format);
    backing->SetSampleRate(speakers, 48000.0);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(formatChanges, 1);

    Recording recording;
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(hardware.OpenOutputStream(speakers, &Recording::Proc, &recording, stream), noErr);
    ASSERT_EQ(stream->Start(), noErr);
    backing->Pump(speakers, 128);
    EXPECT_EQ(recording.frames, 128u);
}
