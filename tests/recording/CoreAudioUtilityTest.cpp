// The Core Audio utility pieces the recording classes stand on: exceptions, the owner-aware
// guard, the scheduled thread and buffer lists.

#include "platform/CABufferList.h"
#include "platform/CAException.h"
#include "platform/CAGuard.h"
#include "platform/CAPThread.h"
#include "platform/CAXException.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

bool PollUntil(const std::function<bool()>& condition,
               std::chrono::seconds timeout = std::chrono::seconds(20))
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

TEST(CAXException, FormatsPrintableCodesQuotedAndEverythingElseAsSignedDecimal)
{
    EXPECT_EQ(CAXException::FormatError(OSStatus(FourCC("wht?"))), "'wht?'");
    EXPECT_EQ(CAXException::FormatError(OSStatus(FourCC(" ok~"))), "' ok~'");
    EXPECT_EQ(CAXException::FormatError(-43), "-43");
    EXPECT_EQ(CAXException::FormatError(-66565), "-66565");
    // One unprintable byte anywhere is enough for decimal: DEL, a control byte, bit 7.
    EXPECT_EQ(CAXException::FormatError(0x6162637F), std::to_string(0x6162637F));
    EXPECT_EQ(CAXException::FormatError(0x0A626364), std::to_string(0x0A626364));
    EXPECT_EQ(CAXException::FormatError(OSStatus(0xE1626364u)), std::to_string(OSStatus(0xE1626364u)));
}

TEST(CAXException, CutsTheOperationTextAt255Characters)
{
    const std::string longText(300, 'x');
    const CAXException e(longText.c_str(), 7);
    EXPECT_EQ(std::string(e.Operation()), longText.substr(0, 255));
    EXPECT_EQ(e.GetError(), 7);
    EXPECT_STREQ(CAXException("create audio file", -48).what(), "create audio file");
}

TEST(CAGuard, NestedLockIsHarmlessAndOnlyTheOwnerUnlocks)
{
    CAGuard guard("test guard");
    EXPECT_TRUE(guard.Lock());
    EXPECT_FALSE(guard.Lock()); // already ours
    EXPECT_TRUE(guard.IsOwnedByCurrentThread());

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

TEST(CAGuard, WaitIsForTheOwnerOnly)
{
    CAGuard guard("test guard");
    try {
        guard.Wait();
        FAIL() << "a wait without the mutex must throw";
    } catch (const CAException& e) {
        EXPECT_EQ(e.GetError(), EPERM);
    }
    EXPECT_THROW(guard.WaitFor(1000), CAException);
}

struct ThreadProbe {
    std::atomic<int> value{0};
    bool shouldThrow = false;
};

void* ProbeEntry(void* parameter)
{
    auto* probe = static_cast<ThreadProbe*>(parameter);
    probe->value = 42;
    if (probe->shouldThrow)
        throw std::runtime_error("swallowed");
    return nullptr;
}

TEST(CAPThread, FixedPriority63AlwaysAppliesSoTheEntryRunsAndItsExceptionsAreSwallowed)
{
    // A scheduling that fails would end the thread before its entry: the buffer queue's
    // work thread would then never write a file.
    ThreadProbe probe;
    probe.shouldThrow = true;
    CAPThread thread(&ProbeEntry, &probe, CAPThread::kMaxThreadPriority, true, "test-thread");
    thread.Start();
    ASSERT_TRUE(PollUntil([&] { return !thread.IsRunning(); }));
    EXPECT_EQ(probe.value, 42);
}

TEST(CABufferList, AllocateSpacesTwoOrMoreBuffersAndKeepsTheRequestedSize)
{
    const auto format = CAStreamBasicDescription::Float32(44100, 2, false);
    auto list = CABufferList::New("test", format);
    ASSERT_EQ(list->GetNumberBuffers(), 2u);
    EXPECT_EQ(list->GetBuffer(0).mData, nullptr);

    list->AllocateBuffers(131072);
    EXPECT_EQ(list->GetAllocatedBytesPerBuffer(), 131088u);
    for (UInt32 i = 0; i < 2; ++i) {
        EXPECT_EQ(list->GetBuffer(i).mDataByteSize, 131072u);
        EXPECT_EQ(list->GetBuffer(i).mNumberChannels, 1u);
        const auto* bytes = static_cast<const unsigned char*>(list->GetBuffer(i).mData);
        for (UInt32 b = 0; b < 131072; b += 4093)
            ASSERT_EQ(bytes[b], 0);
    }
    EXPECT_EQ(static_cast<std::byte*>(list->GetBuffer(1).mData) -
                  static_cast<std::byte*>(list->GetBuffer(0).mData),
              131088);

    // Bit 4 set after clearing the low bits and adding 16.
    list->AllocateBuffers(100); // (96 + 16) | 16
    EXPECT_EQ(list->GetAllocatedBytesPerBuffer(), 112u);
    list->AllocateBuffers(40); // (32 + 16) | 16
    EXPECT_EQ(list->GetAllocatedBytesPerBuffer(), 48u);
    list->AllocateBuffers(0);
    EXPECT_EQ(list->GetAllocatedBytesPerBuffer(), 16u);

    // One buffer: exactly what was asked.
    auto interleaved = CABufferList::New("one", CAStreamBasicDescription::Float32(44100, 2, true));
    interleaved->AllocateBuffers(100);
    EXPECT_EQ(interleaved->GetAllocatedBytesPerBuffer(), 100u);
}

} // namespace
