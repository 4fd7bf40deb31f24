#pragma once

// The USB bus as detection sees it: one entry per attached device, in bus order, with the
// ids from its device descriptor. LibUsbBus walks the real bus; FakeUsbBus stands in for it
// in tests and adds the demo turntable to the real one.

#include "platform/CoreAudioTypes.h"

#include <memory>
#include <vector>

namespace Tolm::Platform {

struct UsbDeviceEntry {
    // False when the device is on the bus but its descriptor could not be read; the ids
    // are then meaningless.
    bool readable = true;
    UInt16 vendorId = 0;
    UInt16 productId = 0;
    UInt16 bcdDevice = 0; // release number, BCD-encoded as USB gives it
};

class UsbBus {
  public:
    virtual ~UsbBus() = default;
    // Every attached device, in bus order. False when the bus cannot be walked at all
    // (no USB file system, no permission); `devices` is then empty.
    virtual bool Enumerate(std::vector<UsbDeviceEntry>& devices) = 0;
};

// The process-wide bus: libusb unless replaced. Safe to call from any thread that is not
// real-time; the returned pointer keeps a replaced bus alive while it is used.
std::shared_ptr<UsbBus> CurrentUsbBus();
void SetUsbBus(std::shared_ptr<UsbBus> bus);

} // namespace Tolm::Platform
