#pragma once

#include "platform/CoreAudioTypes.h"

#include <exception>

// A failure of the thread and lock wrappers: the platform's status and nothing else.
class CAException : public std::exception {
  public:
    explicit CAException(OSStatus error) : mError(error) {}

    OSStatus GetError() const { return mError; }
    const char* what() const noexcept override { return "CAException"; }

  private:
    OSStatus mError;
};
