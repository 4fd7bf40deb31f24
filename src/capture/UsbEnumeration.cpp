#include "capture/UsbEnumeration.h"

#include "base/SystemLog.h"

#include <cstdio>

namespace Tolm::Capture {

UsbEnumeration::UsbEnumeration() : UsbEnumeration(*Platform::CurrentUsbBus()) {}

UsbEnumeration::UsbEnumeration(Platform::UsbBus& bus)
{
    std::vector<Platform::UsbDeviceEntry> devices;
    // A bus that cannot be walked leaves no ids and says nothing: to detection that is
    // "no device connected".
    if (!bus.Enumerate(devices))
        return;
    iterateDevices(devices);
}

const KnownUsbDevice* UsbEnumeration::device() const
{
    return ids.empty() ? nullptr : FindKnownUsbDevice(ids.front());
}

void UsbEnumeration::iterateDevices(const std::vector<Platform::UsbDeviceEntry>& devices)
{
    if (devices.empty()) {
        Tolm::SystemLog::Print("Unable to find first matching USB device\n");
        return;
    }
    for (const auto& entry : devices)
        getUSBDevice(entry);
}

bool UsbEnumeration::getUSBDevice(const Platform::UsbDeviceEntry& entry)
{
    if (!entry.readable) {
        Tolm::SystemLog::Print("Unable to create USB device with QueryInterface\n");
        return false;
    }
    const UsbID id{entry.vendorId, entry.productId};
    if (UsbIdIsForKnownDevice(id))
        ids.push_back(id);
    // The release number is printed as a plain integer although USB encodes it in BCD.
    Tolm::SystemLog::Print("Found device VID 0x%04X (%d), PID 0x%04X (%d), release %d\n", entry.vendorId,
                           entry.vendorId, entry.productId, entry.productId, entry.bcdDevice);
    return true;
}

} // namespace Tolm::Capture
