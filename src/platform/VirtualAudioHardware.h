#pragma once

// In-process audio devices for the tests and the demo turntable. Input devices play a
// SignalSource; output devices are null outputs that can keep what they were given.
// Devices run either on their own thread in real time (Clock::RealTime) or only when a
// test pumps them (Clock::Manual). Given a backing hardware (PulseAudio, say), its devices
// are listed first and its streams opened as usual: that is how --demo adds a turntable to
// the user's own devices.

#include "platform/AudioHardware.h"


namespace Tolm::Platform {

// Produces input for a virtual device. Called on the device's (real-time) thread.
class SignalSource {
public:
    virtual ~SignalSource() = default;
    // Write `frames` frames into each of `channelCount` non-interleaved channels. Returns
    // the frames produced; fewer than asked means the signal has ended and the rest is
    // silence (a device keeps running on silence).
    virtual UInt32 Render(float* const* channels, UInt32 channelCount, UInt32 frames) = 0;
};

// A generator: f(frameIndex, channel) -> sample.
std::shared_ptr<SignalSource> MakeFunctionSource(std::function<float(UInt64 frame, UInt32 channel)> f);
// Samples held in memory, interleaved; plays once, then silence.
std::shared_ptr<SignalSource> MakeBufferSource(std::vector<float> interleaved, UInt32 channels);
// A sound file read with libsndfile (read ahead on another thread, so Render never touches
// the file). Throws std::runtime_error when the file cannot be opened.
std::shared_ptr<SignalSource> MakeSoundFileSource(const std::string& path, bool loop = false);

struct VirtualDeviceSpec {
    std::string name;
    std::string description;  // defaults to name
    UInt32 inputChannels = 0;
    UInt32 outputChannels = 0;
    Float64 sampleRate = 44100.0;
    UInt32 bufferFrames = 512;
    UInt32 safetyOffsetFrames = 0;
    std::optional<UsbIdentity> usb;
    // Real-time clock only: blocks come this many times faster than the rate says (a side
    // played through in seconds; the sample times still count at the device's rate).
    double speed = 1.0;
};

class VirtualAudioHardware final : public AudioHardware {
public:
    enum class Clock { RealTime, Manual };

    // Virtual device ids start at 0x70000001; a backing hardware's ids stay below 0x70000000.
    explicit VirtualAudioHardware(Clock clock = Clock::Manual, std::shared_ptr<AudioHardware> backing = nullptr);
    ~VirtualAudioHardware() override;

    // Adding or removing a device raises the device-set notification.
    AudioDeviceID AddDevice(const VirtualDeviceSpec& spec, std::shared_ptr<SignalSource> source = nullptr);
    void RemoveDevice(AudioDeviceID id);
    void SetDefaultInputDevice(AudioDeviceID id);
    void SetDefaultOutputDevice(AudioDeviceID id);

    // Changes the device's rate and raises its stream-format notification.
    void SetSampleRate(AudioDeviceID id, Float64 rate);
    // Clock drift seen by the device's streams (1.0 = exact).
    void SetRateScalar(AudioDeviceID id, Float64 rateScalar);
    // The next `frames` frames of the device's input are lost, as a server reports a hole.
    void InjectHole(AudioDeviceID id, UInt32 frames);

    // Manual clock: advances the device by `frames` frames, in blocks of its buffer size:
    // each running input stream gets the source's next block, each running output stream is
    // asked for a block. Every stream of the device sees the same sample times.
    void Pump(AudioDeviceID id, UInt32 frames);

    // Returns once every notification raised so far has reached its listeners.
    void FlushNotifications();

    // Output devices keep what their streams wrote (interleaved) while capture is on.
    void SetCaptureOutput(AudioDeviceID id, bool capture);
    std::vector<float> TakeCapturedOutput(AudioDeviceID id);

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

private:
    struct Impl;
    std::unique_ptr<Impl> mImpl;
};

} // namespace Tolm::Platform
