// The Core Audio utility pieces the recording classes stand on: exceptions, the owner-aware
// guard, the scheduled thread and buffer lists.

#include "platform/CABufferList.h"
#include "platform/CAException.h"
#include "platform/CAGuard.h"
#include "platform/CAPThread.h"
#include "platform/CAXException.h"

#include "RecordingTestSupport.h"

#include <atomic>
#include <cerrno>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace {

TEST(CAXException, FormatsPrintableCodesQuotedElseSignedDecimalAndCutsLongTexts)
{
    const std::pair<OSStatus, std::string> cases[] = {
        {OSStatus(FourCC("wht?")), "'wht?'"},
        {OSStatus(FourCC(" ok~")), "' ok~'"},
        {-43, "-43"},
        // One unprintable byte anywhere is enough for decimal: DEL, a control byte, bit 7.
        {0x6162637F, std::to_string(0x6162637F)},
        {0x0A626364, std::to_string(0x0A626364)},
        {OSStatus(0xE1626364u), std::to_string(OSStatus(0xE1626364u))},
    };
    for (const auto& [status, text] : cases)
        EXPECT_EQ(CAXException::FormatError(status), text);

    const std::string longText(300, 'x');
    EXPECT_EQ(std::string(CAXException(longText.c_str(), 7).Operation()), longText.substr(0, 255));
    EXPECT_STREQ(CAXException("create audio file", -48).what(), "create audio file");
}

TEST(CAGuard, NestedLockIsHarmlessAndOnlyTheOwnerUnlocksOrWaits)
{
    CAGuard guard("test guard");
    try {
        guard.Wait();
        FAIL() << "a wait without the mutex must throw";
    } catch (const CAException& e) {
        EXPECT_EQ(e.GetError(), EPERM);
    }
    EXPECT_THROW(guard.WaitFor(1000), CAException);

    EXPECT_TRUE(guard.Lock());
    EXPECT_FALSE(guard.Lock()); // already ours
    bool otherTook = true;
    std::thread other([&] {
        guard.Unlock(); // not the owner: nothing happens
        bool acquired = false;
        otherTook = guard.Try(acquired) || acquired;
    });
    other.join();
    EXPECT_FALSE(otherTook);
    EXPECT_TRUE(guard.IsOwnedByCurrentThread());
    guard.Unlock();
    EXPECT_TRUE(guard.IsFree());
    {
        CAMutex::Locker outer(guard);
        {
            CAMutex::Locker inner(guard); // did not take it, so must not release it
        }
        EXPECT_TRUE(guard.IsOwnedByCurrentThread());
    }
    EXPECT_TRUE(guard.IsFree());
}

struct ThreadProbe {
    std::atomic<int> value{0};
};

void* ProbeEntry(void* parameter)
{
    static_cast<ThreadProbe*>(parameter)->value = 42;
    throw std::runtime_error("swallowed");
}

TEST(CAPThread, FixedPriority63AlwaysAppliesSoTheEntryRunsAndItsExceptionsAreSwallowed)
{
    // A scheduling that fails would end the thread before its entry: the buffer queue's
    // work thread would then never write a file.
    ThreadProbe probe;
    CAPThread thread(&ProbeEntry, &probe, CAPThread::kMaxThreadPriority, true, "test-thread");
    thread.Start();
    ASSERT_TRUE(PollUntil([&] { return !thread.IsRunning(); }));
    EXPECT_EQ(probe.value, 42);
}

TEST(CABufferList, AllocateSpacesTwoOrMoreBuffersAndKeepsTheRequestedSize)
{
    auto list = CABufferList::New("test", CAStreamBasicDescription::Float32(44100, 2, false));
    ASSERT_EQ(list->GetNumberBuffers(), 2u);
    EXPECT_EQ(list->GetBuffer(0).mData, nullptr);
    // Several buffers: rounded down to 16, plus 16, with bit 4 set.
    for (const auto& [request, spacing] : {std::pair<UInt32, UInt32>{131072, 131088}, {100, 112}, {40, 48}, {0, 16}}) {
        list->AllocateBuffers(request);
        EXPECT_EQ(list->GetAllocatedBytesPerBuffer(), spacing);
        EXPECT_EQ(static_cast<std::byte*>(list->GetBuffer(1).mData) - static_cast<std::byte*>(list->GetBuffer(0).mData),
                  std::ptrdiff_t(spacing));
        for (UInt32 i = 0; i < 2; ++i) {
            EXPECT_EQ(list->GetBuffer(i).mDataByteSize, request);
            EXPECT_EQ(list->GetBuffer(i).mNumberChannels, 1u);
            const auto* bytes = static_cast<const unsigned char*>(list->GetBuffer(i).mData);
            for (UInt32 b = 0; b < request; b += 4093)
                ASSERT_EQ(bytes[b], 0);
        }
    }
    // One buffer: exactly what was asked.
    auto interleaved = CABufferList::New("one", CAStreamBasicDescription::Float32(44100, 2, true));
    interleaved->AllocateBuffers(100);
    EXPECT_EQ(interleaved->GetAllocatedBytesPerBuffer(), 100u);
}

} // namespace
