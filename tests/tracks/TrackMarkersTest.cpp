#include "tracks/TrackMarkers.h"

#include <gtest/gtest.h>

using Tolm::Tracks::TrackMarkers;
using Positions = std::vector<std::int64_t>;

// Markers stay in order with every track at least the least length, whatever the hand does.
TEST(TrackMarkers, EditsKeepEveryTrackLongEnough)
{
    TrackMarkers markers({100, 1000, 2000, 3000}, 3500, 200);
    EXPECT_EQ(markers.trackCount(), 3u);

    EXPECT_EQ(markers.move(1, 50), 300);     // not closer than 200 to the start
    EXPECT_EQ(markers.move(1, 5000), 1800);  // nor to the next boundary
    EXPECT_EQ(markers.move(3, 9999), 3500);  // the end of the side at most
    EXPECT_EQ(markers.move(0, -5), 0);

    EXPECT_FALSE(markers.split(1900));       // too near a boundary
    EXPECT_FALSE(markers.split(3600));       // past the side
    EXPECT_EQ(markers.split(2600), std::optional<std::size_t>(3));
    EXPECT_EQ(markers.positions(), (Positions{0, 1800, 2000, 2600, 3500}));

    EXPECT_FALSE(markers.join(0));           // the start and end are not boundaries
    EXPECT_FALSE(markers.join(4));
    EXPECT_TRUE(markers.join(2));
    EXPECT_EQ(markers.positions(), (Positions{0, 1800, 2600, 3500}));
    EXPECT_EQ(markers.nearest(1790, 20), std::optional<std::size_t>(1));
    EXPECT_FALSE(markers.nearest(2200, 20));
}

// A side split into slivers while recording (a double click on New Track) comes out
// without them, and no more tracks can be made than the naming panels have fields for.
TEST(TrackMarkers, SliversAreMergedAndTheLimitHolds)
{
    EXPECT_EQ(TrackMarkers({0, 1000, 1050, 2000}, 2000, 200).positions(), (Positions{0, 1000, 2000}));
    EXPECT_EQ(TrackMarkers({0, 1000, 1950, 2000}, 2000, 200).positions(), (Positions{0, 1000, 2000}));
    EXPECT_EQ(TrackMarkers({}, 500, 200).positions(), (Positions{0, 500}));

    TrackMarkers markers({0, 100000}, 100000, 10);
    for (int i = 1; i < 40; ++i)
        ASSERT_TRUE(markers.split(i * 1000));
    EXPECT_EQ(markers.trackCount(), 40u);
    EXPECT_FALSE(markers.split(60000));
}
