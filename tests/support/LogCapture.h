#pragma once

// Collects the system's log lines while it lives, in the order they were written.

#include "base/SystemLog.h"

#include <mutex>
#include <string>

namespace Tolm::Test {

class LogCapture final : public SystemLog::Sink {
  public:
    LogCapture() : mPrevious(SystemLog::SetSink(this)) {}
    ~LogCapture() override { SystemLog::SetSink(mPrevious); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    void Write(std::string_view text) override
    {
        std::lock_guard lock(mMutex);
        mText.append(text);
    }
    std::string Text()
    {
        std::lock_guard lock(mMutex);
        return mText;
    }

  private:
    SystemLog::Sink* mPrevious;
    std::mutex mMutex;
    std::string mText;
};

} // namespace Tolm::Test
