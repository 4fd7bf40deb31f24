#pragma once

// Sends every diagnostic line of the engine to one sink while it lives: its own (SystemLog),
// the filters' and Qt's messages. Each front end makes one at start; when it ends, the lines
// go back to standard error.
//
// The filters' line comes from the gap detector on the audio thread, which must not lock,
// allocate or touch files: it is handed over through a lock-free ring and written by a
// thread of this class a moment later.

#include "base/SystemLog.h"

#include <atomic>
#include <thread>

namespace Tolm::Capture {

class LogRouting {
  public:
    // Null: standard error. Qt's fatal messages reach standard error in any case, since the
    // program ends right after them.
    explicit LogRouting(SystemLog::Sink* sink);
    ~LogRouting();
    LogRouting(const LogRouting&) = delete;
    LogRouting& operator=(const LogRouting&) = delete;

  private:
    void Drain();

    std::atomic<bool> mStop{false};
    std::thread mWriter;
};

} // namespace Tolm::Capture
