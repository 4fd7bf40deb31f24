#include "platform/VirtualAudioHardware.h"

#include "base/TolmAssert.h"
#include "platform/ChannelBuffers.h"
#include "platform/HardwareNotifier.h"
#include "platform/HostTime.h"
#include "platform/StreamClock.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <time.h>

namespace Tolm::Platform {
namespace {

// Unique in the process, so that one virtual hardware can back another.
std::atomic<AudioDeviceID> gNextVirtualId{0x70000001};
constexpr std::size_t kMaxStreamsPerDevice = 16;
// Ids of listeners registered on the backing hardware on a caller's behalf.
constexpr AudioHardware::ListenerId kBackingListenerBase = AudioHardware::ListenerId(1) << 62;

class VirtualStream;

// One virtual device and its clock. Blocks are made by one thread at a time: the device's
// own thread (real time) or the test's (Pump). Streams join and leave through atomic slots,
// so making a block takes no lock.
struct VirtualDevice {
    AudioDeviceID id = 0;
    VirtualDeviceSpec spec; // name and layout; the rate lives in sampleRate
    std::shared_ptr<SignalSource> source;
    std::atomic<Float64> sampleRate{44100.0};
    std::atomic<Float64> rateScalar{1.0};
    std::atomic<UInt32> pendingHole{0};
    std::atomic<bool> removed{false};

    std::array<std::atomic<VirtualStream*>, kMaxStreamsPerDevice> slots{};
    std::atomic<bool> delivering{false};
    std::atomic<UInt64> passes{0};
    std::atomic<std::thread::id> deliveringThread{};

    // Owned by whichever thread makes blocks.
    UInt64 sampleTime = 0;
    Float64 hostTime = 0.0; // ns, of the next block's first frame
    bool inHole = false;
    ChannelBuffers input;
    ChannelBuffers mix;
    StreamClock clock;

    std::atomic<bool> capture{false};
    std::mutex captureMutex;
    std::vector<float> captured;

    // Real-time pacing: the thread sleeps while no stream runs.
    std::mutex runMutex;
    std::condition_variable runWake;
    int runningStreams = 0;
    bool stop = false;
    std::thread thread;

    bool IsInput() const { return spec.inputChannels > 0; }
    bool IsOutput() const { return spec.outputChannels > 0; }

    void MakeBlock(UInt32 frames);
    void Pace();
    // After this, no block in progress can still see a stream that left its slot.
    void WaitForPass();
};

class VirtualStream final : public AudioStream {
  public:
    VirtualStream(std::shared_ptr<VirtualDevice> device, bool input, AudioStreamProc proc, void* refCon)
        : mDevice(std::move(device)), mInput(input), mProc(proc), mRefCon(refCon)
    {
    }
    ~VirtualStream() override { Stop(); }

    AudioDeviceID Device() const override { return mDevice->id; }
    AudioStreamBasicDescription DeviceFormat() const override
    {
        return InterleavedFloatFormat(mDevice->sampleRate.load(), DeviceChannels());
    }
    AudioStreamBasicDescription ClientFormat() const override
    {
        std::lock_guard lock(mFormatMutex);
        if (mClientFormat)
            return *mClientFormat;
        return NonInterleavedFloatFormat(mDevice->sampleRate.load(), DeviceChannels());
    }
    OSStatus SetClientFormat(const AudioStreamBasicDescription& format) override
    {
        if (IsRunning())
            return kAudioHardwareIllegalOperationError;
        // No rate conversion here: the client takes the device's rate.
        if (!IsNonInterleavedFloat(format) || format.mSampleRate != mDevice->sampleRate.load())
            return kAudioDeviceUnsupportedFormatError;
        std::lock_guard lock(mFormatMutex);
        mClientFormat = format;
        return noErr;
    }
    UInt32 BufferFrames() const override { return mDevice->spec.bufferFrames; }

    OSStatus Start() override
    {
        if (mDevice->removed)
            return kAudioHardwareBadDeviceError;
        if (mSlot >= 0)
            return noErr;
        const UInt32 channels = ClientFormat().mChannelsPerFrame;
        if (mBuffers.Channels() != channels || mBuffers.MaxFrames() != BufferFrames())
            mBuffers = ChannelBuffers(channels, BufferFrames());
        for (std::size_t i = 0; i < mDevice->slots.size(); ++i) {
            VirtualStream* expected = nullptr;
            if (mDevice->slots[i].compare_exchange_strong(expected, this)) {
                mSlot = int(i);
                break;
            }
        }
        if (mSlot < 0)
            return kAudioHardwareIllegalOperationError;
        mRunning = true;
        {
            std::lock_guard lock(mDevice->runMutex);
            ++mDevice->runningStreams;
        }
        mDevice->runWake.notify_all();
        return noErr;
    }

    OSStatus Stop() override
    {
        if (mSlot < 0)
            return noErr;
        mRunning = false;
        mDevice->slots[std::size_t(mSlot)].store(nullptr);
        mSlot = -1;
        mDevice->WaitForPass();
        {
            std::lock_guard lock(mDevice->runMutex);
            --mDevice->runningStreams;
        }
        return noErr;
    }

    bool IsRunning() const override { return mRunning && !mDevice->removed; }

    OSStatus GetCurrentTime(AudioTimeStamp& now) const override
    {
        if (!IsRunning())
            return kAudioHardwareNotRunningError;
        StreamClock::Reading reading;
        if (!mDevice->clock.Read(reading))
            return kAudioHardwareNotRunningError;
        now = AudioTimeStamp{reading.sampleTime, reading.hostTime, reading.rateScalar,
                             kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid |
                                 kAudioTimeStampRateScalarValid};
        return noErr;
    }

    AudioStreamStatistics Statistics() const override
    {
        AudioStreamStatistics s;
        s.frames = mFrames.load(std::memory_order_relaxed);
        s.holeFrames = mHoleFrames.load(std::memory_order_relaxed);
        s.holes = mHoles.load(std::memory_order_relaxed);
        return s;
    }

    bool IsInputStream() const { return mInput; }

    // On the block-making thread.
    void DeliverInput(ChannelBuffers& block, UInt32 offset, UInt32 frames, const AudioTimeStamp& time)
    {
        if (frames == 0)
            return;
        const UInt32 deviceChannels = block.Channels();
        for (UInt32 c = 0; c < mBuffers.Channels(); ++c)
            std::copy_n(block.Channel(std::min(c, deviceChannels - 1)) + offset, frames, mBuffers.Channel(c));
        mProc(mRefCon, time, frames, mBuffers.List(frames));
        mFrames.fetch_add(frames, std::memory_order_relaxed);
    }

    void CountHole(UInt32 frames, bool starts)
    {
        mHoleFrames.fetch_add(frames, std::memory_order_relaxed);
        if (starts)
            mHoles.fetch_add(1, std::memory_order_relaxed);
    }

    // Asks for a block and adds it into `mix` (device channels).
    void RenderOutput(ChannelBuffers& mix, UInt32 frames, const AudioTimeStamp& time)
    {
        mBuffers.Clear(frames);
        mProc(mRefCon, time, frames, mBuffers.List(frames));
        mFrames.fetch_add(frames, std::memory_order_relaxed);
        const UInt32 clientChannels = mBuffers.Channels();
        for (UInt32 c = 0; c < mix.Channels(); ++c) {
            const float* from = mBuffers.Channel(std::min(c, clientChannels - 1));
            float* to = mix.Channel(c);
            for (UInt32 f = 0; f < frames; ++f)
                to[f] += from[f];
        }
    }

  private:
    UInt32 DeviceChannels() const
    {
        return mInput ? mDevice->spec.inputChannels : mDevice->spec.outputChannels;
    }

    std::shared_ptr<VirtualDevice> mDevice;
    bool mInput;
    AudioStreamProc mProc;
    void* mRefCon;
    mutable std::mutex mFormatMutex;
    std::optional<AudioStreamBasicDescription> mClientFormat;
    ChannelBuffers mBuffers;
    int mSlot = -1;
    std::atomic<bool> mRunning{false};
    std::atomic<UInt64> mFrames{0};
    std::atomic<UInt64> mHoleFrames{0};
    std::atomic<UInt32> mHoles{0};
};

void VirtualDevice::WaitForPass()
{
    if (deliveringThread.load() == std::this_thread::get_id())
        return; // stopped from inside a callback of this very block
    if (!delivering.load())
        return;
    const UInt64 pass = passes.load();
    while (delivering.load() && passes.load() == pass)
        std::this_thread::yield();
}

void VirtualDevice::MakeBlock(UInt32 frames)
{
    deliveringThread.store(std::this_thread::get_id());
    delivering.store(true);

    const Float64 rate = sampleRate.load(std::memory_order_relaxed);
    const Float64 scalar = rateScalar.load(std::memory_order_relaxed);
    const Float64 nanosPerFrame = 1e9 / (rate * scalar);
    auto stampAt = [&](UInt32 offset) {
        return AudioTimeStamp{
            Float64(sampleTime + offset), UInt64(std::llround(hostTime + offset * nanosPerFrame)), scalar,
            kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid | kAudioTimeStampRateScalarValid};
    };

    if (IsInput()) {
        UInt32 produced = source ? source->Render(input.Pointers(), input.Channels(), frames) : 0;
        for (UInt32 c = 0; c < input.Channels(); ++c)
            std::fill(input.Channel(c) + std::min(produced, frames), input.Channel(c) + frames, 0.0f);

        // Frames lost in a hole still pass on the device's clock.
        UInt32 hole = std::min(pendingHole.load(), frames);
        if (hole > 0)
            pendingHole.fetch_sub(hole);
        const bool holeStarts = hole > 0 && !inHole;
        inHole = hole > 0 && pendingHole.load() > 0;

        for (auto& slot : slots) {
            VirtualStream* stream = slot.load();
            if (!stream || !stream->IsInputStream())
                continue;
            if (hole > 0)
                stream->CountHole(hole, holeStarts);
            stream->DeliverInput(input, hole, frames - hole, stampAt(hole));
        }
    }
    if (IsOutput()) {
        mix.Clear(frames);
        for (auto& slot : slots) {
            VirtualStream* stream = slot.load();
            if (stream && !stream->IsInputStream())
                stream->RenderOutput(mix, frames, stampAt(0));
        }
        if (capture.load(std::memory_order_relaxed)) {
            // A test facility: keeping output may allocate.
            std::lock_guard lock(captureMutex);
            for (UInt32 f = 0; f < frames; ++f)
                for (UInt32 c = 0; c < mix.Channels(); ++c)
                    captured.push_back(mix.Channel(c)[f]);
        }
    }

    sampleTime += frames;
    hostTime += frames * nanosPerFrame;
    clock.Publish({Float64(sampleTime), UInt64(std::llround(hostTime)), scalar});

    delivering.store(false);
    passes.fetch_add(1);
    deliveringThread.store(std::thread::id{});
}

void VirtualDevice::Pace()
{
    std::unique_lock lock(runMutex);
    bool idle = true;
    Float64 wall = 0.0; // when the next block is due, ns
    while (!stop) {
        if (runningStreams == 0) {
            runWake.wait(lock, [&] { return stop || runningStreams > 0; });
            idle = true;
            continue;
        }
        lock.unlock();
        const Float64 now = Float64(AudioGetCurrentHostTime());
        // Start on time after an idle spell or a stall, rather than catching up in a burst.
        if (idle || wall < now - 0.5e9) {
            wall = now;
            hostTime = std::max(hostTime, now);
        }
        idle = false;
        MakeBlock(spec.bufferFrames);
        wall += spec.bufferFrames * 1e9 / (sampleRate.load() * rateScalar.load() * spec.speed);
        const UInt64 deadline = UInt64(wall);
        timespec ts{time_t(deadline / 1'000'000'000u), long(deadline % 1'000'000'000u)};
        while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &ts, nullptr) == EINTR) {
        }
        lock.lock();
    }
}

AudioDeviceInfo InfoOf(const VirtualDevice& device)
{
    AudioDeviceInfo info;
    info.id = device.id;
    info.name = device.spec.name;
    info.description = device.spec.description.empty() ? device.spec.name : device.spec.description;
    info.inputChannels = device.spec.inputChannels;
    info.outputChannels = device.spec.outputChannels;
    info.nominalSampleRate = device.sampleRate.load();
    info.actualSampleRate = info.nominalSampleRate * device.rateScalar.load();
    info.safetyOffsetFrames = device.spec.safetyOffsetFrames;
    info.bufferFrames = device.spec.bufferFrames;
    info.usb = device.spec.usb;
    return info;
}

} // namespace

struct VirtualAudioHardware::Impl {
    Clock clock;
    std::shared_ptr<AudioHardware> backing;
    std::unique_ptr<HardwareNotifier> notifier = std::make_unique<HardwareNotifier>();

    mutable std::mutex mutex;
    std::map<AudioDeviceID, std::shared_ptr<VirtualDevice>> devices;
    AudioDeviceID defaultInput = kAudioDeviceUnknown;
    AudioDeviceID defaultOutput = kAudioDeviceUnknown;
    std::map<ListenerId, ListenerId> backingListeners; // ours -> the backing hardware's
    ListenerId nextBackingListener = kBackingListenerBase;
    ListenerId backingDeviceSetListener = 0;

    std::shared_ptr<VirtualDevice> Find(AudioDeviceID id) const
    {
        std::lock_guard lock(mutex);
        const auto found = devices.find(id);
        return found == devices.end() ? nullptr : found->second;
    }

    static void Shut(VirtualDevice& device)
    {
        device.removed = true;
        for (auto& slot : device.slots)
            slot.store(nullptr);
        device.WaitForPass();
        {
            std::lock_guard lock(device.runMutex);
            device.stop = true;
        }
        device.runWake.notify_all();
        if (device.thread.joinable())
            device.thread.join();
    }
};

VirtualAudioHardware::VirtualAudioHardware(Clock clock, std::shared_ptr<AudioHardware> backing)
    : mImpl(std::make_unique<Impl>())
{
    mImpl->clock = clock;
    mImpl->backing = std::move(backing);
    if (mImpl->backing)
        mImpl->backingDeviceSetListener =
            mImpl->backing->AddDeviceSetListener([impl = mImpl.get()] { impl->notifier->DeviceSetChanged(); });
}

VirtualAudioHardware::~VirtualAudioHardware()
{
    if (mImpl->backing) {
        mImpl->backing->RemoveListener(mImpl->backingDeviceSetListener);
        for (const auto& [ours, theirs] : mImpl->backingListeners)
            mImpl->backing->RemoveListener(theirs);
    }
    // Before the rest goes, so that no listener of ours runs into it.
    mImpl->notifier.reset();
    std::map<AudioDeviceID, std::shared_ptr<VirtualDevice>> devices;
    {
        std::lock_guard lock(mImpl->mutex);
        devices.swap(mImpl->devices);
    }
    for (auto& [id, device] : devices)
        Impl::Shut(*device);
}

AudioDeviceID VirtualAudioHardware::AddDevice(const VirtualDeviceSpec& spec,
                                              std::shared_ptr<SignalSource> source)
{
    TOLM_ASSERT(spec.inputChannels > 0 || spec.outputChannels > 0);
    TOLM_ASSERT(spec.bufferFrames > 0 && spec.sampleRate > 0.0);
    auto device = std::make_shared<VirtualDevice>();
    device->spec = spec;
    device->source = std::move(source);
    device->sampleRate = spec.sampleRate;
    device->input = ChannelBuffers(spec.inputChannels, spec.bufferFrames);
    device->mix = ChannelBuffers(spec.outputChannels, spec.bufferFrames);
    device->hostTime = Float64(AudioGetCurrentHostTime());
    {
        std::lock_guard lock(mImpl->mutex);
        device->id = gNextVirtualId++;
        mImpl->devices.emplace(device->id, device);
    }
    if (mImpl->clock == Clock::RealTime)
        device->thread = std::thread([d = device.get()] { d->Pace(); });
    mImpl->notifier->DeviceSetChanged();
    return device->id;
}

void VirtualAudioHardware::FlushNotifications()
{
    mImpl->notifier->Flush();
}

void VirtualAudioHardware::RemoveDevice(AudioDeviceID id)
{
    std::shared_ptr<VirtualDevice> device;
    {
        std::lock_guard lock(mImpl->mutex);
        const auto found = mImpl->devices.find(id);
        if (found == mImpl->devices.end())
            return;
        device = found->second;
        mImpl->devices.erase(found);
        if (mImpl->defaultInput == id)
            mImpl->defaultInput = kAudioDeviceUnknown;
        if (mImpl->defaultOutput == id)
            mImpl->defaultOutput = kAudioDeviceUnknown;
    }
    Impl::Shut(*device);
    mImpl->notifier->DeviceSetChanged();
}

void VirtualAudioHardware::SetDefaultInputDevice(AudioDeviceID id)
{
    std::lock_guard lock(mImpl->mutex);
    mImpl->defaultInput = id;
}

void VirtualAudioHardware::SetDefaultOutputDevice(AudioDeviceID id)
{
    std::lock_guard lock(mImpl->mutex);
    mImpl->defaultOutput = id;
}

void VirtualAudioHardware::SetSampleRate(AudioDeviceID id, Float64 rate)
{
    TOLM_ASSERT(rate > 0.0);
    if (auto device = mImpl->Find(id)) {
        device->sampleRate = rate;
        mImpl->notifier->StreamFormatChanged(id);
    }
}

void VirtualAudioHardware::SetRateScalar(AudioDeviceID id, Float64 rateScalar)
{
    TOLM_ASSERT(rateScalar > 0.0);
    if (auto device = mImpl->Find(id))
        device->rateScalar = rateScalar;
}

void VirtualAudioHardware::InjectHole(AudioDeviceID id, UInt32 frames)
{
    if (auto device = mImpl->Find(id))
        device->pendingHole.fetch_add(frames);
}

void VirtualAudioHardware::Pump(AudioDeviceID id, UInt32 frames)
{
    // A real-time device keeps its own pace.
    if (mImpl->clock != Clock::Manual)
        return;
    auto device = mImpl->Find(id);
    if (!device)
        return;
    while (frames > 0 && !device->removed) {
        const UInt32 block = std::min(frames, device->spec.bufferFrames);
        device->MakeBlock(block);
        frames -= block;
    }
}

void VirtualAudioHardware::SetCaptureOutput(AudioDeviceID id, bool capture)
{
    if (auto device = mImpl->Find(id))
        device->capture = capture;
}

std::vector<float> VirtualAudioHardware::TakeCapturedOutput(AudioDeviceID id)
{
    std::vector<float> taken;
    if (auto device = mImpl->Find(id)) {
        std::lock_guard lock(device->captureMutex);
        taken.swap(device->captured);
    }
    return taken;
}

std::vector<AudioDeviceInfo> VirtualAudioHardware::Devices() const
{
    std::vector<AudioDeviceInfo> list;
    if (mImpl->backing)
        list = mImpl->backing->Devices();
    std::lock_guard lock(mImpl->mutex);
    for (const auto& [id, device] : mImpl->devices)
        list.push_back(InfoOf(*device));
    return list;
}

OSStatus VirtualAudioHardware::GetDevice(AudioDeviceID id, AudioDeviceInfo& info) const
{
    auto device = mImpl->Find(id);
    if (!device)
        return mImpl->backing ? mImpl->backing->GetDevice(id, info) : kAudioHardwareBadDeviceError;
    info = InfoOf(*device);
    return noErr;
}

AudioDeviceID VirtualAudioHardware::DefaultInputDevice() const
{
    {
        std::lock_guard lock(mImpl->mutex);
        if (mImpl->defaultInput != kAudioDeviceUnknown)
            return mImpl->defaultInput;
    }
    return mImpl->backing ? mImpl->backing->DefaultInputDevice() : kAudioDeviceUnknown;
}

AudioDeviceID VirtualAudioHardware::DefaultOutputDevice() const
{
    {
        std::lock_guard lock(mImpl->mutex);
        if (mImpl->defaultOutput != kAudioDeviceUnknown)
            return mImpl->defaultOutput;
    }
    return mImpl->backing ? mImpl->backing->DefaultOutputDevice() : kAudioDeviceUnknown;
}

AudioHardware::ListenerId VirtualAudioHardware::AddDeviceSetListener(std::function<void()> listener)
{
    return mImpl->notifier->AddDeviceSetListener(std::move(listener));
}

AudioHardware::ListenerId VirtualAudioHardware::AddStreamFormatListener(AudioDeviceID device,
                                                                        std::function<void()> listener)
{
    if (!mImpl->backing || mImpl->Find(device))
        return mImpl->notifier->AddStreamFormatListener(device, std::move(listener));
    const ListenerId theirs = mImpl->backing->AddStreamFormatListener(device, std::move(listener));
    std::lock_guard lock(mImpl->mutex);
    const ListenerId ours = mImpl->nextBackingListener++;
    mImpl->backingListeners.emplace(ours, theirs);
    return ours;
}

void VirtualAudioHardware::RemoveListener(ListenerId id)
{
    if (id < kBackingListenerBase) {
        mImpl->notifier->RemoveListener(id);
        return;
    }
    ListenerId theirs = 0;
    {
        std::lock_guard lock(mImpl->mutex);
        const auto found = mImpl->backingListeners.find(id);
        if (found == mImpl->backingListeners.end())
            return;
        theirs = found->second;
        mImpl->backingListeners.erase(found);
    }
    mImpl->backing->RemoveListener(theirs);
}

OSStatus VirtualAudioHardware::OpenInputStream(AudioDeviceID id, AudioStreamProc proc, void* refCon,
                                               std::unique_ptr<AudioStream>& stream)
{
    if (!proc)
        return kAudioHardwareIllegalOperationError;
    auto device = mImpl->Find(id);
    if (!device && mImpl->backing)
        return mImpl->backing->OpenInputStream(id, proc, refCon, stream);
    if (!device || !device->IsInput())
        return kAudioHardwareBadDeviceError;
    stream = std::make_unique<VirtualStream>(device, true, proc, refCon);
    return noErr;
}

OSStatus VirtualAudioHardware::OpenOutputStream(AudioDeviceID id, AudioStreamProc proc, void* refCon,
                                                std::unique_ptr<AudioStream>& stream)
{
    if (!proc)
        return kAudioHardwareIllegalOperationError;
    auto device = mImpl->Find(id);
    if (!device && mImpl->backing)
        return mImpl->backing->OpenOutputStream(id, proc, refCon, stream);
    if (!device || !device->IsOutput())
        return kAudioHardwareBadDeviceError;
    stream = std::make_unique<VirtualStream>(device, false, proc, refCon);
    return noErr;
}

} // namespace Tolm::Platform
