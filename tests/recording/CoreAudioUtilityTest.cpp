// The Core Audio utility pieces the recording classes stand on: exceptions and the
// owner-aware guard. The scheduled thread and buffer lists are proven by the buffer queue's
// and the recorder's read-back tests.

#include "platform/CAException.h"
#include "platform/CAGuard.h"
#include "platform/CAXException.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <thread>
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

} // namespace
