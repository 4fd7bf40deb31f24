#pragma once

#include <atomic>
#include <pthread.h>

// A mutex that knows its owner, so that nested locking by the owner is harmless and only
// the owner can unlock. Platform failures are thrown as CAException with the status.
class CAMutex {
  public:
    explicit CAMutex(const char* name);
    virtual ~CAMutex();

    CAMutex(const CAMutex&) = delete;
    CAMutex& operator=(const CAMutex&) = delete;

    const char* GetName() const { return mName; }

    // True when this call took the mutex; false when the calling thread already owned it.
    bool Lock();
    // Only the owner unlocks; anyone else's call does nothing.
    void Unlock();
    // Takes the mutex if it is free. Returns whether the calling thread owns it now;
    // `acquired` tells whether this call took it.
    bool Try(bool& acquired);

    bool IsFree() const { return mOwner.load(std::memory_order_acquire) == 0; }
    bool IsOwnedByCurrentThread() const;

    // Holds the mutex for a scope, releasing it only if the constructor took it.
    class Locker {
      public:
        explicit Locker(CAMutex& mutex) : mMutex(mutex), mNeedsRelease(mutex.Lock()) {}
        ~Locker()
        {
            if (mNeedsRelease)
                mMutex.Unlock();
        }
        Locker(const Locker&) = delete;
        Locker& operator=(const Locker&) = delete;

      private:
        CAMutex& mMutex;
        bool mNeedsRelease;
    };

  protected:
    void SetOwnerToCurrentThread();
    void ClearOwner() { mOwner.store(0, std::memory_order_release); }

    const char* mName;
    pthread_mutex_t mMutex;
    // Read by other threads to answer "is it mine?" without taking the mutex.
    std::atomic<pthread_t> mOwner{0};
};
