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
AudioRingBuffer::Result StoreTimes(AudioRingBuffer& ring, SInt64 startTime, UInt32 frames)
{
    TestBufferList block(2, frames);
    for (UInt32 i = 0; i < frames; ++i) {
        block.Channel(0)[i] = float(startTime + i);
        block.Channel(1)[i] = -float(startTime + i);
    }
    return ring.Store(block.List(), frames, startTime);
}

// Fetches and checks every frame against its sample time, or against silence.
::testing::AssertionResult Holds(AudioRingBuffer& ring, SInt64 startTime, UInt32 frames, bool silence = false)
{
    TestBufferList out(2, frames);
    out.Fill(7.0f);
    if (auto r = ring.Fetch(out.List(), frames, startTime); r != AudioRingBuffer::Ok)
        return ::testing::AssertionFailure() << "fetch at " << startTime << " returned " << int(r);
    for (UInt32 i = 0; i < frames; ++i) {
        const float left = silence ? 0.0f : float(startTime + i);
        if (out.Channel(0)[i] != left || out.Channel(1)[i] != -left)
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

TEST(AudioRingBuffer, StoresSetTheHeldRange)
{
    struct Range {
        SInt64 start;
        UInt32 frames;
    };
    struct Case {
        const char* what;
        std::vector<Range> stores;
        AudioRingBuffer::Result lastResult;
        SInt64 start, end;
        std::vector<Range> held, silent;
    };
    const Case cases[] = {
        {"more than the capacity changes nothing", {{0, 512}, {512, 1025}}, AudioRingBuffer::TooMany, 0, 512, {{0, 512}}, {}},
        {"exactly the capacity is fine", {{0, 512}, {512, 1024}}, AudioRingBuffer::Ok, 512, 1536, {{512, 1024}}, {}},
        {"going back in time drops everything held", {{5000, 512}, {100, 64}}, AudioRingBuffer::Ok, 100, 164, {{100, 64}}, {}},
        {"even by a single frame", {{100, 64}, {163, 10}}, AudioRingBuffer::Ok, 163, 173, {{163, 10}}, {}},
        // The play-through engine's start-up relies on silence before the first block.
        {"first store far from zero", {{1'000'000, 256}}, AudioRingBuffer::Ok, 1'000'256 - 1024, 1'000'256,
         {{1'000'000, 256}}, {{1'000'256 - 1024, 768}}},
        // Every slot holds audio first; the gap covers slots 900..1023 and wraps to 0..175.
        {"a gap in time reads as silence, not stale audio",
         {{0, 512}, {512, 512}, {1024, 512}, {1536, 512}, {2048, 900}, {3248, 100}}, AudioRingBuffer::Ok,
         3348 - 1024, 3348, {{3248, 100}, {3348 - 1024, 2948 - (3348 - 1024)}}, {{2948, 300}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        AudioRingBuffer ring;
        ring.Allocate(2, 4, 1024);
        for (std::size_t i = 0; i < c.stores.size(); ++i) {
            const auto result = StoreTimes(ring, c.stores[i].start, c.stores[i].frames);
            EXPECT_EQ(result, i + 1 == c.stores.size() ? c.lastResult : AudioRingBuffer::Ok);
        }
        EXPECT_EQ(Bounds(ring), std::make_pair(c.start, c.end));
        for (const auto& r : c.held)
            EXPECT_TRUE(Holds(ring, r.start, r.frames));
        for (const auto& r : c.silent)
            EXPECT_TRUE(Holds(ring, r.start, r.frames, true));
    }
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
        {9'999, 1, AudioRingBuffer::PartlyBehind},  // touching the start edge
        {10'500, 100, AudioRingBuffer::PartlyAhead},
        {10'512, 1, AudioRingBuffer::PartlyAhead},
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
        const bool ok = c.expected == AudioRingBuffer::Ok;
        EXPECT_EQ(out.List()->mBuffers[0].mDataByteSize, ok ? c.frames * 4 : 1u);
        if (!ok) {
            EXPECT_EQ(out.Channel(0)[0], 42.0f);
        }
    }
}

TEST(AudioRingBuffer, LongRunAcrossTheWrapKeepsOnlyTheNewestFrames)
{
    AudioRingBuffer ring;
    ring.Allocate(2, 4, 4096);
    SInt64 t = 777;
    // Odd block sizes, many times round the storage and the queue of time bounds: many
    // stores and fetches straddle the end of storage.
    for (int i = 0; i < 2000; ++i) {
        const UInt32 frames = 1 + UInt32(i * 37) % 700;
        ASSERT_EQ(StoreTimes(ring, t, frames), AudioRingBuffer::Ok);
        ASSERT_TRUE(Holds(ring, t, frames));
        t += frames;
    }
    EXPECT_EQ(Bounds(ring), std::make_pair(t - 4096, t));
    EXPECT_TRUE(Holds(ring, t - 4096, 4096));
    TestBufferList out(2, 16);
    EXPECT_EQ(ring.Fetch(out.List(), 16, t - 4096 - 1), AudioRingBuffer::PartlyBehind);
    EXPECT_EQ(ring.Fetch(out.List(), 16, t - 8192), AudioRingBuffer::FarBehind);
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
