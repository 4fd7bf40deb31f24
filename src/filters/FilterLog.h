#pragma once

// The filters' one diagnostic line (the detector's silence transitions) leaves through this
// hook, so that a program can route it like its other log lines without the filters
// depending on anything. Unhooked, it goes to standard error.

#include <atomic>

namespace Morvo::Audio::Filters {

class FilterLog {
  public:
    // Called on the thread that runs the detector, often the audio thread. The line is a
    // literal, so a hook may keep the pointer and write it out later.
    using Hook = void (*)(const char* line);

    static void SetHook(Hook hook) { sHook.store(hook); } // null: standard error
    static void Write(const char* line);

  private:
    static inline std::atomic<Hook> sHook{nullptr};
};

} // namespace Morvo::Audio::Filters
