#pragma once

#include "platform/CoreAudioTypes.h"

namespace Tolm::Capture {

// A USB vendor and product id pair.
struct UsbID {
    UInt16 vendorId = 0;
    UInt16 productId = 0;

    friend constexpr bool operator==(const UsbID&, const UsbID&) = default;
};

} // namespace Tolm::Capture
