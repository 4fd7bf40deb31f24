#include "platform/CAXException.h"

#include <cstring>

CAXException::CAXException(const char* operation, OSStatus error) : mError(error)
{
    if (operation == nullptr)
        operation = "";
    const std::size_t length = strnlen(operation, kMaxOperationLength);
    std::memcpy(mOperation, operation, length);
    mOperation[length] = '\0';
}

std::string CAXException::FormatError(OSStatus error)
{
    const auto code = static_cast<UInt32>(error);
    char text[16];
    bool printable = true;
    for (int i = 0; i < 4; ++i) {
        const auto c = static_cast<unsigned char>(code >> (24 - 8 * i));
        // Plain ASCII test: isprint() would follow the locale.
        printable = printable && c >= 0x20 && c < 0x7F;
        text[1 + i] = static_cast<char>(c);
    }
    if (printable) {
        text[0] = text[5] = '\'';
        text[6] = '\0';
        return text;
    }
    return std::to_string(error);
}
