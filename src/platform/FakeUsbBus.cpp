#include "platform/FakeUsbBus.h"

#include <algorithm>

namespace Tolm::Platform {

FakeUsbBus::FakeUsbBus(std::shared_ptr<UsbBus> backing) : mBacking(std::move(backing)) {}

void FakeUsbBus::Add(const UsbDeviceEntry& device)
{
    std::lock_guard lock(mMutex);
    mDevices.push_back(device);
}

void FakeUsbBus::Add(UInt16 vendorId, UInt16 productId, UInt16 bcdDevice)
{
    Add(UsbDeviceEntry{true, vendorId, productId, bcdDevice});
}

void FakeUsbBus::AddUnreadable()
{
    Add(UsbDeviceEntry{false, 0, 0, 0});
}

bool FakeUsbBus::Remove(UInt16 vendorId, UInt16 productId)
{
    std::lock_guard lock(mMutex);
    auto it = std::find_if(mDevices.begin(), mDevices.end(), [&](const UsbDeviceEntry& d) {
        return d.readable && d.vendorId == vendorId && d.productId == productId;
    });
    if (it == mDevices.end())
        return false;
    mDevices.erase(it);
    return true;
}

void FakeUsbBus::Clear()
{
    std::lock_guard lock(mMutex);
    mDevices.clear();
}

void FakeUsbBus::SetUnavailable(bool unavailable)
{
    std::lock_guard lock(mMutex);
    mUnavailable = unavailable;
}

bool FakeUsbBus::Enumerate(std::vector<UsbDeviceEntry>& devices)
{
    devices.clear();
    {
        std::lock_guard lock(mMutex);
        if (mUnavailable)
            return false;
    }
    // A backing bus that cannot be walked (no USB in a container) still leaves our own
    // entries: the demo must work there.
    if (mBacking && !mBacking->Enumerate(devices))
        devices.clear();
    std::lock_guard lock(mMutex);
    devices.insert(devices.end(), mDevices.begin(), mDevices.end());
    return true;
}

} // namespace Tolm::Platform
