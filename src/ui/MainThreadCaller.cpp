#include "ui/MainThreadCaller.h"

#include <QThread>
#include <memory>

namespace Tolm::Ui {

MainThreadCaller::MainThreadCaller() = default;

MainThreadCaller::~MainThreadCaller()
{
    shutDown();
}

bool MainThreadCaller::call(const std::function<void()>& work)
{
    if (QThread::currentThread() == mReceiver.thread()) {
        if (isShutDown())
            return false;
        work();
        return true;
    }
    auto done = std::make_shared<bool>(false);
    // The work may refer to the waiting thread's stack: it must never run once that thread
    // has stopped waiting, which only a shut-down makes it do. Both run on the main thread,
    // so the check below cannot race the shut-down.
    QMetaObject::invokeMethod(
        &mReceiver,
        [this, done, work] {
            if (isShutDown())
                return;
            work();
            {
                std::lock_guard lock(mMutex);
                *done = true;
            }
            mDone.notify_all();
        },
        Qt::QueuedConnection);
    std::unique_lock lock(mMutex);
    mDone.wait(lock, [&] { return *done || mShutDown; });
    return *done;
}

void MainThreadCaller::post(std::function<void()> work)
{
    if (isShutDown())
        return;
    QMetaObject::invokeMethod(
        &mReceiver,
        [this, work = std::move(work)] {
            if (!isShutDown())
                work();
        },
        Qt::QueuedConnection);
}

void MainThreadCaller::shutDown()
{
    {
        std::lock_guard lock(mMutex);
        mShutDown = true;
    }
    mDone.notify_all();
}

bool MainThreadCaller::isShutDown() const
{
    std::lock_guard lock(mMutex);
    return mShutDown;
}

} // namespace Tolm::Ui
