#pragma once

#include "platform/UsbBus.h"

namespace Tolm::Platform {

// The real bus through libusb-1.0's device list. Each walk opens its own libusb context,
// so a bus that appears later (a USB file system mounted after start) is seen.
class LibUsbBus final : public UsbBus {
  public:
    bool Enumerate(std::vector<UsbDeviceEntry>& devices) override;
};

} // namespace Tolm::Platform
