#include "capture/DemoRecordSide.h"

#include "filters/GapDetector.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

using Morvo::Audio::Filters::GapDetector;
using Tolm::Capture::DemoRecordSide;

namespace {

// Plays the side through a gap detector, noting when its events come, its peak and the
// power of 20 s of the first piece.
struct Played : GapDetector::Listener {
    double now = 0.0;
    std::vector<double> gaps, albumEnds;
    float peak = 0.0f;
    double musicPower = 0.0;
    UInt64 musicFrames = 0;
    void TrackSilenceStarted() override { gaps.push_back(now); }
    void TrackSilenceEnded() override {}
    void AlbumEnded() override { albumEnds.push_back(now); }

    Played(DemoRecordSide& side, double rate, double seconds)
    {
        GapDetector detector(*this, 44100);
        detector.SetSampleRate(static_cast<unsigned>(rate));
        constexpr UInt32 kBlock = 1024;
        std::vector<float> left(kBlock), right(kBlock);
        float* channels[] = {left.data(), right.data()};
        const double musicStart = side.Piece(0).start + 5.0, musicEnd = musicStart + 20.0;
        for (UInt64 done = 0; done < UInt64(seconds * rate); done += kBlock) {
            EXPECT_EQ(side.Render(channels, 2, kBlock), kBlock);
            for (UInt32 i = 0; i < kBlock; ++i) {
                peak = std::max({peak, std::fabs(left[i]), std::fabs(right[i])});
                const double t = double(done + i) / rate;
                if (t >= musicStart && t < musicEnd) {
                    musicPower += double(left[i]) * left[i];
                    ++musicFrames;
                }
            }
            now = double(done + kBlock) / rate;
            detector(left.data(), right.data(), kBlock);
        }
    }
};

} // namespace

// The point of the demo: six pieces at a record's level that live splitting finds exactly,
// ending the album by itself in the long run-out.
TEST(DemoRecordSide, GapDetectorSplitsItIntoSixTracksAndEndsTheAlbum)
{
    for (double rate : {44100.0, 48000.0}) {
        SCOPED_TRACE(rate);
        DemoRecordSide side(rate);
        const double end = side.RunOutStart();
        EXPECT_GT(side.Piece(0).start, 0.0);
        const Played played(side, rate, side.SideLength() + 5.0);
        EXPECT_LT(played.peak, 0.9f);
        EXPECT_GT(played.peak, 0.3f);
        const double rmsDb = 10.0 * std::log10(played.musicPower / double(played.musicFrames));
        EXPECT_GT(rmsDb, -26.0);
        EXPECT_LT(rmsDb, -12.0);
        // A gap after each piece (of 20 to 90 s, 2 to 4 s apart): five between pieces, one into the run-out.
        ASSERT_EQ(played.gaps.size(), 6u);
        for (int i = 0; i < 6; ++i) {
            const double pieceEnd = side.Piece(i).start + side.Piece(i).length;
            const double nextStart = i < 5 ? side.Piece(i + 1).start : end + 10.0;
            EXPECT_GE(side.Piece(i).length, 20.0);
            EXPECT_LE(side.Piece(i).length, 90.0);
            EXPECT_GT(played.gaps[size_t(i)], pieceEnd - 1.0) << "gap " << i;
            EXPECT_LT(played.gaps[size_t(i)], nextStart) << "gap " << i;
            EXPECT_LE(nextStart - pieceEnd, i < 5 ? 4.0 : 10.0);
            EXPECT_GE(nextStart - pieceEnd, 2.0);
        }
        // Album end once, 60.5 s of quiet after the last piece, well inside the run-out.
        ASSERT_EQ(played.albumEnds.size(), 1u);
        EXPECT_GT(played.albumEnds[0], end + 58.0);
        EXPECT_LT(played.albumEnds[0], side.SideLength());
    }
}

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
