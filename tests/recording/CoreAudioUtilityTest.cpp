// How the recording classes' failures read: the thread, guard and buffer lists they stand on
// are proven by the buffer queue's and the recorder's read-back tests.

#include "platform/CAXException.h"

#include <gtest/gtest.h>
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

} // namespace
