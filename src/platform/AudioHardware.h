#pragma once

// The audio hardware as the engine sees it: a list of devices, the default devices,
// change notifications, and streams that call back on a real-time thread.
// Two implementations: PulseAudioHardware (libpulse, serves PulseAudio and PipeWire
// desktops) and VirtualAudioHardware (devices defined in code, for tests and the demo).

#include "platform/CoreAudioTypes.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tolm::Platform {

struct UsbIdentity {
    UInt16 vendorId = 0;
    UInt16 productId = 0;
    friend bool operator==(const UsbIdentity&, const UsbIdentity&) = default;
};

// One device. A PulseAudio source is a device with input channels only, a sink one with
// output channels only.
struct AudioDeviceInfo {
    AudioDeviceID id = 0;         // never 0; kAudioDeviceUnknown is "unknown"
    std::string name;             // the hardware's product name byte for byte (trailing blanks kept),
                                  // else the description; what device matching compares
    std::string description;      // what the user is shown (may be translated by the server)
    UInt32 inputChannels = 0;
    UInt32 outputChannels = 0;
    Float64 nominalSampleRate = 0.0;
    Float64 actualSampleRate = 0.0;  // 0.0 when it cannot be read
    // Latency in frames as the device runs for the streams open on it (a stream asking for
    // smaller blocks makes it run with less).
    UInt32 safetyOffsetFrames = 0;   // latency the device adds
    UInt32 bufferFrames = 0;         // I/O buffer size
    std::optional<UsbIdentity> usb;  // where the server reports USB vendor and product ids
};

// Real-time callbacks. `data` is non-interleaved Float32, one single-channel buffer per
// channel of the stream's client format, `frames` long (at most BufferFrames()).
// Input: the platform has filled `data` with the captured block. Output: fill `data`.
// Must not allocate, lock, block, log or touch files.
using AudioStreamProc = OSStatus (*)(void* refCon, const AudioTimeStamp& timeStamp, UInt32 frames,
                                     AudioBufferList* data);

struct AudioStreamStatistics {
    UInt64 frames = 0;      // frames delivered to (or asked of) the callback
    UInt64 holeFrames = 0;  // frames the server dropped; sample time advanced over them
    UInt32 holes = 0;
};

// A stream on one device, in one direction. Created stopped.
class AudioStream {
public:
    virtual ~AudioStream() = default;

    virtual AudioDeviceID Device() const = 0;
    // The device side: its rate and channel count, as Float32.
    virtual AudioStreamBasicDescription DeviceFormat() const = 0;
    // What the callback sees; starts as DeviceFormat() made non-interleaved Float32.
    virtual AudioStreamBasicDescription ClientFormat() const = 0;
    // Non-interleaved Float32 only; the channel count and rate may differ from the device's
    // where the implementation can convert. Only while stopped.
    virtual OSStatus SetClientFormat(const AudioStreamBasicDescription& format) = 0;
    // Largest block the callback is given.
    virtual UInt32 BufferFrames() const = 0;
    // Asks for blocks of about `frames` frames: smaller blocks mean less latency and more
    // wake-ups. Only while stopped. A stream may round the request or keep its own size;
    // BufferFrames() tells what it uses.
    virtual OSStatus SetBufferFrames(UInt32 /*frames*/) { return noErr; }

    virtual OSStatus Start() = 0;
    virtual OSStatus Stop() = 0;  // when it returns, the callback is not running and won't be called
    virtual bool IsRunning() const = 0;

    // The stream's clock now (sample time, host time, rate scalar). Fails with
    // kAudioHardwareNotRunningError when the stream is stopped or its device has gone.
    // Callable from any thread, the other stream's real-time thread included: lock-free.
    virtual OSStatus GetCurrentTime(AudioTimeStamp& now) const = 0;

    virtual AudioStreamStatistics Statistics() const = 0;
};

class AudioHardware {
public:
    using ListenerId = UInt64;

    virtual ~AudioHardware() = default;

    // In the hardware's order.
    virtual std::vector<AudioDeviceInfo> Devices() const = 0;
    virtual OSStatus GetDevice(AudioDeviceID id, AudioDeviceInfo& info) const = 0;
    // kAudioDeviceUnknown when there is none.
    virtual AudioDeviceID DefaultInputDevice() const = 0;
    virtual AudioDeviceID DefaultOutputDevice() const = 0;

    // Listeners run on the hardware's notification thread, never on a real-time thread.
    // A listener may add or remove listeners and open or close streams. RemoveListener
    // returns once the listener is not running (unless called from that listener itself).
    virtual ListenerId AddDeviceSetListener(std::function<void()> listener) = 0;
    // The physical format (rate, channels) of the device's streams changed.
    virtual ListenerId AddStreamFormatListener(AudioDeviceID device, std::function<void()> listener) = 0;
    virtual void RemoveListener(ListenerId id) = 0;

    // Record streams never move to another device: if the device goes away, the stream
    // stops delivering and GetCurrentTime fails.
    virtual OSStatus OpenInputStream(AudioDeviceID device, AudioStreamProc proc, void* refCon,
                                     std::unique_ptr<AudioStream>& stream) = 0;
    virtual OSStatus OpenOutputStream(AudioDeviceID device, AudioStreamProc proc, void* refCon,
                                      std::unique_ptr<AudioStream>& stream) = 0;
};

// The process-wide hardware: PulseAudio unless replaced; an empty virtual hardware with a
// null output when no sound server answers.
AudioHardware& Hardware();
void SetHardware(std::shared_ptr<AudioHardware> hardware);

} // namespace Tolm::Platform
