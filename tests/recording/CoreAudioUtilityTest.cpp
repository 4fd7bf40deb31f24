// The Core Audio utility pieces the recording classes stand on: exceptions, the owner-aware
// guard, the scheduled thread and buffer lists.

#include "platform/CABufferList.h"
#include "platform/CAException.h"
#include "platform/CAGuard.h"
#include "platform/CAPThread.h"
#include "platform/CAXException.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

bool PollUntil(const std::function<bool()>& condition, std::chrono::seconds timeout = std::chrono::seconds(20))
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
    EXPECT_EQ(CAXException::FormatError(OSStatus(FourCC("!dev"))), "'!dev'");
    EXPECT_EQ(CAXException::FormatError(OSStatus(FourCC(" ok~"))), "' ok~'");
    EXPECT_EQ(CAXException::FormatError(-43), "-43");
    EXPECT_EQ(CAXException::FormatError(-66565), "-66565");
    EXPECT_EQ(CAXException::FormatError(0), "0");
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

    const CAXException exact(std::string(255, 'y').c_str(), 1);
    EXPECT_EQ(std::string(exact.Operation()).size(), 255u);
    EXPECT_STREQ(CAXException("create audio file", -48).what(), "create audio file");
}

TEST(CAGuard, NestedLockIsHarmlessAndOnlyTheOwnerUnlocks)
{
    CAGuard guard("test guard");
    EXPECT_TRUE(guard.Lock());
    EXPECT_FALSE(guard.Lock());  // already ours
    EXPECT_TRUE(guard.IsOwnedByCurrentThread());

    bool otherTook = true;
    std::thread other([&] {
        guard.Unlock();  // not the owner: nothing happens
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
            CAMutex::Locker inner(guard);  // did not take it, so must not release it
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

TEST(CAGuard, NotifyWakesTheWaiterWhichGetsTheMutexBack)
{
    CAGuard guard("test guard");
    std::atomic<bool> waiting{false};
    std::atomic<bool> ready{false};
    std::atomic<bool> ownedAfterWait{false};
    std::thread waiter([&] {
        CAMutex::Locker locker(guard);
        waiting = true;
        while (!ready)
            guard.WaitFor(50'000'000);  // a notification sent before we waited is lost
        ownedAfterWait = guard.IsOwnedByCurrentThread();
    });
    ASSERT_TRUE(PollUntil([&] { return waiting.load(); }));
    {
        // Taking the mutex means the waiter is inside its wait.
        CAMutex::Locker locker(guard);
        ready = true;
    }
    guard.Notify();
    waiter.join();
    EXPECT_TRUE(ownedAfterWait);
    EXPECT_TRUE(guard.IsFree());
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

TEST(CAPThread, FixedPriority63AlwaysAppliesAndRunsTheEntryWithItsArgument)
{
    ThreadProbe probe;
    CAPThread thread(&ProbeEntry, &probe, CAPThread::kMaxThreadPriority, true, "test-thread");
    thread.Start();
    ASSERT_TRUE(PollUntil([&] { return !thread.IsRunning(); }));
    EXPECT_EQ(probe.value, 42);  // scheduling did not stop it
}

TEST(CAPThread, SwallowsExceptionsFromTheEntry)
{
    ThreadProbe probe;
    probe.shouldThrow = true;
    CAPThread thread(&ProbeEntry, &probe, CAPThread::kDefaultThreadPriority, false);
    thread.Start();
    ASSERT_TRUE(PollUntil([&] { return !thread.IsRunning(); }));
    EXPECT_EQ(probe.value, 42);
}

TEST(CAPThread, LowerPrioritiesOnlyEverRaiseTheNiceValue)
{
    ThreadProbe probe;
    CAPThread high(&ProbeEntry, &probe, 63, true);
    CAPThread normal(&ProbeEntry, &probe, 31, false);
    CAPThread low(&ProbeEntry, &probe, 0, false);
    EXPECT_EQ(high.GetNiceValue(), normal.GetNiceValue());
    EXPECT_GT(low.GetNiceValue(), normal.GetNiceValue());
    EXPECT_LE(low.GetNiceValue(), 19);
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
    EXPECT_EQ(static_cast<std::byte*>(list->GetBuffer(1).mData) - static_cast<std::byte*>(list->GetBuffer(0).mData),
              131088);

    // Bit 4 set after clearing the low bits and adding 16.
    list->AllocateBuffers(100);  // (96 + 16) | 16
    EXPECT_EQ(list->GetAllocatedBytesPerBuffer(), 112u);
    list->AllocateBuffers(40);  // (32 + 16) | 16
    EXPECT_EQ(list->GetAllocatedBytesPerBuffer(), 48u);
    list->AllocateBuffers(0);
    EXPECT_EQ(list->GetAllocatedBytesPerBuffer(), 16u);

    auto interleaved = CABufferList::New("one", CAStreamBasicDescription::Float32(44100, 2, true));
    ASSERT_EQ(interleaved->GetNumberBuffers(), 1u);
    EXPECT_EQ(interleaved->GetBuffer(0).mNumberChannels, 2u);
    interleaved->AllocateBuffers(100);
    EXPECT_EQ(interleaved->GetAllocatedBytesPerBuffer(), 100u);
}

TEST(CABufferList, PointerListsFollowOtherMemoryAndConsumeIt)
{
    float left[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    float right[8] = {};
    CABufferList source("source", 2);
    source.GetBuffer(0) = AudioBuffer{1, sizeof left, left};
    source.GetBuffer(1) = AudioBuffer{1, sizeof right, right};

    CABufferList pointers("pointers", 2);
    EXPECT_FALSE(pointers.OwnsMemory());
    pointers.SetFrom(source.GetBufferList());
    pointers.BytesConsumed(3 * sizeof(float));
    EXPECT_EQ(static_cast<float*>(pointers.GetBuffer(0).mData), left + 3);
    EXPECT_EQ(pointers.GetBuffer(1).mDataByteSize, 5 * sizeof(float));
    pointers.Reset();
    EXPECT_EQ(pointers.GetBuffer(0).mData, nullptr);
    EXPECT_EQ(pointers.GetNumBytes(), 0u);
}

} // namespace
