#pragma once

#include "platform/CoreAudioTypes.h"

#include <exception>
#include <string>

// The exception of the recording and file classes: a short lower-case operation text
// ("create audio file") and the status the failing call returned.
class CAXException : public std::exception {
  public:
    static constexpr std::size_t kMaxOperationLength = 255;

    // Longer operation texts are cut to kMaxOperationLength characters.
    CAXException(const char* operation, OSStatus error);

    const char* Operation() const { return mOperation; }
    OSStatus GetError() const { return mError; }
    const char* what() const noexcept override { return mOperation; }

    // 'abcd' when all four bytes, most significant first, are printable ASCII; otherwise
    // the status as a signed decimal number.
    static std::string FormatError(OSStatus error);

  private:
    char mOperation[kMaxOperationLength + 1];
    OSStatus mError;
};

inline void XThrowIfError(OSStatus error, const char* operation)
{
    if (error != noErr)
        throw CAXException(operation, error);
}

inline void XThrowIf(bool condition, OSStatus error, const char* operation)
{
    if (condition)
        throw CAXException(operation, error);
}
