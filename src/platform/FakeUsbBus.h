#pragma once

#include "platform/UsbBus.h"

#include <mutex>

namespace Tolm::Platform {

// A bus defined in code. Given a backing bus (the real one), its devices come first and
// the fake's own entries follow: that is how the demo turntable appears on the user's bus.
// Thread-safe, so tests may plug and unplug while detection runs.
class FakeUsbBus final : public UsbBus {
  public:
    explicit FakeUsbBus(std::shared_ptr<UsbBus> backing = nullptr);

    void Add(const UsbDeviceEntry& device);
    void Add(UInt16 vendorId, UInt16 productId, UInt16 bcdDevice = 0x0100);
    void AddUnreadable();
    // Removes the first entry with these ids; false when there is none.
    bool Remove(UInt16 vendorId, UInt16 productId);
    void Clear();
    // A bus that cannot be walked at all (the backing bus is not asked either).
    void SetUnavailable(bool unavailable);

    bool Enumerate(std::vector<UsbDeviceEntry>& devices) override;

  private:
    std::shared_ptr<UsbBus> mBacking;
    std::mutex mMutex;
    std::vector<UsbDeviceEntry> mDevices;
    bool mUnavailable = false;
};

} // namespace Tolm::Platform
