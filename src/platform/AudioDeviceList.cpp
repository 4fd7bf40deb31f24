#include "platform/AudioDeviceList.h"

#include "platform/AudioDevice.h"
#include "platform/AudioHardware.h"

namespace Tolm::Platform {

AudioDeviceList::AudioDeviceList(bool isInput) : mInputs(isInput)
{
    BuildList();
}

void AudioDeviceList::BuildList()
{
    mDevices.clear();
    for (const AudioDeviceInfo& info : Hardware().Devices()) {
        AudioDevice device;
        device.Init(info.id, mInputs);
        if (device.CountChannels() > 0) {
            Device entry{};
            device.GetName(entry.name, sizeof(entry.name));
            entry.deviceId = info.id;
            mDevices.push_back(entry);
        }
    }
}

} // namespace Tolm::Platform
