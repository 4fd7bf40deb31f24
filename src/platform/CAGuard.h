#pragma once

#include "platform/CAMutex.h"
#include "platform/CoreAudioTypes.h"

// A CAMutex with a condition. Notify does not take the mutex, so a real-time thread can
// wake a waiter without ever blocking; the price is that a wake-up sent while nobody waits
// is lost, and waiters must look at their state before they wait.
class CAGuard : public CAMutex {
  public:
    explicit CAGuard(const char* name);
    ~CAGuard() override;

    // Only by the owner: releases the mutex, waits for a notification, takes it back.
    // A non-owner's wait throws CAException(EPERM).
    void Wait();
    // As Wait, for at most `nanoseconds`; returns true when the time ran out.
    bool WaitFor(UInt64 nanoseconds);

    void Notify();    // wakes one waiter
    void NotifyAll(); // wakes every waiter

  private:
    pthread_cond_t mCondition;
};
