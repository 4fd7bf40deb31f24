#include "capture/UsbEnumeration.h"

#include "../support/LogCapture.h"
#include "platform/FakeUsbBus.h"

#include <gtest/gtest.h>

using namespace Tolm::Capture;
using Tolm::Platform::FakeUsbBus;

namespace {

struct Walk {
    int count;
    const KnownUsbDevice* device;
    std::string log;
};

Walk Enumerate(Tolm::Platform::UsbBus& bus)
{
    Tolm::Test::LogCapture log;
    UsbEnumeration enumeration(bus);
    return {enumeration.numberOfDetectedDevices(), enumeration.device(), log.Text()};
}

} // namespace

// Two units of one model count twice and the first seen is the device; an unreadable
// device is left out with its message.
TEST(UsbEnumeration, CountsKnownDevicesAndLogsEveryDevice)
{
    FakeUsbBus bus;
    bus.Add(0x046d, 0xc52b, 0x1211); // a mouse receiver
    bus.AddUnreadable();
    bus.Add(0x08bb, 0x29c2);
    bus.Add(0x08bb, 0x2902);
    bus.Add(0x08bb, 0x2902);
    const Walk walk = Enumerate(bus);
    EXPECT_EQ(walk.count, 3);
    EXPECT_EQ(walk.device, FindKnownUsbDevice({0x08bb, 0x29c2}));
    EXPECT_EQ(walk.log, "Found device VID 0x046D (1133), PID 0xC52B (50475), release 4625\n"
                        "Unable to create USB device with QueryInterface\n"
                        "Found device VID 0x08BB (2235), PID 0x29C2 (10690), release 256\n"
                        "Found device VID 0x08BB (2235), PID 0x2902 (10498), release 256\n"
                        "Found device VID 0x08BB (2235), PID 0x2902 (10498), release 256\n");
}

// An empty bus says so, an unwalkable one (a container without USB) is silent, and the
// fake bus's own entries come after the backing bus's and survive it being unwalkable.
TEST(UsbEnumeration, EmptyUnwalkableAndBackedBuses)
{
    FakeUsbBus empty;
    Walk walk = Enumerate(empty);
    EXPECT_EQ(walk.count, 0);
    EXPECT_EQ(walk.device, nullptr);
    EXPECT_EQ(walk.log, "Unable to find first matching USB device\n");

    auto real = std::make_shared<FakeUsbBus>();
    real->Add(0x0d8c, 0x013c);
    FakeUsbBus withDemo(real);
    withDemo.Add(0x08bb, 0x2900);
    walk = Enumerate(withDemo);
    EXPECT_EQ(walk.count, 2);
    EXPECT_EQ(walk.device, FindKnownUsbDevice({0x0d8c, 0x013c}));

    real->SetUnavailable(true);
    walk = Enumerate(*real);
    EXPECT_EQ(walk.count, 0);
    EXPECT_EQ(walk.log, "");
    walk = Enumerate(withDemo);
    EXPECT_EQ(walk.count, 1);
    EXPECT_EQ(walk.device, FindKnownUsbDevice({0x08bb, 0x2900}));
}

TEST(UsbEnumeration, RealBusCanBeWalkedWithoutCrashing)
{
    // Whatever this machine has: the walk either fails quietly or logs each device.
    Tolm::Test::LogCapture log;
    const int count = UsbEnumeration().numberOfDetectedDevices();
    EXPECT_GE(count, 0);
}
