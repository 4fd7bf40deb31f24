#pragma once

#include <QObject>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace Tolm::Ui {

// Lets worker threads have work done on the main thread, where the widgets live: posted
// (fire and forget) or called (the worker waits). Unlike a blocking queued connection, a
// waiting worker is let go when the caller shuts down, so the main thread may join a worker
// that is waiting for it without a deadlock. Made on the main thread.
class MainThreadCaller {
  public:
    MainThreadCaller();
    ~MainThreadCaller();
    MainThreadCaller(const MainThreadCaller&) = delete;
    MainThreadCaller& operator=(const MainThreadCaller&) = delete;

    // Runs `work` on the main thread and returns when it is done; on the main thread itself
    // it runs at once. False when it was not run because the caller shut down.
    bool call(const std::function<void()>& work);
    // Queues `work` for the main thread and returns at once. Any thread.
    void post(std::function<void()> work);

    // From now on nothing more runs, and waiting workers return. Main thread.
    void shutDown();
    bool isShutDown() const;

  private:
    QObject mReceiver;
    mutable std::mutex mMutex;
    std::condition_variable mDone;
    bool mShutDown = false;
};

} // namespace Tolm::Ui
