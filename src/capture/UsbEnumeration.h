#pragma once

#include "capture/KnownUsbDevice.h"
#include "platform/UsbBus.h"

#include <vector>

namespace Tolm::Capture {

// One walk of the USB bus: the ids of the known devices on it, in bus order, one entry per
// physical device (two units of one model give two equal entries). Made per detection.
class UsbEnumeration {
  public:
    // Walks the process-wide bus.
    UsbEnumeration();
    explicit UsbEnumeration(Platform::UsbBus& bus);

    int numberOfDetectedDevices() const { return static_cast<int>(ids.size()); }
    // The row of the first known device seen, or null.
    const KnownUsbDevice* device() const;

    std::vector<UsbID> ids;

  private:
    void iterateDevices(const std::vector<Platform::UsbDeviceEntry>& devices);
    bool getUSBDevice(const Platform::UsbDeviceEntry& entry);
};

} // namespace Tolm::Capture
