#include "platform/CAPThread.h"

#include "platform/CAException.h"

#include <algorithm>
#include <cerrno>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

int CurrentThreadNice()
{
    errno = 0;
    const int nice = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
    return errno == 0 ? nice : 0;
}

} // namespace

CAPThread::CAPThread(ThreadRoutine routine, void* parameter, UInt32 priority, bool fixedPriority,
                     const char* name)
    : mRoutine(routine), mParameter(parameter), mPriority(priority), mFixedPriority(fixedPriority),
      mName(name), mCreatorNice(CurrentThreadNice())
{
}

int CAPThread::GetNiceValue() const
{
    if (mPriority >= kDefaultThreadPriority)
        return mCreatorNice;
    const int lower = int((kDefaultThreadPriority - mPriority) * 19 / kDefaultThreadPriority);
    return std::min(19, mCreatorNice + std::max(1, lower));
}

void CAPThread::Start()
{
    pthread_attr_t attributes;
    int err = pthread_attr_init(&attributes);
    if (err != 0)
        throw CAException(err);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    mRunning.store(true, std::memory_order_release);
    pthread_t thread;
    err = pthread_create(&thread, &attributes, &CAPThread::Entry, this);
    pthread_attr_destroy(&attributes);
    if (err != 0) {
        mRunning.store(false, std::memory_order_release);
        throw CAException(err);
    }
}

bool CAPThread::ApplyScheduling() const
{
    int policy = SCHED_OTHER;
    sched_param param{};
    if (pthread_getschedparam(pthread_self(), &policy, &param) != 0)
        return false;
    // A real-time creator must not hand its policy on to a thread that writes files.
    if (policy == SCHED_FIFO || policy == SCHED_RR) {
        param.sched_priority = 0;
        if (pthread_setschedparam(pthread_self(), SCHED_OTHER, &param) != 0)
            return false;
    }
    // Never below the nice value the thread already has: only raising it is always allowed.
    const int nice = std::max(GetNiceValue(), CurrentThreadNice());
    return setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), nice) == 0;
}

void* CAPThread::Entry(void* self)
{
    auto* thread = static_cast<CAPThread*>(self);
    if (thread->mName != nullptr)
        pthread_setname_np(pthread_self(), thread->mName); // at most 15 characters; cosmetic
    if (thread->ApplyScheduling()) {
        try {
            thread->mRoutine(thread->mParameter);
        } catch (...) {
        }
    }
    thread->mRunning.store(false, std::memory_order_release);
    return nullptr;
}
