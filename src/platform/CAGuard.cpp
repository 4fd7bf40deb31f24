#include "platform/CAGuard.h"

#include "platform/CAException.h"

#include <cerrno>
#include <ctime>

CAGuard::CAGuard(const char* name) : CAMutex(name)
{
    pthread_condattr_t attributes;
    int err = pthread_condattr_init(&attributes);
    if (err == 0) {
        // Timed waits must not jump with the wall clock.
        err = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        if (err == 0)
            err = pthread_cond_init(&mCondition, &attributes);
        pthread_condattr_destroy(&attributes);
    }
    if (err != 0)
        throw CAException(err);
}

CAGuard::~CAGuard()
{
    pthread_cond_destroy(&mCondition);
}

void CAGuard::Wait()
{
    if (!IsOwnedByCurrentThread())
        throw CAException(EPERM);
    ClearOwner();
    const int err = pthread_cond_wait(&mCondition, &mMutex);
    SetOwnerToCurrentThread();
    if (err != 0)
        throw CAException(err);
}

bool CAGuard::WaitFor(UInt64 nanoseconds)
{
    if (!IsOwnedByCurrentThread())
        throw CAException(EPERM);
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    const UInt64 total = UInt64(deadline.tv_nsec) + nanoseconds % 1'000'000'000u;
    deadline.tv_sec += time_t(nanoseconds / 1'000'000'000u + total / 1'000'000'000u);
    deadline.tv_nsec = long(total % 1'000'000'000u);

    ClearOwner();
    const int err = pthread_cond_timedwait(&mCondition, &mMutex, &deadline);
    SetOwnerToCurrentThread();
    if (err == ETIMEDOUT)
        return true;
    if (err != 0)
        throw CAException(err);
    return false;
}

void CAGuard::Notify()
{
    const int err = pthread_cond_signal(&mCondition);
    if (err != 0)
        throw CAException(err);
}

void CAGuard::NotifyAll()
{
    const int err = pthread_cond_broadcast(&mCondition);
    if (err != 0)
        throw CAException(err);
}
