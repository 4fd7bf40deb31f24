#pragma once

// The USB turntables, cassette decks and interfaces we record from. Detection finds them on
// the bus by id and then finds their audio input by name.

#include "capture/UsbID.h"

#include <array>
#include <cstddef>

namespace Tolm::Capture {

struct KnownUsbDevice {
    UsbID id;
    const char* firstName;  // the name the sound server gives the device's source; never null
    const char* secondName; // another name the same source goes by, or null
    // Both set: a bare codec that may sit in a turntable or in a tape deck, so the user is
    // asked which. Only the two together mean anything (see Audio::mightBeTurntableOrTape).
    bool mayBeTurntable;
    bool mayBeTape;
    // For a turntable: set, its phono signal is flat and needs the whole RIAA curve; clear,
    // only the bass shelf is applied.
    bool softwareRiaa;

    // Exact, case-sensitive, whole-string comparison: blanks count, a trailing one included.
    bool NameMatch(const char* name) const;
};

inline constexpr std::size_t kKnownUsbDeviceCount = 10;
extern const std::array<KnownUsbDevice, kKnownUsbDeviceCount> kKnownUsbDevices;

// The first row with both ids equal (the table, then any registered device), or null.
const KnownUsbDevice* FindKnownUsbDevice(const UsbID& id);
bool UsbIdIsForKnownDevice(const UsbID& id);

// Makes a device that is not in the table known while it lives: the demo turntable, which
// has a virtual bus entry and source of its own. Rows are searched after the table. The row
// a lookup returned stays valid for the program's life, also after the registration ends.
class KnownUsbDeviceRegistration {
  public:
    KnownUsbDeviceRegistration(UsbID id, const char* firstName, const char* secondName, bool mayBeTurntable,
                               bool mayBeTape, bool softwareRiaa);
    ~KnownUsbDeviceRegistration();
    KnownUsbDeviceRegistration(const KnownUsbDeviceRegistration&) = delete;
    KnownUsbDeviceRegistration& operator=(const KnownUsbDeviceRegistration&) = delete;

    const KnownUsbDevice& Row() const { return *mRow; }

  private:
    const KnownUsbDevice* mRow;
};

} // namespace Tolm::Capture
