#include "capture/UsbEnumeration.h"

#include "platform/FakeUsbBus.h"

#include <gtest/gtest.h>

using namespace Tolm::Capture;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;
using Tolm::Platform::FakeUsbBus;

namespace {

struct Walk {
    int count;
    const KnownUsbDevice* device;
    std::string out;
    std::string err;
};

Walk Enumerate(Tolm::Platform::UsbBus& bus)
{
    CaptureStdout();
    CaptureStderr();
    UsbEnumeration enumeration(bus);
    Walk walk{enumeration.numberOfDetectedDevices(), enumeration.device(), "", ""};
    walk.out = GetCapturedStdout();
    walk.err = GetCapturedStderr();
    return walk;
}

} // namespace

TEST(UsbEnumeration, CountsKnownDevicesAndLogsEveryDevice)
{
    FakeUsbBus bus;
    bus.Add(0x046d, 0xc52b, 0x1211); // a mouse receiver
    bus.Add(0x1235, 0x8211, 0x0623);
    const Walk walk = Enumerate(bus);
    EXPECT_EQ(walk.count, 1);
    ASSERT_NE(walk.device, nullptr);
    EXPECT_STREQ(walk.device->firstName, "Scarlett Solo (3rd Gen.)");
    EXPECT_EQ(walk.out, "Found device VID 0x046D (1133), PID 0xC52B (50475), release 4625\n"
                        "Found device VID 0x1235 (4661), PID 0x8211 (33297), release 1571\n");
    EXPECT_EQ(walk.err, "");
}

TEST(UsbEnumeration, TwoUnitsOfOneModelCountTwiceAndTheFirstSeenIsTheDevice)
{
    FakeUsbBus bus;
    bus.Add(0x08bb, 0x29c2);
    bus.Add(0x08bb, 0x2902);
    bus.Add(0x08bb, 0x2902);
    const Walk walk = Enumerate(bus);
    EXPECT_EQ(walk.count, 3);
    EXPECT_EQ(walk.device, FindKnownUsbDevice({0x08bb, 0x29c2}));
}

TEST(UsbEnumeration, UnreadableDeviceIsLeftOutWithItsMessage)
{
    FakeUsbBus bus;
    bus.AddUnreadable();
    bus.Add(0x08bb, 0x2902);
    const Walk walk = Enumerate(bus);
    EXPECT_EQ(walk.count, 1);
    EXPECT_EQ(walk.err, "Unable to create USB device with QueryInterface\n");
    EXPECT_EQ(walk.out, "Found device VID 0x08BB (2235), PID 0x2902 (10498), release 256\n");
}

TEST(UsbEnumeration, EmptyBusSaysSoButAnUnwalkableBusIsSilent)
{
    FakeUsbBus empty;
    Walk walk = Enumerate(empty);
    EXPECT_EQ(walk.count, 0);
    EXPECT_EQ(walk.device, nullptr);
    EXPECT_EQ(walk.err, "Unable to find first matching USB device\n");

    FakeUsbBus broken;
    broken.Add(0x08bb, 0x2902);
    broken.SetUnavailable(true);
    walk = Enumerate(broken);
    EXPECT_EQ(walk.count, 0);
    EXPECT_EQ(walk.err, "");
    EXPECT_EQ(walk.out, "");
}

TEST(UsbEnumeration, FakeBusAddsItsEntriesAfterTheBackingBus)
{
    auto real = std::make_shared<FakeUsbBus>();
    real->Add(0x0d8c, 0x013c);
    FakeUsbBus withDemo(real);
    withDemo.Add(0x08bb, 0x2900);
    Walk walk = Enumerate(withDemo);
    EXPECT_EQ(walk.count, 2);
    EXPECT_EQ(walk.device, FindKnownUsbDevice({0x0d8c, 0x013c}));

    // A real bus that cannot be walked (a container without USB) still shows the extras.
    real->SetUnavailable(true);
    walk = Enumerate(withDemo);
    EXPECT_EQ(walk.count, 1);
    EXPECT_EQ(walk.device, FindKnownUsbDevice({0x08bb, 0x2900}));
}

TEST(UsbEnumeration, RealBusCanBeWalkedWithoutCrashing)
{
    // Whatever this machine has: the walk either fails quietly or logs each device.
    CaptureStdout();
    CaptureStderr();
    UsbEnumeration enumeration;
    GetCapturedStdout();
    GetCapturedStderr();
    EXPECT_GE(enumeration.numberOfDetectedDevices(), 0);
}
