#include "platform/UsbBus.h"

#include "platform/LibUsbBus.h"

#include <mutex>

namespace Tolm::Platform {

namespace {

std::mutex& BusMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::shared_ptr<UsbBus>& BusSlot()
{
    static std::shared_ptr<UsbBus> bus;
    return bus;
}

} // namespace

std::shared_ptr<UsbBus> CurrentUsbBus()
{
    std::lock_guard lock(BusMutex());
    auto& bus = BusSlot();
    if (!bus)
        bus = std::make_shared<LibUsbBus>();
    return bus;
}

void SetUsbBus(std::shared_ptr<UsbBus> bus)
{
    std::lock_guard lock(BusMutex());
    BusSlot() = std::move(bus);
}

} // namespace Tolm::Platform
