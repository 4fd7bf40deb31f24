#include "capture/KnownUsbDevice.h"

#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>

using namespace Tolm::Capture;

TEST(KnownUsbDevice, TableKeepsItsShapeAndLookupNeedsVendorAndProduct)
{
    int bothFlags = 0, noFlags = 0, secondNames = 0, softwareRiaa = 0, trailingBlank = 0;
    std::set<UInt16> vendors;
    std::set<std::string> firstNames;
    for (const auto& row : kKnownUsbDevices) {
        ASSERT_NE(row.firstName, nullptr);
        EXPECT_EQ(row.mayBeTurntable, row.mayBeTape) << row.firstName;
        bothFlags += row.mayBeTurntable && row.mayBeTape;
        noFlags += !row.mayBeTurntable && !row.mayBeTape;
        secondNames += row.secondName != nullptr;
        softwareRiaa += row.softwareRiaa;
        const size_t length = std::strlen(row.firstName);
        trailingBlank += length > 0 && row.firstName[length - 1] == ' ';
        vendors.insert(row.id.vendorId);
        firstNames.insert(row.firstName);
        EXPECT_EQ(FindKnownUsbDevice(row.id), &row) << "first row with the id wins";
        EXPECT_TRUE(row.NameMatch(row.firstName));
        EXPECT_FALSE(row.NameMatch(""));
        EXPECT_FALSE(!row.secondName && row.NameMatch("(null)")) << row.firstName;
    }
    EXPECT_EQ(bothFlags, 4);
    EXPECT_EQ(noFlags, 6);
    EXPECT_EQ(secondNames, 5);
    EXPECT_EQ(softwareRiaa, 5);
    EXPECT_GT(trailingBlank, 0);
    EXPECT_LT(vendors.size(), kKnownUsbDevices.size());
    EXPECT_LT(firstNames.size(), kKnownUsbDevices.size());

    EXPECT_TRUE(UsbIdIsForKnownDevice({0x08bb, 0x2902}));
    EXPECT_FALSE(UsbIdIsForKnownDevice({0x08bb, 0x2903})); // vendor alone never counts
    EXPECT_FALSE(UsbIdIsForKnownDevice({0x08bc, 0x2902}));
    EXPECT_FALSE(UsbIdIsForKnownDevice({0, 0}));
}

// The codec the test sources imitate, with the blank its name really ends in.
TEST(KnownUsbDevice, NameMatchIsExactWholeAndCaseSensitive)
{
    const KnownUsbDevice* codec = FindKnownUsbDevice({0x08bb, 0x2902});
    ASSERT_NE(codec, nullptr);
    EXPECT_STREQ(codec->firstName, "USB Audio CODEC ");
    EXPECT_TRUE(codec->mayBeTurntable && codec->mayBeTape);
    EXPECT_TRUE(codec->NameMatch("PCM2902 Audio Codec"));
    for (const char* name : {"USB Audio CODEC", "USB Audio CODEC  ", "usb audio codec ", " USB Audio CODEC ",
                             "USB Audio CODEC Analog Stereo", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(codec->NameMatch(name)) << (name ? name : "(null)");
}

TEST(KnownUsbDevice, RegisteredDeviceIsKnownWhileRegisteredAndItsRowOutlivesIt)
{
    const UsbID demo{0x1209, 0x7e57};
    ASSERT_FALSE(UsbIdIsForKnownDevice(demo));
    const KnownUsbDevice* row = nullptr;
    {
        KnownUsbDeviceRegistration registration(demo, "Demo Deck ", nullptr, false, false, true);
        row = FindKnownUsbDevice(demo);
        ASSERT_EQ(row, &registration.Row());
        EXPECT_TRUE(row->NameMatch("Demo Deck "));
        EXPECT_FALSE(row->NameMatch("Demo Deck"));
        // The table still wins for its own ids.
        KnownUsbDeviceRegistration shadow({0x08bb, 0x2902}, "Impostor", nullptr, false, false, false);
        EXPECT_STREQ(FindKnownUsbDevice({0x08bb, 0x2902})->firstName, "USB Audio CODEC ");
    }
    EXPECT_FALSE(UsbIdIsForKnownDevice(demo));
    EXPECT_STREQ(row->firstName, "Demo Deck ");
}
