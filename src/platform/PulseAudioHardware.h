#pragma once

// The audio hardware as a PulseAudio (or PipeWire) sound server shows it: sources are input
// devices, sinks output devices (monitor sources are left out). One connection with its own
// event thread serves the device list, the change notifications and every stream.

#include "platform/AudioHardware.h"

#include <chrono>
#include <memory>
#include <string>

namespace Tolm::Platform {

class PulseAudioHardware final : public AudioHardware {
  public:
    // Connects to the server the environment names (PULSE_SERVER, else the user's session
    // server), never starting one. Null when none answers within `timeout`, with the reason
    // in `error`.
    static std::shared_ptr<PulseAudioHardware>
    Connect(std::chrono::milliseconds timeout = std::chrono::seconds(2), std::string* error = nullptr);
    ~PulseAudioHardware() override;

    // False once the server has gone away; the device list is then empty.
    bool Connected() const;
    // Waits until notifications already queued have been delivered (for tests).
    void FlushNotifications();

    // AudioHardware
    std::vector<AudioDeviceInfo> Devices() const override;
    OSStatus GetDevice(AudioDeviceID id, AudioDeviceInfo& info) const override;
    AudioDeviceID DefaultInputDevice() const override;
    AudioDeviceID DefaultOutputDevice() const override;
    ListenerId AddDeviceSetListener(std::function<void()> listener) override;
    ListenerId AddStreamFormatListener(AudioDeviceID device, std::function<void()> listener) override;
    void RemoveListener(ListenerId id) override;
    OSStatus OpenInputStream(AudioDeviceID device, AudioStreamProc proc, void* refCon,
                             std::unique_ptr<AudioStream>& stream) override;
    OSStatus OpenOutputStream(AudioDeviceID device, AudioStreamProc proc, void* refCon,
                              std::unique_ptr<AudioStream>& stream) override;

    struct Impl;

  private:
    explicit PulseAudioHardware(std::shared_ptr<Impl> impl);
    // Shared with the streams, so that a stream outliving the hardware object stays safe.
    std::shared_ptr<Impl> mImpl;
};

// Largest block the streams hand to a callback: about 10 ms, a power of two
// (512 frames at 44.1 and 48 kHz).
UInt32 PulseBufferFrames(Float64 sampleRate);

} // namespace Tolm::Platform
