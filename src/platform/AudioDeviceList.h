#pragma once

#include "platform/CoreAudioTypes.h"

#include <vector>

namespace Tolm::Platform {

// The system's audio devices that have at least one channel in one direction, in the
// hardware's order, with their names as the hardware reports them (cut to 63 bytes).
class AudioDeviceList {
  public:
    struct Device {
        char name[64];
        AudioDeviceID deviceId;
    };

    explicit AudioDeviceList(bool isInput);

    const std::vector<Device>& GetList() const { return mDevices; }
    bool ForInput() const { return mInputs; }

  private:
    void BuildList();

    bool mInputs;
    std::vector<Device> mDevices;
};

} // namespace Tolm::Platform
