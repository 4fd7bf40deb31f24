#pragma once

#include <QJSEngine>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace Tolm::Library {

class ScriptHost;
class ScriptLibrary;

// Thrown by ScriptSession::runBounded when the script's time-out passes first.
struct ScriptTimedOut {};

// One run of one script: its own engine with the scripting dictionary installed, and the
// watchdog that enforces the time-outs the script opens with withTimeout(). Nothing is
// shared between sessions. Lives on the thread that runs the script.
class ScriptSession {
  public:
    using Clock = std::chrono::steady_clock;

    ScriptSession();
    ~ScriptSession();
    ScriptSession(const ScriptSession&) = delete;
    ScriptSession& operator=(const ScriptSession&) = delete;

    QJSEngine& engine() { return *mEngine; }

    void beginTimeout(double seconds);
    void endTimeout();
    // The nearest deadline of the time-outs now open.
    std::optional<Clock::time_point> deadline() const;
    bool timedOut() const { return mTimedOut.load(); }
    // Stops the script: it has run past its time-out.
    void timeOut();

    // Runs `work`, which may block in the kernel (a library folder on a network share that
    // stopped answering): inside a time-out it runs on a helper thread, and the script gets
    // on with a time-out when the deadline passes first (the helper is left to finish alone).
    template <class T> T runBounded(std::function<T()> work);

  private:
    void watch();

    std::unique_ptr<QJSEngine> mEngine;
    std::unique_ptr<ScriptHost> mHost;
    std::unique_ptr<ScriptLibrary> mLibrary;

    mutable std::mutex mMutex;
    std::condition_variable mChanged;
    std::vector<Clock::time_point> mDeadlines; // one per open time-out, guarded by mMutex
    bool mStopping = false;                    // guarded by mMutex
    std::atomic<bool> mTimedOut{false};
    std::thread mWatchdog; // started with the first time-out
};

template <class T> T ScriptSession::runBounded(std::function<T()> work)
{
    const auto until = deadline();
    if (!until)
        return work();
    auto task = std::make_shared<std::packaged_task<T()>>(std::move(work));
    auto result = task->get_future();
    std::thread([task] { (*task)(); }).detach();
    if (result.wait_until(*until) == std::future_status::timeout) {
        timeOut();
        throw ScriptTimedOut{};
    }
    return result.get();
}

} // namespace Tolm::Library
