#include "platform/VirtualAudioHardware.h"

#include "platform/HostTime.h"

#include "WaitUntil.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

using namespace Tolm::Platform;
using namespace std::chrono_literals;
using Tolm::Test::WaitUntil;

namespace {

// What a callback saw: each block's size and sample time, and the samples.
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

VirtualDeviceSpec Device(bool input, UInt32 bufferFrames)
{
    VirtualDeviceSpec spec;
    spec.name = input ? "USB Audio CODEC " : "Speakers";
    (input ? spec.inputChannels : spec.outputChannels) = 2;
    spec.sampleRate = 48000.0;
    spec.bufferFrames = bufferFrames;
    return spec;
}
VirtualDeviceSpec Turntable() { return Device(true, 256); }
VirtualDeviceSpec Speakers() { return Device(false, 128); }

std::unique_ptr<AudioStream> StartedInput(VirtualAudioHardware& hardware, AudioDeviceID id, Recording& recording)
{
    std::unique_ptr<AudioStream> stream;
    EXPECT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &recording, stream), noErr);
    EXPECT_EQ(stream->Start(), noErr);
    return stream;
}

} // namespace

TEST(VirtualAudioHardware, PumpedBlocksAndSampleTimesAreSharedByEveryInputStream)
{
    VirtualAudioHardware hardware;
    const AudioDeviceID id = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));
    Recording first, second;
    std::unique_ptr<AudioStream> a, b;
    ASSERT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &first, a), noErr);
    ASSERT_EQ(hardware.OpenInputStream(id, &Recording::Proc, &second, b), noErr);
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

    ASSERT_EQ(a->Stop(), noErr);
    hardware.Pump(id, 256);
    EXPECT_EQ(first.frames, 1000u);
    EXPECT_EQ(second.frames, 1256u);
}

TEST(VirtualAudioHardware, DeviceAndRateChangesNotifyTheirListenersAndRemovalEndsStreams)
{
    VirtualAudioHardware hardware;
    const AudioDeviceID b = hardware.AddDevice(Turntable());
    std::atomic<int> changes{0}, aChanges{0}, bChanges{0};
    hardware.AddDeviceSetListener([&] { ++changes; });
    const AudioDeviceID a = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));
    ASSERT_TRUE(WaitUntil([&] { return changes == 1; }));
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
    hardware.SetRateScalar(a, 1.001);
    AudioDeviceInfo info;
    ASSERT_EQ(hardware.GetDevice(a, info), noErr);
    EXPECT_DOUBLE_EQ(info.actualSampleRate, 44100.0 * 1.001);
    ASSERT_EQ(stream->Start(), noErr);
    hardware.Pump(a, 441);
    AudioTimeStamp now{};
    ASSERT_EQ(stream->GetCurrentTime(now), noErr);
    EXPECT_EQ(now.mRateScalar, 1.001);

    hardware.RemoveDevice(a);
    ASSERT_TRUE(WaitUntil([&] { return changes == 2; }));
    hardware.Pump(a, 512);
    EXPECT_FALSE(stream->IsRunning());
    EXPECT_EQ(recording.frames, 441u);
    EXPECT_EQ(stream->Start(), kAudioHardwareBadDeviceError);
    EXPECT_EQ(stream->Stop(), noErr);
}

TEST(VirtualAudioHardware, ListenersMayRemoveThemselvesAndRemovalWaitsForARunningOne)
{
    VirtualAudioHardware hardware;
    std::atomic<int> selfRemoving{0}, added{0};
    std::atomic<AudioHardware::ListenerId> self{0};
    self = hardware.AddDeviceSetListener([&] {
        while (self == 0)
            std::this_thread::yield();
        ++selfRemoving;
        hardware.RemoveListener(self);
        hardware.AddDeviceSetListener([&] { ++added; });
        hardware.Devices(); // calling back in is fine
    });
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
    const UInt64 started = AudioGetCurrentHostTime();
    const auto stream = StartedInput(hardware, id, recording);
    ASSERT_TRUE(WaitUntil([&] { return recording.frames >= 4800; }));
    const double elapsed = double(AudioGetCurrentHostTime() - started) * 1e-9;
    // Paced, not as fast as it can: never more than what the time allowed, plus one block.
    EXPECT_LE(double(recording.frames), elapsed * 48000.0 + 256.0);
    ASSERT_EQ(stream->Stop(), noErr);
    const UInt64 stoppedAt = recording.frames;
    // A second stream on the same device shows it ran on while the stopped one heard nothing.
    Recording witness;
    const auto witnessStream = StartedInput(hardware, id, witness);
    ASSERT_TRUE(WaitUntil([&] { return witness.frames >= 1024; }));
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
    const UInt64 witnessed = witness.frames;
    ASSERT_TRUE(WaitUntil([&] { return witness.frames >= witnessed + 1024; }));
    EXPECT_EQ(selfStopping.calls, 3);
}

TEST(VirtualAudioHardware, BackingHardwareDevicesComeFirstAndWorkThrough)
{
    auto backing = std::make_shared<VirtualAudioHardware>();
    const AudioDeviceID speakers = backing->AddDevice(Speakers());
    backing->SetDefaultOutputDevice(speakers);
    VirtualAudioHardware hardware(VirtualAudioHardware::Clock::Manual, backing);
    const AudioDeviceID turntable = hardware.AddDevice(Turntable(), MakeFunctionSource(Ramp));
    const auto devices = hardware.Devices();
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].id, speakers);
    EXPECT_EQ(devices[1].id, turntable);
    EXPECT_EQ(hardware.DefaultOutputDevice(), speakers);

    std::atomic<int> setChanges{0}, formatChanges{0};
    hardware.AddDeviceSetListener([&] { ++setChanges; });
    const auto format = hardware.AddStreamFormatListener(speakers, [&] { ++formatChanges; });
    backing->AddDevice(Speakers());
    ASSERT_TRUE(WaitUntil([&] { return setChanges >= 1; }));
    backing->SetSampleRate(speakers, 44100.0);
    ASSERT_TRUE(WaitUntil([&] { return formatChanges == 1; }));
    hardware.RemoveListener(format); // also from the backing hardware
    // Notifications arrive in order: once a later listener has heard the change, a removed
    // one would have too.
    std::atomic<int> witnessChanges{0};
    hardware.AddStreamFormatListener(speakers, [&] { ++witnessChanges; });
    backing->SetSampleRate(speakers, 48000.0);
    ASSERT_TRUE(WaitUntil([&] { return witnessChanges == 1; }));
    EXPECT_EQ(formatChanges, 1);

    Recording recording;
    std::unique_ptr<AudioStream> stream;
    ASSERT_EQ(hardware.OpenOutputStream(speakers, &Recording::Proc, &recording, stream), noErr);
    ASSERT_EQ(stream->Start(), noErr);
    backing->Pump(speakers, 128);
    EXPECT_EQ(recording.frames, 128u);
}
