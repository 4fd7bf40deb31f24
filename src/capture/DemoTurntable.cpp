#include "capture/DemoTurntable.h"

#include "platform/AudioHardware.h"

namespace Tolm::Capture {

using Platform::VirtualAudioHardware;

DemoTurntable::DemoTurntable(std::shared_ptr<Platform::AudioHardware> hardware,
                             std::shared_ptr<Platform::UsbBus> bus, Kind kind, double sampleRate,
                             VirtualAudioHardware::Clock clock, double speed)
    : mSide(std::make_shared<DemoRecordSide>(sampleRate)),
      mHardware(std::make_shared<VirtualAudioHardware>(clock, std::move(hardware))),
      mBus(std::make_shared<Platform::FakeUsbBus>(std::move(bus))),
      mRegistration(kUsbId, kind == Kind::OwnPreamp ? kName : kBareCodecName, nullptr,
                    kind == Kind::BareCodec, kind == Kind::BareCodec, kind == Kind::BareCodec),
      mSampleRate(sampleRate),
      mSpeed(speed)
{
    if (mHardware->DefaultOutputDevice() == kAudioDeviceUnknown) {
        Platform::VirtualDeviceSpec output;
        output.name = "Null Output";
        output.outputChannels = 2;
        output.sampleRate = sampleRate;
        mHardware->SetDefaultOutputDevice(mHardware->AddDevice(output));
    }
    PlugIn();
}

DemoTurntable::~DemoTurntable() = default;

void DemoTurntable::Install()
{
    Platform::SetHardware(mHardware);
    Platform::SetUsbBus(mBus);
}

AudioDeviceID DemoTurntable::OutputDeviceId() const
{
    return mHardware->DefaultOutputDevice();
}

void DemoTurntable::PlugIn()
{
    if (mDeviceId != kAudioDeviceUnknown)
        return;
    // The bus entry first: the device-set notification that AddDevice raises must find it.
    mBus->Add(kUsbId.vendorId, kUsbId.productId, 0x0100);
    Platform::VirtualDeviceSpec spec;
    spec.name = Name();
    spec.description = "Demo turntable";
    spec.inputChannels = 2;
    spec.sampleRate = mSampleRate;
    spec.usb = Platform::UsbIdentity{kUsbId.vendorId, kUsbId.productId};
    spec.speed = mSpeed;
    mDeviceId = mHardware->AddDevice(spec, mSide);
}

void DemoTurntable::Unplug()
{
    if (mDeviceId == kAudioDeviceUnknown)
        return;
    mBus->Remove(kUsbId.vendorId, kUsbId.productId);
    mHardware->RemoveDevice(mDeviceId);
    mDeviceId = kAudioDeviceUnknown;
}

} // namespace Tolm::Capture
