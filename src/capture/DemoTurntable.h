#pragma once

// A turntable that is not there: a virtual input device with a USB id and a name of its
// own, playing a made-up record side in real time, so that every path of the program —
// detection, monitoring, splitting, the end of the side — runs on a machine with no sound
// hardware. It sits on top of the real devices: the user's own output plays the monitor
// (or a null output where there is none), and the real USB bus gets one more entry.
//
// It is known to detection through a registered row, not through the table of supported
// hardware: the table lists only devices people can buy.

#include "capture/DemoRecordSide.h"
#include "capture/KnownUsbDevice.h"
#include "platform/FakeUsbBus.h"
#include "platform/VirtualAudioHardware.h"

#include <memory>

namespace Tolm::Capture {

class DemoTurntable {
  public:
    // pid.codes' vendor id with a product id it keeps for tests: no real device answers to it.
    static constexpr UsbID kUsbId{0x1209, 0x0001};
    static constexpr const char* kName = "Tolm Demo Turntable";
    static constexpr const char* kBareCodecName = "Tolm Demo Phono Codec";

    enum class Kind {
        OwnPreamp, // like most USB turntables: nothing to ask, no equaliser
        BareCodec, // a codec that may sit in a turntable or a deck: the user is asked
    };

    // `hardware` and `bus`: the real ones to sit on (null for none). Manual clock: a test
    // pumps the turntable. `speed` above 1 plays the side that many times faster than real time.
    DemoTurntable(
        std::shared_ptr<Platform::AudioHardware> hardware, std::shared_ptr<Platform::UsbBus> bus,
        Kind kind = Kind::OwnPreamp, double sampleRate = 44100.0,
        Platform::VirtualAudioHardware::Clock clock = Platform::VirtualAudioHardware::Clock::RealTime,
        double speed = 1.0);
    ~DemoTurntable();
    DemoTurntable(const DemoTurntable&) = delete;
    DemoTurntable& operator=(const DemoTurntable&) = delete;

    // Makes the demo's hardware and bus the process's. Before the Audio controller is made;
    // the demo must outlive everything that uses them.
    void Install();

    DemoRecordSide& Side() { return *mSide; }
    AudioDeviceID DeviceId() const { return mDeviceId; }
    AudioDeviceID OutputDeviceId() const;
    const char* Name() const { return mRegistration.Row().firstName; }
    const std::shared_ptr<Platform::VirtualAudioHardware>& Hardware() const { return mHardware; }
    const std::shared_ptr<Platform::FakeUsbBus>& Bus() const { return mBus; }

    // Unplugs the turntable (device and bus entry), or plugs it in again.
    void Unplug();
    void PlugIn();

  private:
    std::shared_ptr<DemoRecordSide> mSide;
    std::shared_ptr<Platform::VirtualAudioHardware> mHardware;
    std::shared_ptr<Platform::FakeUsbBus> mBus;
    KnownUsbDeviceRegistration mRegistration;
    double mSampleRate;
    double mSpeed;
    AudioDeviceID mDeviceId = kAudioDeviceUnknown;
};

} // namespace Tolm::Capture
