#include "platform/LibUsbBus.h"

#include <libusb.h>
#include <memory>

namespace Tolm::Platform {

namespace {

struct ContextDeleter {
    void operator()(libusb_context* context) const { libusb_exit(context); }
};

struct DeviceListDeleter {
    void operator()(libusb_device** list) const { libusb_free_device_list(list, 1); }
};

} // namespace

bool LibUsbBus::Enumerate(std::vector<UsbDeviceEntry>& devices)
{
    devices.clear();
    libusb_context* rawContext = nullptr;
    if (libusb_init(&rawContext) != LIBUSB_SUCCESS)
        return false;
    std::unique_ptr<libusb_context, ContextDeleter> context(rawContext);

    libusb_device** rawList = nullptr;
    const ssize_t count = libusb_get_device_list(context.get(), &rawList);
    if (count < 0)
        return false;
    std::unique_ptr<libusb_device*, DeviceListDeleter> list(rawList);

    devices.reserve(static_cast<size_t>(count));
    for (ssize_t i = 0; i < count; ++i) {
        // The descriptor is cached by the kernel: reading it does not open the device.
        libusb_device_descriptor descriptor{};
        UsbDeviceEntry entry;
        if (libusb_get_device_descriptor(list.get()[i], &descriptor) == LIBUSB_SUCCESS) {
            entry.vendorId = descriptor.idVendor;
            entry.productId = descriptor.idProduct;
            entry.bcdDevice = descriptor.bcdDevice;
        } else {
            entry.readable = false;
        }
        devices.push_back(entry);
    }
    return true;
}

} // namespace Tolm::Platform
