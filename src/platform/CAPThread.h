#pragma once

#include "platform/CoreAudioTypes.h"

#include <atomic>
#include <pthread.h>

// A detached thread that first applies its scheduling and then runs an entry function
// with one argument. Exceptions from the entry function are swallowed; if the scheduling
// cannot be applied the thread ends without running the entry function.
//
// Priorities are on the 0..127 scale the engine's design uses: 31 is an ordinary thread,
// 63 the highest below the real-time band. On Linux the thread stays time-shared
// (SCHED_OTHER; a real-time creator's policy is dropped to SCHED_OTHER) with a nice value:
//   priority >= 31  -> the nice value its creator had when this object was made
//   priority <  31  -> that nice value raised towards 19 in proportion
// Raising priority above the creator's needs privileges that an ordinary user lacks, and a
// mapping that can fail would leave the thread doing nothing, so "fixed priority 63" ends
// up as the creator's own priority. The buffer queue's ring gives its work thread more than
// a second of slack, which covers ordinary scheduling delays.
class CAPThread {
  public:
    using ThreadRoutine = void* (*)(void* parameter);

    static constexpr UInt32 kDefaultThreadPriority = 31;
    static constexpr UInt32 kMaxThreadPriority = 63;

    // The object must outlive the thread.
    CAPThread(ThreadRoutine routine, void* parameter, UInt32 priority = kDefaultThreadPriority,
              bool fixedPriority = false, const char* name = nullptr);
    virtual ~CAPThread() = default;

    CAPThread(const CAPThread&) = delete;
    CAPThread& operator=(const CAPThread&) = delete;

    // Starts the thread; throws CAException when it cannot be created.
    void Start();
    bool IsRunning() const { return mRunning.load(std::memory_order_acquire); }

    UInt32 GetPriority() const { return mPriority; }
    bool IsFixedPriority() const { return mFixedPriority; }
    // The nice value the thread gives itself.
    int GetNiceValue() const;

  protected:
    static void* Entry(void* self);
    bool ApplyScheduling() const;

    ThreadRoutine mRoutine;
    void* mParameter;
    UInt32 mPriority;
    bool mFixedPriority;
    const char* mName;
    int mCreatorNice;
    std::atomic<bool> mRunning{false};
};
