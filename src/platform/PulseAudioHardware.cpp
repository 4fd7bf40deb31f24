#include "platform/PulseAudioHardware.h"

#include "platform/ChannelBuffers.h"
#include "platform/DelayLockedLoop.h"
#include "platform/HardwareNotifier.h"
#include "platform/HostTime.h"
#include "platform/StreamClock.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <pulse/pulseaudio.h>
#include <set>
#include <thread>

namespace Tolm::Platform {

class PulseStream;

namespace {

constexpr const char* kApplicationName = "Tolm Audio Converter";

// Locks the event loop unless the caller runs on it already (a callback, which holds it).
class LoopLock {
  public:
    explicit LoopLock(pa_threaded_mainloop* loop)
        : mLoop(loop), mLocked(!pa_threaded_mainloop_in_thread(loop))
    {
        if (mLocked)
            pa_threaded_mainloop_lock(mLoop);
    }
    ~LoopLock()
    {
        if (mLocked)
            pa_threaded_mainloop_unlock(mLoop);
    }
    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

  private:
    pa_threaded_mainloop* mLoop;
    bool mLocked;
};

std::optional<UInt16> ParseHexId(const char* text)
{
    if (!text || !*text)
        return std::nullopt;
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 16);
    if (*end != '\0' || value > 0xFFFF)
        return std::nullopt;
    return UInt16(value);
}

// What a stream may ask for: from about a millisecond and a half to a few hundred.
constexpr UInt32 kMinBlockFrames = 64;
constexpr UInt32 kMaxBlockFrames = 16384;

} // namespace

UInt32 PulseBufferFrames(Float64 sampleRate)
{
    const UInt32 tenMilliseconds = UInt32(std::max(1.0, sampleRate / 100.0));
    UInt32 frames = 64;
    while (frames < tenMilliseconds)
        frames <<= 1;
    return frames;
}

struct PulseAudioHardware::Impl : std::enable_shared_from_this<Impl> {
    struct Entry {
        bool isSource = true;
        uint32_t index = PA_INVALID_INDEX;
        std::string serverName; // the source's or sink's name on the server
        AudioDeviceInfo info;
    };

    pa_threaded_mainloop* loop = nullptr;
    pa_context* context = nullptr; // replaced on the loop thread when the server comes back
    pa_time_event* reconnectTimer = nullptr;
    bool closing = false;
    std::atomic<bool> connected{false};
    std::atomic<bool> ready{false}; // initial device list loaded
    std::unique_ptr<HardwareNotifier> notifier = std::make_unique<HardwareNotifier>();

    mutable std::mutex cacheMutex;
    std::vector<Entry> entries; // sources, then sinks, each by server index
    std::map<std::pair<bool, uint32_t>, AudioDeviceID> ids;
    AudioDeviceID nextId = 1;
    std::string defaultSource, defaultSink;

    mutable std::mutex streamsMutex;
    std::set<PulseStream*> streams;

    ~Impl();

    bool Open(std::chrono::milliseconds timeout, std::string& error);
    bool NewContext();
    void Subscribe();
    void ScheduleReconnect();
    bool Wait(pa_operation* operation);
    void Refresh();

    AudioDeviceID IdFor(bool isSource, uint32_t index);
    const Entry* Find(AudioDeviceID id) const;
    AudioDeviceInfo AsRunning(const AudioDeviceInfo& info) const;
    void Upsert(Entry entry);
    void Remove(bool isSource, uint32_t index);
    void Lost();

    static void OnContextState(pa_context* context, void* self);
    static void OnReconnectTimer(pa_mainloop_api* api, pa_time_event* event, const timeval*, void* self);
    static void OnSubscription(pa_context* context, pa_subscription_event_type_t type, uint32_t index,
                               void* self);
    static void OnServerInfo(pa_context* context, const pa_server_info* info, void* self);
    static void OnSourceInfo(pa_context* context, const pa_source_info* info, int eol, void* self);
    static void OnSinkInfo(pa_context* context, const pa_sink_info* info, int eol, void* self);
};

// A record or playback stream. Created on Start, ended on Stop, so that a client format set in
// between takes effect and a stream ended by the server can be started again.
class PulseStream final : public AudioStream {
  public:
    PulseStream(std::shared_ptr<PulseAudioHardware::Impl> hardware, bool input, AudioDeviceID device,
                const AudioDeviceInfo& info, AudioStreamProc proc, void* refCon)
        : mHardware(std::move(hardware)), mInput(input), mDevice(device), mDeviceInfo(info), mProc(proc),
          mRefCon(refCon), mClientFormat(NonInterleavedFloatFormat(info.nominalSampleRate, Channels(info))),
          mLoop(info.nominalSampleRate)
    {
        std::lock_guard lock(mHardware->streamsMutex);
        mHardware->streams.insert(this);
    }

    ~PulseStream() override
    {
        Stop();
        std::lock_guard lock(mHardware->streamsMutex);
        mHardware->streams.erase(this);
    }

    AudioDeviceID Device() const override { return mDevice; }

    AudioStreamBasicDescription DeviceFormat() const override
    {
        AudioDeviceInfo info = mDeviceInfo;
        {
            std::lock_guard lock(mHardware->cacheMutex);
            if (const auto* entry = mHardware->Find(mDevice))
                info = entry->info;
        }
        return InterleavedFloatFormat(info.nominalSampleRate, Channels(info));
    }

    AudioStreamBasicDescription ClientFormat() const override
    {
        std::lock_guard lock(mFormatMutex);
        return mClientFormat;
    }

    OSStatus SetClientFormat(const AudioStreamBasicDescription& format) override
    {
        if (mStream)
            return kAudioHardwareIllegalOperationError;
        // The server converts rate and channels.
        if (!IsNonInterleavedFloat(format))
            return kAudioDeviceUnsupportedFormatError;
        std::lock_guard lock(mFormatMutex);
        mClientFormat = format;
        return noErr;
    }

    OSStatus SetBufferFrames(UInt32 frames) override
    {
        if (mStream)
            return kAudioHardwareIllegalOperationError;
        mRequestedFrames = frames == 0 ? 0 : std::clamp(frames, kMinBlockFrames, kMaxBlockFrames);
        return noErr;
    }

    UInt32 BufferFrames() const override
    {
        const UInt32 requested = mRequestedFrames;
        return requested != 0 ? requested : PulseBufferFrames(ClientFormat().mSampleRate);
    }

    // The latency this stream asks of its device, in the device's frames: the server runs a
    // device with the least latency any of its streams asks for.
    UInt32 DeviceLatencyFrames(Float64 deviceRate) const
    {
        const AudioStreamBasicDescription client = ClientFormat();
        const Float64 frames = Float64(BufferFrames()) * deviceRate / client.mSampleRate;
        return UInt32(std::lround(std::max(1.0, frames)));
    }

    OSStatus Start() override;
    OSStatus Stop() override;
    bool IsRunning() const override { return mRunning.load() && !mEnded.load(); }

    OSStatus GetCurrentTime(AudioTimeStamp& now) const override
    {
        if (!IsRunning())
            return kAudioHardwareNotRunningError;
        StreamClock::Reading reading;
        if (!mClock.Read(reading))
            return kAudioHardwareNotRunningError;
        // On from the last block at the measured rate, but no further than a few blocks: a
        // stream whose data has stopped coming is not pretended to run on.
        const UInt64 host = AudioGetCurrentHostTime();
        const Float64 framesPerNano = mRate * reading.rateScalar * 1e-9;
        Float64 ahead = host > reading.hostTime ? Float64(host - reading.hostTime) * framesPerNano : 0.0;
        ahead = std::min(ahead, 4.0 * mBlockFrames);
        now = AudioTimeStamp{reading.sampleTime + ahead, host, reading.rateScalar,
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

    // The measured rate scalar while running (for the device's actual rate), else 0.
    Float64 MeasuredRateScalar() const
    {
        StreamClock::Reading reading;
        return IsRunning() && mClock.Read(reading) ? reading.rateScalar : 0.0;
    }

  private:
    static UInt32 Channels(const AudioDeviceInfo& info)
    {
        return std::max<UInt32>(1, info.inputChannels + info.outputChannels);
    }

    static void OnState(pa_stream* stream, void* self);
    static void OnRead(pa_stream* stream, size_t bytes, void* self);
    static void OnWrite(pa_stream* stream, size_t bytes, void* self);

    void Take(const char* bytes, size_t size);
    void TakeFrames(const char* bytes, UInt32 frames);
    void Deliver();
    AudioTimeStamp StampAt(UInt64 position, UInt64 host) const;
    void PublishClock(UInt64 host);

    std::shared_ptr<PulseAudioHardware::Impl> mHardware;
    const bool mInput;
    const AudioDeviceID mDevice;
    const AudioDeviceInfo mDeviceInfo; // as it was when opened
    const AudioStreamProc mProc;
    void* const mRefCon;
    mutable std::mutex mFormatMutex;
    AudioStreamBasicDescription mClientFormat;
    std::atomic<UInt32> mRequestedFrames{0}; // 0: the default for the rate

    pa_stream* mStream = nullptr; // under the loop lock
    std::atomic<bool> mRunning{false};
    std::atomic<bool> mEnded{false}; // the server ended it (device gone)

    // Set in Start, used by the callbacks.
    Float64 mRate = 0.0;
    UInt32 mChannels = 0;
    UInt32 mFrameBytes = 0;
    UInt32 mBlockFrames = 0;
    ChannelBuffers mBuffers;

    // Callback state.
    DelayLockedLoop mLoop;
    UInt64 mPosition = 0;     // frames counted (holes included)
    UInt32 mFilled = 0;       // frames waiting in mBuffers
    UInt64 mCallbackHost = 0; // host time the current callback began
    std::array<char, 64 * 4> mPartial{};
    UInt32 mPartialBytes = 0;

    StreamClock mClock;
    std::atomic<UInt64> mFrames{0};
    std::atomic<UInt64> mHoleFrames{0};
    std::atomic<UInt32> mHoles{0};
};

// ---------------------------------------------------------------------------------------------
// Hardware

PulseAudioHardware::Impl::~Impl()
{
    if (loop) {
        pa_threaded_mainloop_lock(loop);
        closing = true;
        if (reconnectTimer) {
            pa_mainloop_api* api = pa_threaded_mainloop_get_api(loop);
            api->time_free(reconnectTimer);
        }
        if (context) {
            pa_context_set_state_callback(context, nullptr, nullptr);
            pa_context_set_subscribe_callback(context, nullptr, nullptr);
            pa_context_disconnect(context);
            pa_context_unref(context);
        }
        pa_threaded_mainloop_unlock(loop);
        pa_threaded_mainloop_stop(loop);
    }
    // With the loop stopped nothing queues events any more.
    notifier.reset();
    if (loop)
        pa_threaded_mainloop_free(loop);
}

bool PulseAudioHardware::Impl::Open(std::chrono::milliseconds timeout, std::string& error)
{
    loop = pa_threaded_mainloop_new();
    if (!loop) {
        error = "cannot create an event loop";
        return false;
    }
    pa_threaded_mainloop_set_name(loop, "tolm-pulse");
    if (!NewContext()) {
        error = context ? pa_strerror(pa_context_errno(context)) : "cannot create a server connection";
        return false;
    }
    if (pa_threaded_mainloop_start(loop) < 0) {
        error = "cannot start the event loop";
        return false;
    }

    // Polled rather than waited for: a server that accepts the connection and then says
    // nothing must not hang the program.
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        pa_threaded_mainloop_lock(loop);
        const pa_context_state_t state = pa_context_get_state(context);
        if (state == PA_CONTEXT_READY) {
            Subscribe();
            connected = true;
            Refresh();
            pa_threaded_mainloop_unlock(loop);
            ready = true;
            return true;
        }
        if (!PA_CONTEXT_IS_GOOD(state)) {
            error = pa_strerror(pa_context_errno(context));
            pa_threaded_mainloop_unlock(loop);
            return false;
        }
        pa_threaded_mainloop_unlock(loop);
        if (std::chrono::steady_clock::now() > deadline) {
            error = "the sound server does not answer";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// Under the loop lock (or on the loop thread).
bool PulseAudioHardware::Impl::NewContext()
{
    if (context) {
        pa_context_set_state_callback(context, nullptr, nullptr);
        pa_context_set_subscribe_callback(context, nullptr, nullptr);
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, kApplicationName);
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "org.tolm.AudioConverter");
    context = pa_context_new_with_proplist(pa_threaded_mainloop_get_api(loop), kApplicationName, properties);
    pa_proplist_free(properties);
    if (!context)
        return false;
    pa_context_set_state_callback(context, &OnContextState, this);
    return pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0;
}

void PulseAudioHardware::Impl::Subscribe()
{
    pa_context_set_subscribe_callback(context, &OnSubscription, this);
    pa_operation* subscribe =
        pa_context_subscribe(context,
                             pa_subscription_mask_t(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
                                                    PA_SUBSCRIPTION_MASK_SERVER),
                             nullptr, nullptr);
    if (subscribe)
        pa_operation_unref(subscribe);
}

// On the loop thread. Desktop sound servers get restarted (an update, a crash); the program
// comes back to the new one by itself. Its devices return with new ids, as after a replug.
void PulseAudioHardware::Impl::ScheduleReconnect()
{
    if (reconnectTimer || closing)
        return;
    timeval when;
    pa_gettimeofday(&when);
    pa_timeval_add(&when, 1'000'000);
    pa_mainloop_api* api = pa_threaded_mainloop_get_api(loop);
    reconnectTimer = api->time_new(api, &when, &OnReconnectTimer, this);
}

void PulseAudioHardware::Impl::OnReconnectTimer(pa_mainloop_api* api, pa_time_event* event, const timeval*,
                                                void* self)
{
    auto* impl = static_cast<Impl*>(self);
    api->time_free(event);
    impl->reconnectTimer = nullptr;
    if (!impl->NewContext())
        impl->ScheduleReconnect();
}

// Under the loop lock, from outside the loop.
bool PulseAudioHardware::Impl::Wait(pa_operation* operation)
{
    if (!operation)
        return false;
    while (pa_operation_get_state(operation) == PA_OPERATION_RUNNING)
        pa_threaded_mainloop_wait(loop);
    pa_operation_unref(operation);
    return true;
}

// Under the loop lock: the whole list, the defaults and the ids.
void PulseAudioHardware::Impl::Refresh()
{
    Wait(pa_context_get_server_info(context, &OnServerInfo, this));
    Wait(pa_context_get_source_info_list(context, &OnSourceInfo, this));
    Wait(pa_context_get_sink_info_list(context, &OnSinkInfo, this));
}

AudioDeviceID PulseAudioHardware::Impl::IdFor(bool isSource, uint32_t index)
{
    const auto key = std::make_pair(isSource, index);
    const auto found = ids.find(key);
    if (found != ids.end())
        return found->second;
    // Never reused: a device that comes back is a new device, as after a replug.
    const AudioDeviceID id = nextId++;
    ids.emplace(key, id);
    return id;
}

const PulseAudioHardware::Impl::Entry* PulseAudioHardware::Impl::Find(AudioDeviceID id) const
{
    for (const Entry& entry : entries)
        if (entry.info.id == id)
            return &entry;
    return nullptr;
}

AudioDeviceInfo PulseAudioHardware::Impl::AsRunning(const AudioDeviceInfo& info) const
{
    AudioDeviceInfo result = info;
    bool rateMeasured = false;
    UInt32 block = info.bufferFrames;
    std::lock_guard lock(streamsMutex);
    for (const PulseStream* stream : streams) {
        if (stream->Device() != info.id)
            continue;
        block = std::min(block, stream->DeviceLatencyFrames(info.nominalSampleRate));
        if (const Float64 scalar = stream->MeasuredRateScalar(); scalar > 0.0 && !rateMeasured) {
            result.actualSampleRate = info.nominalSampleRate * scalar;
            rateMeasured = true;
        }
    }
    if (block < info.bufferFrames) {
        // With small blocks the server's wake-ups jitter by about a block: keep that as margin.
        result.bufferFrames = block;
        result.safetyOffsetFrames = 2 * block;
    }
    return result;
}

// On the loop thread.
void PulseAudioHardware::Impl::Upsert(Entry entry)
{
    bool added = false;
    bool formatChanged = false;
    AudioDeviceID id = 0;
    {
        std::lock_guard lock(cacheMutex);
        id = IdFor(entry.isSource, entry.index);
        entry.info.id = id;
        auto place = std::find_if(entries.begin(), entries.end(), [&](const Entry& e) {
            return e.isSource == entry.isSource && e.index == entry.index;
        });
        if (place != entries.end()) {
            const AudioDeviceInfo& old = place->info;
            formatChanged = old.nominalSampleRate != entry.info.nominalSampleRate ||
                            old.inputChannels != entry.info.inputChannels ||
                            old.outputChannels != entry.info.outputChannels;
            *place = std::move(entry);
        } else {
            place = std::find_if(entries.begin(), entries.end(), [&](const Entry& e) {
                return e.isSource == entry.isSource ? e.index > entry.index : !e.isSource;
            });
            entries.insert(place, std::move(entry));
            added = true;
        }
    }
    if (!ready)
        return;
    if (added)
        notifier->DeviceSetChanged();
    if (formatChanged)
        notifier->StreamFormatChanged(id);
}

void PulseAudioHardware::Impl::Remove(bool isSource, uint32_t index)
{
    bool removed = false;
    {
        std::lock_guard lock(cacheMutex);
        const auto before = entries.size();
        std::erase_if(entries, [&](const Entry& e) { return e.isSource == isSource && e.index == index; });
        removed = entries.size() != before;
    }
    if (removed && ready)
        notifier->DeviceSetChanged();
}

void PulseAudioHardware::Impl::Lost()
{
    if (!connected.exchange(false))
        return;
    {
        std::lock_guard lock(cacheMutex);
        entries.clear();
        defaultSource.clear();
        defaultSink.clear();
    }
    notifier->DeviceSetChanged();
}

void PulseAudioHardware::Impl::OnContextState(pa_context* context, void* self)
{
    auto* impl = static_cast<Impl*>(self);
    const pa_context_state_t state = pa_context_get_state(context);
    // The first connection is made by Open; these are the server going and coming back.
    if (impl->ready && state == PA_CONTEXT_READY) {
        {
            std::lock_guard lock(impl->cacheMutex);
            impl->ids.clear(); // the new server numbers its devices afresh
        }
        impl->Subscribe();
        impl->connected = true;
        for (pa_operation* operation : {pa_context_get_server_info(context, &OnServerInfo, self),
                                        pa_context_get_source_info_list(context, &OnSourceInfo, self),
                                        pa_context_get_sink_info_list(context, &OnSinkInfo, self)})
            if (operation)
                pa_operation_unref(operation);
    }
    if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) {
        impl->Lost();
        if (impl->ready)
            impl->ScheduleReconnect();
    }
    pa_threaded_mainloop_signal(impl->loop, 0);
}

void PulseAudioHardware::Impl::OnSubscription(pa_context* context, pa_subscription_event_type_t type,
                                              uint32_t index, void* self)
{
    auto* impl = static_cast<Impl*>(self);
    const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const auto kind = type & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
    pa_operation* operation = nullptr;
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE || facility == PA_SUBSCRIPTION_EVENT_SINK) {
        const bool isSource = facility == PA_SUBSCRIPTION_EVENT_SOURCE;
        if (kind == PA_SUBSCRIPTION_EVENT_REMOVE)
            impl->Remove(isSource, index);
        else if (isSource)
            operation = pa_context_get_source_info_by_index(context, index, &OnSourceInfo, self);
        else
            operation = pa_context_get_sink_info_by_index(context, index, &OnSinkInfo, self);
    } else if (facility == PA_SUBSCRIPTION_EVENT_SERVER) {
        operation = pa_context_get_server_info(context, &OnServerInfo, self);
    }
    if (operation)
        pa_operation_unref(operation);
}

void PulseAudioHardware::Impl::OnServerInfo(pa_context*, const pa_server_info* info, void* self)
{
    auto* impl = static_cast<Impl*>(self);
    if (info) {
        std::lock_guard lock(impl->cacheMutex);
        impl->defaultSource = info->default_source_name ? info->default_source_name : "";
        impl->defaultSink = info->default_sink_name ? info->default_sink_name : "";
    }
    pa_threaded_mainloop_signal(impl->loop, 0);
}

namespace {

// What both kinds of device share.
template <typename Info> PulseAudioHardware::Impl::Entry MakeEntry(const Info& info, bool isSource)
{
    PulseAudioHardware::Impl::Entry entry;
    entry.isSource = isSource;
    entry.index = info.index;
    entry.serverName = info.name ? info.name : "";
    AudioDeviceInfo& d = entry.info;
    const char* product = pa_proplist_gets(info.proplist, PA_PROP_DEVICE_PRODUCT_NAME);
    d.description = info.description ? info.description : entry.serverName;
    // The product name byte for byte (trailing blanks are part of how devices are matched).
    d.name = product && *product ? product : d.description;
    (isSource ? d.inputChannels : d.outputChannels) = info.sample_spec.channels;
    d.nominalSampleRate = info.sample_spec.rate;
    d.actualSampleRate = info.sample_spec.rate;
    // The latency our streams ask for, not the device's idle latency (the server runs an idle
    // device with buffers of seconds and shrinks them once a stream wants less): a block in
    // the server (a source fragment, the sink's share of two queued blocks), a block with us.
    d.bufferFrames = PulseBufferFrames(info.sample_spec.rate);
    d.safetyOffsetFrames = d.bufferFrames;
    const char* bus = pa_proplist_gets(info.proplist, PA_PROP_DEVICE_BUS);
    if (bus && std::strcmp(bus, "usb") == 0) {
        const auto vendor = ParseHexId(pa_proplist_gets(info.proplist, PA_PROP_DEVICE_VENDOR_ID));
        const auto productId = ParseHexId(pa_proplist_gets(info.proplist, PA_PROP_DEVICE_PRODUCT_ID));
        if (vendor && productId)
            d.usb = UsbIdentity{*vendor, *productId};
    }
    return entry;
}

} // namespace

void PulseAudioHardware::Impl::OnSourceInfo(pa_context*, const pa_source_info* info, int eol, void* self)
{
    auto* impl = static_cast<Impl*>(self);
    // A monitor records what a sink plays: not an input device.
    if (info && eol == 0 && info->monitor_of_sink == PA_INVALID_INDEX)
        impl->Upsert(MakeEntry(*info, true));
    if (eol != 0)
        pa_threaded_mainloop_signal(impl->loop, 0);
}

void PulseAudioHardware::Impl::OnSinkInfo(pa_context*, const pa_sink_info* info, int eol, void* self)
{
    auto* impl = static_cast<Impl*>(self);
    if (info && eol == 0)
        impl->Upsert(MakeEntry(*info, false));
    if (eol != 0)
        pa_threaded_mainloop_signal(impl->loop, 0);
}

// ---------------------------------------------------------------------------------------------
// Streams

OSStatus PulseStream::Start()
{
    if (mStream)
        return mEnded ? kAudioHardwareBadDeviceError : noErr;
    // Connecting waits for the event loop, which a callback holds.
    if (pa_threaded_mainloop_in_thread(mHardware->loop))
        return kAudioHardwareIllegalOperationError;
    if (!mHardware->connected)
        return kAudioHardwareNotRunningError;

    std::string serverName;
    {
        std::lock_guard lock(mHardware->cacheMutex);
        const auto* entry = mHardware->Find(mDevice);
        if (!entry)
            return kAudioHardwareBadDeviceError;
        serverName = entry->serverName;
    }

    const AudioStreamBasicDescription client = ClientFormat();
    mRate = client.mSampleRate;
    mChannels = client.mChannelsPerFrame;
    mFrameBytes = mChannels * sizeof(float);
    mBlockFrames = BufferFrames();
    if (mBuffers.Channels() != mChannels || mBuffers.MaxFrames() != mBlockFrames)
        mBuffers = ChannelBuffers(mChannels, mBlockFrames);
    mLoop.SetNominalRate(mRate);
    mPosition = 0;
    mFilled = 0;
    mPartialBytes = 0;
    mClock.Invalidate();
    mEnded = false;

    LoopLock lock(mHardware->loop);
    pa_sample_spec spec{PA_SAMPLE_FLOAT32LE, UInt32(mRate), UInt8(mChannels)};
    pa_channel_map map;
    pa_channel_map_init_extend(&map, spec.channels, PA_CHANNEL_MAP_DEFAULT);
    mStream = pa_stream_new(mHardware->context, mInput ? "Recording" : "Monitoring", &spec, &map);
    if (!mStream)
        return kAudioDeviceUnsupportedFormatError;
    pa_stream_set_state_callback(mStream, &OnState, this);

    const UInt32 blockBytes = mBlockFrames * mFrameBytes;
    pa_buffer_attr attributes;
    attributes.maxlength = UInt32(-1);
    attributes.prebuf = UInt32(-1);
    attributes.fragsize = UInt32(-1);
    attributes.tlength = UInt32(-1);
    attributes.minreq = UInt32(-1);
    int result = 0;
    if (mInput) {
        // One block per fragment; never moved to another source if this one goes.
        attributes.fragsize = blockBytes;
        pa_stream_set_read_callback(mStream, &OnRead, this);
        result = pa_stream_connect_record(mStream, serverName.c_str(), &attributes,
                                          pa_stream_flags_t(PA_STREAM_DONT_MOVE | PA_STREAM_ADJUST_LATENCY));
    } else {
        // Two blocks queued ahead of the sink, asked for a block at a time.
        attributes.tlength = 2 * blockBytes;
        attributes.minreq = blockBytes;
        pa_stream_set_write_callback(mStream, &OnWrite, this);
        result = pa_stream_connect_playback(mStream, serverName.c_str(), &attributes,
                                            pa_stream_flags_t(PA_STREAM_ADJUST_LATENCY), nullptr, nullptr);
    }
    pa_stream_state_t state = PA_STREAM_FAILED;
    if (result == 0) {
        for (;;) {
            state = pa_stream_get_state(mStream);
            if (state != PA_STREAM_CREATING && state != PA_STREAM_UNCONNECTED)
                break;
            pa_threaded_mainloop_wait(mHardware->loop);
        }
    }
    if (state != PA_STREAM_READY) {
        pa_stream_set_state_callback(mStream, nullptr, nullptr);
        pa_stream_set_read_callback(mStream, nullptr, nullptr);
        pa_stream_set_write_callback(mStream, nullptr, nullptr);
        if (result == 0)
            pa_stream_disconnect(mStream);
        pa_stream_unref(mStream);
        mStream = nullptr;
        return kAudioHardwareBadDeviceError;
    }
    mRunning = true;
    return noErr;
}

OSStatus PulseStream::Stop()
{
    LoopLock lock(mHardware->loop);
    if (!mStream)
        return noErr;
    // With the callbacks cleared under the lock, none runs now or later.
    pa_stream_set_state_callback(mStream, nullptr, nullptr);
    pa_stream_set_read_callback(mStream, nullptr, nullptr);
    pa_stream_set_write_callback(mStream, nullptr, nullptr);
    if (pa_stream_get_state(mStream) == PA_STREAM_READY)
        pa_stream_disconnect(mStream);
    pa_stream_unref(mStream);
    mStream = nullptr;
    mRunning = false;
    mClock.Invalidate();
    return noErr;
}

void PulseStream::OnState(pa_stream* stream, void* self)
{
    auto* s = static_cast<PulseStream*>(self);
    const pa_stream_state_t state = pa_stream_get_state(stream);
    // A record stream that may not move ends here when its source goes away.
    if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED)
        s->mEnded = true;
    pa_threaded_mainloop_signal(s->mHardware->loop, 0);
}

AudioTimeStamp PulseStream::StampAt(UInt64 position, UInt64 host) const
{
    const bool locked = mLoop.Locked();
    return AudioTimeStamp{
        Float64(position), locked ? mLoop.HostTimeAt(position) : host, locked ? mLoop.RateScalar() : 1.0,
        kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid | kAudioTimeStampRateScalarValid};
}

void PulseStream::PublishClock(UInt64 host)
{
    mLoop.Update(host, mPosition);
    const AudioTimeStamp now = StampAt(mPosition, host);
    mClock.Publish({now.mSampleTime, now.mHostTime, now.mRateScalar});
}

// Real time from here on: no allocation, no locks of ours, no logging.

void PulseStream::Deliver()
{
    if (mFilled == 0)
        return;
    const AudioTimeStamp time = StampAt(mPosition, mCallbackHost);
    mProc(mRefCon, time, mFilled, mBuffers.List(mFilled));
    mPosition += mFilled;
    mFrames.fetch_add(mFilled, std::memory_order_relaxed);
    mFilled = 0;
}

void PulseStream::TakeFrames(const char* bytes, UInt32 frames)
{
    while (frames > 0) {
        const UInt32 n = std::min(frames, mBlockFrames - mFilled);
        for (UInt32 c = 0; c < mChannels; ++c) {
            float* to = mBuffers.Channel(c) + mFilled;
            const char* from = bytes + c * sizeof(float);
            for (UInt32 f = 0; f < n; ++f)
                std::memcpy(to + f, from + std::size_t(f) * mFrameBytes, sizeof(float));
        }
        mFilled += n;
        bytes += std::size_t(n) * mFrameBytes;
        frames -= n;
        if (mFilled == mBlockFrames)
            Deliver();
    }
}

// Fragments are whole frames in practice; a split frame is carried over all the same.
void PulseStream::Take(const char* bytes, size_t size)
{
    if (mPartialBytes > 0) {
        const size_t n = std::min<size_t>(size, mFrameBytes - mPartialBytes);
        std::memcpy(mPartial.data() + mPartialBytes, bytes, n);
        mPartialBytes += UInt32(n);
        bytes += n;
        size -= n;
        if (mPartialBytes < mFrameBytes)
            return;
        TakeFrames(mPartial.data(), 1);
        mPartialBytes = 0;
    }
    const UInt32 frames = UInt32(size / mFrameBytes);
    TakeFrames(bytes, frames);
    const size_t rest = size - size_t(frames) * mFrameBytes;
    if (rest > 0 && mFrameBytes <= mPartial.size()) {
        std::memcpy(mPartial.data(), bytes + size_t(frames) * mFrameBytes, rest);
        mPartialBytes = UInt32(rest);
    }
}

void PulseStream::OnRead(pa_stream* stream, size_t, void* self)
{
    auto* s = static_cast<PulseStream*>(self);
    s->mCallbackHost = AudioGetCurrentHostTime();
    for (;;) {
        const void* data = nullptr;
        size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0)
            break;
        if (data) {
            s->Take(static_cast<const char*>(data), bytes);
        } else {
            // A hole: audio the server dropped. Time went on over it all the same.
            s->Deliver();
            s->mPartialBytes = 0;
            const UInt64 frames = bytes / s->mFrameBytes;
            s->mPosition += frames;
            s->mHoleFrames.fetch_add(frames, std::memory_order_relaxed);
            s->mHoles.fetch_add(1, std::memory_order_relaxed);
        }
        pa_stream_drop(stream);
    }
    // Blocks are handed on as soon as they arrive, full or not.
    s->Deliver();
    s->PublishClock(s->mCallbackHost);
}

void PulseStream::OnWrite(pa_stream* stream, size_t bytes, void* self)
{
    auto* s = static_cast<PulseStream*>(self);
    s->mCallbackHost = AudioGetCurrentHostTime();
    // Whole blocks, even where the server asks for a little less: a steady block size suits
    // the callbacks better, and the next request is smaller by as much.
    while (bytes > 0) {
        UInt32 frames = s->mBlockFrames;
        void* target = nullptr;
        size_t size = size_t(frames) * s->mFrameBytes;
        if (pa_stream_begin_write(stream, &target, &size) < 0 || !target)
            break;
        frames = std::min<UInt32>(frames, UInt32(size / s->mFrameBytes));
        if (frames == 0) {
            pa_stream_cancel_write(stream);
            break;
        }
        s->mBuffers.Clear(frames);
        s->mProc(s->mRefCon, s->StampAt(s->mPosition, s->mCallbackHost), frames, s->mBuffers.List(frames));
        auto* out = static_cast<char*>(target);
        for (UInt32 c = 0; c < s->mChannels; ++c) {
            const float* from = s->mBuffers.Channel(c);
            for (UInt32 f = 0; f < frames; ++f)
                std::memcpy(out + std::size_t(f) * s->mFrameBytes + c * sizeof(float), from + f,
                            sizeof(float));
        }
        const size_t written = size_t(frames) * s->mFrameBytes;
        pa_stream_write(stream, target, written, nullptr, 0, PA_SEEK_RELATIVE);
        s->mPosition += frames;
        s->mFrames.fetch_add(frames, std::memory_order_relaxed);
        bytes -= std::min(bytes, written);
    }
    s->PublishClock(s->mCallbackHost);
}

// ---------------------------------------------------------------------------------------------

std::shared_ptr<PulseAudioHardware> PulseAudioHardware::Connect(std::chrono::milliseconds timeout,
                                                                std::string* error)
{
    auto impl = std::make_shared<Impl>();
    std::string reason;
    if (!impl->Open(timeout, reason)) {
        if (error)
            *error = reason;
        return nullptr;
    }
    return std::shared_ptr<PulseAudioHardware>(new PulseAudioHardware(std::move(impl)));
}

PulseAudioHardware::PulseAudioHardware(std::shared_ptr<Impl> impl) : mImpl(std::move(impl)) {}

PulseAudioHardware::~PulseAudioHardware() = default;

bool PulseAudioHardware::Connected() const
{
    return mImpl->connected;
}

void PulseAudioHardware::FlushNotifications()
{
    // A round trip to the server first, so that events it has sent are in the queue.
    {
        LoopLock lock(mImpl->loop);
        if (mImpl->connected)
            mImpl->Wait(pa_context_get_server_info(mImpl->context, &Impl::OnServerInfo, mImpl.get()));
    }
    mImpl->notifier->Flush();
}

std::vector<AudioDeviceInfo> PulseAudioHardware::Devices() const
{
    std::vector<AudioDeviceInfo> list;
    {
        std::lock_guard lock(mImpl->cacheMutex);
        for (const auto& entry : mImpl->entries)
            list.push_back(entry.info);
    }
    for (auto& info : list)
        info = mImpl->AsRunning(info);
    return list;
}

OSStatus PulseAudioHardware::GetDevice(AudioDeviceID id, AudioDeviceInfo& info) const
{
    {
        std::lock_guard lock(mImpl->cacheMutex);
        const auto* entry = mImpl->Find(id);
        if (!entry)
            return kAudioHardwareBadDeviceError;
        info = entry->info;
    }
    info = mImpl->AsRunning(info);
    return noErr;
}

AudioDeviceID PulseAudioHardware::DefaultInputDevice() const
{
    std::lock_guard lock(mImpl->cacheMutex);
    for (const auto& entry : mImpl->entries)
        if (entry.isSource && entry.serverName == mImpl->defaultSource)
            return entry.info.id;
    return kAudioDeviceUnknown;
}

AudioDeviceID PulseAudioHardware::DefaultOutputDevice() const
{
    std::lock_guard lock(mImpl->cacheMutex);
    for (const auto& entry : mImpl->entries)
        if (!entry.isSource && entry.serverName == mImpl->defaultSink)
            return entry.info.id;
    return kAudioDeviceUnknown;
}

AudioHardware::ListenerId PulseAudioHardware::AddDeviceSetListener(std::function<void()> listener)
{
    return mImpl->notifier->AddDeviceSetListener(std::move(listener));
}

AudioHardware::ListenerId PulseAudioHardware::AddStreamFormatListener(AudioDeviceID device,
                                                                      std::function<void()> listener)
{
    return mImpl->notifier->AddStreamFormatListener(device, std::move(listener));
}

void PulseAudioHardware::RemoveListener(ListenerId id)
{
    mImpl->notifier->RemoveListener(id);
}

OSStatus PulseAudioHardware::OpenInputStream(AudioDeviceID device, AudioStreamProc proc, void* refCon,
                                             std::unique_ptr<AudioStream>& stream)
{
    AudioDeviceInfo info;
    if (!proc)
        return kAudioHardwareIllegalOperationError;
    if (GetDevice(device, info) != noErr || info.inputChannels == 0)
        return kAudioHardwareBadDeviceError;
    stream = std::make_unique<PulseStream>(mImpl, true, device, info, proc, refCon);
    return noErr;
}

OSStatus PulseAudioHardware::OpenOutputStream(AudioDeviceID device, AudioStreamProc proc, void* refCon,
                                              std::unique_ptr<AudioStream>& stream)
{
    AudioDeviceInfo info;
    if (!proc)
        return kAudioHardwareIllegalOperationError;
    if (GetDevice(device, info) != noErr || info.outputChannels == 0)
        return kAudioHardwareBadDeviceError;
    stream = std::make_unique<PulseStream>(mImpl, false, device, info, proc, refCon);
    return noErr;
}

} // namespace Tolm::Platform
