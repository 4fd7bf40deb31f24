#include "capture/KnownUsbDevice.h"

#include <cstring>
#include <deque>
#include <mutex>
#include <string>

namespace Tolm::Capture {

// Names are what PulseAudio and PipeWire report as device.product.name. Both take udev's
// hardware-database name for the id when there is one, else the product string the device
// itself sends; where the two differ and a desktop may show either, the row carries both.
// Ids and database names are from the usb.ids database; the devices' own product strings
// are our best knowledge from users' reports, not read off the hardware here.
//
// Search order matters only for ids that appear twice; none do.
const std::array<KnownUsbDevice, kKnownUsbDeviceCount> kKnownUsbDevices{{
    // Texas Instruments PCM2902: the codec inside most USB turntables and cassette decks
    // (and Behringer's UCA202/UFO202). Its own product string ends in a blank.
    {{0x08bb, 0x2902}, "USB Audio CODEC ", "PCM2902 Audio Codec", true, true, true},
    // PCM2900: the same codec without the extra I/O, in older USB turntables. Same string.
    {{0x08bb, 0x2900}, "USB Audio CODEC ", "PCM2900 Audio Codec", true, true, true},
    // PCM2902C, the later revision in current turntables; product string (two blanks, no
    // trailing one) from users' reports.
    {{0x08bb, 0x29c2}, "USB AUDIO  CODEC", "PCM2902C Audio CODEC", true, true, false},
    // PCM2900C, the same revision of the smaller codec; we know only its product string.
    {{0x08bb, 0x29c0}, "USB AUDIO  CODEC", nullptr, true, true, false},
    // ION Quick Play LP, a USB turntable with its own phono preamp (database name).
    {{0x0c76, 0x1600}, "Ion Quick Play LP turntable", nullptr, false, false, false},
    // Focusrite Scarlett 2i2 3rd Gen, a line interface often used behind a phono preamp:
    // database name, then its own product string.
    {{0x1235, 0x8210}, "Scarlett 2i2 3rd Gen", "Scarlett 2i2 USB", false, false, true},
    // Focusrite Scarlett Solo 3rd Gen: database name, then its own product string.
    {{0x1235, 0x8211}, "Scarlett Solo (3rd Gen.)", "Scarlett Solo USB", false, false, true},
    // Behringer UMC202HD, a line interface; not in the database, so its own product string.
    {{0x1397, 0x0507}, "UMC202HD 192k", nullptr, false, false, true},
    // C-Media CM108, the chip of many USB cassette players and converters (database name).
    {{0x0d8c, 0x013c}, "CM108 Audio Controller", nullptr, false, false, false},
    // Roland (Edirol) UA-1EX, a small line interface used with tape decks (database name).
    {{0x0582, 0x0096}, "EDIROL UA-1EX", nullptr, false, false, false},
}};

bool KnownUsbDevice::NameMatch(const char* name) const
{
    if (name == nullptr)
        return false;
    if (std::strcmp(name, firstName) == 0)
        return true;
    return secondName != nullptr && std::strcmp(name, secondName) == 0;
}

namespace {

struct RegisteredRow {
    KnownUsbDevice row;
    std::string firstName;
    std::string secondName;
    bool hasSecondName;
    bool active;
};

std::mutex& RegistryMutex()
{
    static std::mutex mutex;
    return mutex;
}

// A deque keeps its elements in place, so rows handed out never move; they are never
// freed either, since Audio may still point at one.
std::deque<RegisteredRow>& Registry()
{
    static std::deque<RegisteredRow> rows;
    return rows;
}

} // namespace

const KnownUsbDevice* FindKnownUsbDevice(const UsbID& id)
{
    for (const auto& row : kKnownUsbDevices) {
        if (row.id.vendorId == id.vendorId && row.id.productId == id.productId)
            return &row;
    }
    std::lock_guard lock(RegistryMutex());
    for (const auto& registered : Registry()) {
        if (registered.active && registered.row.id == id)
            return &registered.row;
    }
    return nullptr;
}

bool UsbIdIsForKnownDevice(const UsbID& id)
{
    return FindKnownUsbDevice(id) != nullptr;
}

KnownUsbDeviceRegistration::KnownUsbDeviceRegistration(UsbID id, const char* firstName,
                                                       const char* secondName, bool mayBeTurntable,
                                                       bool mayBeTape, bool softwareRiaa)
{
    std::lock_guard lock(RegistryMutex());
    auto& registered = Registry().emplace_back();
    registered.firstName = firstName ? firstName : "";
    registered.hasSecondName = secondName != nullptr;
    registered.secondName = secondName ? secondName : "";
    registered.row = {id,
                      registered.firstName.c_str(),
                      registered.hasSecondName ? registered.secondName.c_str() : nullptr,
                      mayBeTurntable,
                      mayBeTape,
                      softwareRiaa};
    registered.active = true;
    mRow = &registered.row;
}

KnownUsbDeviceRegistration::~KnownUsbDeviceRegistration()
{
    std::lock_guard lock(RegistryMutex());
    for (auto& registered : Registry()) {
        if (&registered.row == mRow)
            registered.active = false;
    }
}

} // namespace Tolm::Capture
