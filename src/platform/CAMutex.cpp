#include "platform/CAMutex.h"

#include "platform/CAException.h"

#include <cerrno>

CAMutex::CAMutex(const char* name) : mName(name)
{
    const int err = pthread_mutex_init(&mMutex, nullptr);
    if (err != 0)
        throw CAException(err);
}

CAMutex::~CAMutex()
{
    pthread_mutex_destroy(&mMutex);
}

bool CAMutex::IsOwnedByCurrentThread() const
{
    const pthread_t owner = mOwner.load(std::memory_order_acquire);
    return owner != 0 && pthread_equal(owner, pthread_self());
}

void CAMutex::SetOwnerToCurrentThread()
{
    mOwner.store(pthread_self(), std::memory_order_release);
}

bool CAMutex::Lock()
{
    if (IsOwnedByCurrentThread())
        return false;
    const int err = pthread_mutex_lock(&mMutex);
    if (err != 0)
        throw CAException(err);
    SetOwnerToCurrentThread();
    return true;
}

void CAMutex::Unlock()
{
    if (!IsOwnedByCurrentThread())
        return;
    ClearOwner();
    const int err = pthread_mutex_unlock(&mMutex);
    if (err != 0)
        throw CAException(err);
}

bool CAMutex::Try(bool& acquired)
{
    acquired = false;
    if (IsOwnedByCurrentThread())
        return true;
    const int err = pthread_mutex_trylock(&mMutex);
    if (err == EBUSY)
        return false;
    if (err != 0)
        throw CAException(err);
    SetOwnerToCurrentThread();
    acquired = true;
    return true;
}
