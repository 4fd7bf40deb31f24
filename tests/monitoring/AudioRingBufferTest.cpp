#include "monitoring/AudioRingBuffer.h"

#include "TestBufferList.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

using Tolm::Monitoring::AudioRingBuffer;
using Tolm::Test::TestBufferList;

namespace {

// Left carries the sample time, right its negation: any misplaced frame shows.
void FillWithTimes(TestBufferList& block, SInt64 startTime)
{
    for (UInt32 i = 0; i < block.Frames(); ++i) {
        block.Channel(0)[i] = float(startTime + i);
        block.Channel(1)[i] = -float(startTime + i);
    }
}

AudioRingBuffer::Result StoreTimes(AudioRingBuffer& ring, SInt64 startTime, UInt32 frames)
{
    TestBufferList block(2, frames);
    FillWithTimes(block, startTime);
    return ring.Store(block.List(), frames, startTime);
}

// Fetches and checks every frame against its sample time.
::testing::AssertionResult HoldsTimes(AudioRingBuffer& ring, SInt64 startTime, UInt32 frames)
{
    TestBufferList out(2, frames);
    if (auto r = ring.Fetch(out.List(), frames, startTime); r != AudioRingBuffer::Ok)
        return ::testing::AssertionFailure() << "fetch returned " << int(r);
    for (UInt32 i = 0; i < frames; ++i) {
        if (out.Channel(0)[i] != float(startTime + i) || out.Channel(1)[i] != -float(startTime + i))
            return ::testing::AssertionFailure() << "frame " << startTime + i << " holds " << out.Channel(0)[i];
    }
    return ::testing::AssertionSuccess();
}

std::pair<SInt64, SInt64> Bounds(const AudioRingBuffer& ring)
{
    SInt64 start = -1, end = -1;
    EXPECT_EQ(ring.GetTimeBounds(start, end), AudioRingBuffer::Ok);
    return {start, end};
}

} // namespace

TEST(AudioRingBuffer, CapacityIsRoundedUpToAPowerOfTwo)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 1000);
    EXPECT_EQ(ring.CapacityFrames(), 1024u);
    ring.Allocate(2, 4, 4096);
    EXPECT_EQ(ring.CapacityFrames(), 4096u);
    ring.Allocate(2, 4, 4097);
    EXPECT_EQ(ring.CapacityFrames(), 8192u);
    ring.Allocate(1, 4, 1);
    EXPECT_EQ(ring.CapacityFrames(), 1u);
    EXPECT_EQ(Bounds(ring), std::make_pair(SInt64(0), SInt64(0)));

    ring.Deallocate();
    EXPECT_EQ(ring.CapacityFrames(), 0u);
    EXPECT_EQ(ring.ChannelCount(), 0);
}

TEST(AudioRingBuffer, StoredBlocksComeBackAcrossTheWrap)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 1000);
    // 300-frame blocks from an odd start: several stores and fetches straddle the end of storage.
    for (SInt64 t = 777; t < 777 + 5 * 1024; t += 300) {
        ASSERT_EQ(StoreTimes(ring, t, 300), AudioRingBuffer::Ok);
        ASSERT_TRUE(HoldsTimes(ring, t, 300));
    }
    auto [start, end] = Bounds(ring);
    EXPECT_EQ(end - start, 1024);
    // A read of the whole capacity, wrapping at its middle.
    EXPECT_TRUE(HoldsTimes(ring, start, 1024));
}

TEST(AudioRingBuffer, StoreOfMoreThanTheCapacityChangesNothing)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 1024);
    ASSERT_EQ(StoreTimes(ring, 0, 512), AudioRingBuffer::Ok);
    EXPECT_EQ(StoreTimes(ring, 512, 1025), AudioRingBuffer::TooMany);
    EXPECT_EQ(Bounds(ring), std::make_pair(SInt64(0), SInt64(512)));
    EXPECT_TRUE(HoldsTimes(ring, 0, 512));
    // Exactly the capacity is fine.
    EXPECT_EQ(StoreTimes(ring, 512, 1024), AudioRingBuffer::Ok);
    EXPECT_TRUE(HoldsTimes(ring, 512, 1024));
}

TEST(AudioRingBuffer, StoreGoingBackInTimeDropsEverythingHeld)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 1024);
    ASSERT_EQ(StoreTimes(ring, 5000, 256), AudioRingBuffer::Ok);
    ASSERT_EQ(StoreTimes(ring, 5256, 256), AudioRingBuffer::Ok);

    ASSERT_EQ(StoreTimes(ring, 100, 64), AudioRingBuffer::Ok);
    EXPECT_EQ(Bounds(ring), std::make_pair(SInt64(100), SInt64(164)));
    EXPECT_TRUE(HoldsTimes(ring, 100, 64));

    // Even a step back by a single frame restarts the range.
    ASSERT_EQ(StoreTimes(ring, 163, 10), AudioRingBuffer::Ok);
    EXPECT_EQ(Bounds(ring), std::make_pair(SInt64(163), SInt64(173)));
}

TEST(AudioRingBuffer, GapInTimeReadsAsSilenceNotStaleAudio)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 1024);
    // Fill every slot with non-zero audio first.
    for (SInt64 t = 0; t < 2048; t += 256)
        ASSERT_EQ(StoreTimes(ring, t, 256), AudioRingBuffer::Ok);
    ASSERT_EQ(StoreTimes(ring, 2048, 900), AudioRingBuffer::Ok);  // slots 0..899
    // Jump 300 frames ahead: the gap covers slots 900..1023 and wraps to 0..175.
    ASSERT_EQ(StoreTimes(ring, 2948 + 300, 100), AudioRingBuffer::Ok);

    auto [start, end] = Bounds(ring);
    EXPECT_EQ(end, 3348);
    EXPECT_EQ(start, 3348 - 1024);
    TestBufferList gap(2, 300);
    gap.Fill(7.0f);
    ASSERT_EQ(ring.Fetch(gap.List(), 300, 2948), AudioRingBuffer::Ok);
    for (UInt32 c = 0; c < 2; ++c)
        for (float x : gap.Channel(c))
            ASSERT_EQ(x, 0.0f);
    EXPECT_TRUE(HoldsTimes(ring, 3248, 100));
    EXPECT_TRUE(HoldsTimes(ring, start, UInt32(2948 - start)));
}

TEST(AudioRingBuffer, FirstStoreFarFromZeroHoldsSilenceBeforeIt)
{
    // The held range is [end - capacity, end): what comes before the first block reads as
    // silence, which is what the play-through engine's start-up relies on.
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 1024);
    ASSERT_EQ(StoreTimes(ring, 1'000'000, 256), AudioRingBuffer::Ok);
    EXPECT_EQ(Bounds(ring), std::make_pair(SInt64(1'000'256 - 1024), SInt64(1'000'256)));
    TestBufferList before(2, 768);
    before.Fill(1.0f);
    ASSERT_EQ(ring.Fetch(before.List(), 768, 1'000'256 - 1024), AudioRingBuffer::Ok);
    for (float x : before.Channel(1))
        ASSERT_EQ(x, 0.0f);
}

TEST(AudioRingBuffer, ReadsOutsideTheHeldRangeSayWhereAndCopyNothing)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 1024);
    // The second store goes back in time, so only its own frames are held: [10000, 10512).
    ASSERT_EQ(StoreTimes(ring, 10'000, 512), AudioRingBuffer::Ok);
    ASSERT_EQ(StoreTimes(ring, 10'000, 512), AudioRingBuffer::Ok);
    ASSERT_EQ(Bounds(ring), std::make_pair(SInt64(10'000), SInt64(10'512)));

    struct Case {
        SInt64 start;
        UInt32 frames;
        AudioRingBuffer::Result expected;
    };
    const Case cases[] = {
        {9'000, 100, AudioRingBuffer::FarBehind},
        {9'950, 100, AudioRingBuffer::PartlyBehind},
        {10'500, 100, AudioRingBuffer::PartlyAhead},
        {10'600, 100, AudioRingBuffer::FarAhead},
        {9'990, 600, AudioRingBuffer::TooMany},  // across: begins before and ends after
        {10'000, 512, AudioRingBuffer::Ok},
        {10'412, 100, AudioRingBuffer::Ok},      // ends exactly at the newest frame
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.start);
        EXPECT_EQ(ring.CheckTimeBounds(c.start, c.start + c.frames), c.expected);
        TestBufferList out(2, c.frames);
        out.Fill(42.0f);
        out.List()->mBuffers[0].mDataByteSize = 1;
        EXPECT_EQ(ring.Fetch(out.List(), c.frames, c.start), c.expected);
        if (c.expected != AudioRingBuffer::Ok) {
            EXPECT_EQ(out.Channel(0)[0], 42.0f);
            EXPECT_EQ(out.List()->mBuffers[0].mDataByteSize, 1u);
        } else {
            EXPECT_EQ(out.List()->mBuffers[0].mDataByteSize, c.frames * 4);
        }
    }
    // Ranges touching the held range at its start edge are behind only by their first frame.
    EXPECT_EQ(ring.CheckTimeBounds(9'999, 10'000), AudioRingBuffer::PartlyBehind);
    EXPECT_EQ(ring.CheckTimeBounds(10'512, 10'513), AudioRingBuffer::PartlyAhead);
}

TEST(AudioRingBuffer, LongRunKeepsOnlyTheNewestFrames)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 4096);
    SInt64 t = 0;
    // Odd block sizes, many times round the storage and the queue of time bounds.
    for (int i = 0; i < 2000; ++i) {
        const UInt32 frames = 1 + UInt32(i * 37) % 700;
        ASSERT_EQ(StoreTimes(ring, t, frames), AudioRingBuffer::Ok);
        t += frames;
    }
    EXPECT_EQ(Bounds(ring), std::make_pair(t - 4096, t));
    EXPECT_TRUE(HoldsTimes(ring, t - 4096, 4096));
    TestBufferList out(2, 16);
    EXPECT_EQ(ring.Fetch(out.List(), 16, t - 4096 - 1), AudioRingBuffer::PartlyBehind);
    EXPECT_EQ(ring.Fetch(out.List(), 16, t - 8192), AudioRingBuffer::FarBehind);
}

TEST(AudioRingBuffer, ClearEmptiesTheRangeAndLeavesSamples)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 1024);
    ASSERT_EQ(StoreTimes(ring, 0, 100), AudioRingBuffer::Ok);
    ring.Clear();
    EXPECT_EQ(Bounds(ring), std::make_pair(SInt64(0), SInt64(0)));
    ring.SetTimeBounds(0, 100);
    EXPECT_TRUE(HoldsTimes(ring, 0, 100));
}

TEST(AudioRingBuffer, ConcurrentReaderNeverAcceptsOverwrittenFrames)
{
    // A reader at the oldest held frame races a writer that never waits, so many reads are
    // overwritten while they copy; none of those may be reported as good.
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 512);
    std::atomic<bool> done{false};
    const auto label = [](SInt64 t) { return float(t % 1'000'000); };

    std::thread writer([&] {
        TestBufferList block(2, 64);
        for (SInt64 t = 0; !done.load(std::memory_order_relaxed); t += 64) {
            for (UInt32 i = 0; i < 64; ++i) {
                block.Channel(0)[i] = label(t + i);
                block.Channel(1)[i] = -label(t + i);
            }
            ring.Store(block.List(), 64, t);
            if (t % (64 * 256) == 0)
                std::this_thread::yield();  // quiet moments, so that some reads get through
        }
    });

    TestBufferList out(2, 256);
    long accepted = 0;
    long bad = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (long attempt = 0; (attempt < 200'000 || accepted < 100) && std::chrono::steady_clock::now() < deadline;
         ++attempt) {
        SInt64 start = 0, end = 0;
        if (ring.GetTimeBounds(start, end) != AudioRingBuffer::Ok || end - start < 256)
            continue;
        if (ring.Fetch(out.List(), 256, start) != AudioRingBuffer::Ok)
            continue;
        ++accepted;
        for (UInt32 i = 0; i < 256; ++i)
            if (out.Channel(0)[i] != label(start + i) || out.Channel(1)[i] != -label(start + i))
                ++bad;
    }
    done = true;
    writer.join();
    EXPECT_EQ(bad, 0);
    EXPECT_GT(accepted, 0);
}
