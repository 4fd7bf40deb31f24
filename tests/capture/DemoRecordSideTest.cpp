#include "capture/DemoRecordSide.h"

#include <gtest/gtest.h>
#include <vector>

using Tolm::Capture::DemoRecordSide;

// How the demo splits and ends is proven where it matters, through the Audio controller
// (DemoTurntableTest) and tolm-convert record (RecordCommandsTest).
TEST(DemoRecordSide, SameSideEveryTimeAndDropNeedleStartsOver)
{
    DemoRecordSide side;
    std::vector<float> a(4096), b(4096), c(4096), d(4096);
    float* first[] = {a.data(), b.data()};
    float* again[] = {c.data(), d.data()};
    side.Render(first, 2, 4096);
    side.Render(again, 2, 4096);
    EXPECT_NE(a, c);
    EXPECT_EQ(side.Position(), 8192u);
    side.DropNeedle();
    side.Render(again, 2, 4096);
    EXPECT_EQ(a, c);
    EXPECT_EQ(b, d);
    EXPECT_EQ(side.Position(), 4096u);

    // Mono gets both channels mixed, so nothing is lost to a one-channel device.
    float* mono[] = {c.data()};
    side.DropNeedle();
    side.Render(mono, 1, 4096);
    EXPECT_FLOAT_EQ(c[1000], 0.5f * (a[1000] + b[1000]));
}
