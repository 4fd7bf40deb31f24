#include "platform/HardwareNotifier.h"

#include "base/SystemLog.h"
#include "base/TolmAssert.h"

#include <cstdio>
#include <exception>
#include <vector>

namespace Tolm::Platform {

HardwareNotifier::HardwareNotifier() : mThread([this] { Run(); }) {}

HardwareNotifier::~HardwareNotifier()
{
    {
        std::lock_guard lock(mMutex);
        mStop = true;
    }
    mWake.notify_all();
    // A hardware cannot be destroyed by one of its own listeners: the loop still needs it.
    TOLM_ASSERT(!OnNotificationThread());
    mThread.join();
}

HardwareNotifier::ListenerId HardwareNotifier::Add(Listener listener)
{
    std::lock_guard lock(mMutex);
    const ListenerId id = mNextId++;
    mListeners.emplace(id, std::move(listener));
    return id;
}

HardwareNotifier::ListenerId HardwareNotifier::AddDeviceSetListener(std::function<void()> listener)
{
    return Add({true, kAudioDeviceUnknown, std::make_shared<std::function<void()>>(std::move(listener))});
}

HardwareNotifier::ListenerId HardwareNotifier::AddStreamFormatListener(AudioDeviceID device,
                                                                       std::function<void()> listener)
{
    return Add({false, device, std::make_shared<std::function<void()>>(std::move(listener))});
}

bool HardwareNotifier::RemoveListener(ListenerId id)
{
    std::unique_lock lock(mMutex);
    if (mListeners.erase(id) == 0)
        return false;
    if (!OnNotificationThread())
        mProgress.wait(lock, [&] { return mRunning != id; });
    return true;
}

void HardwareNotifier::Post(Event event)
{
    {
        std::lock_guard lock(mMutex);
        // A device-set event still waiting covers a new one: listeners re-read the whole list.
        for (const Event& queued : mQueue)
            if (queued.deviceSet == event.deviceSet && queued.device == event.device)
                return;
        mQueue.push_back(event);
        ++mPosted;
    }
    mWake.notify_one();
}

void HardwareNotifier::DeviceSetChanged()
{
    Post({true, kAudioDeviceUnknown});
}

void HardwareNotifier::StreamFormatChanged(AudioDeviceID device)
{
    Post({false, device});
}

void HardwareNotifier::Flush()
{
    if (OnNotificationThread())
        return;
    std::unique_lock lock(mMutex);
    const auto target = mPosted;
    mProgress.wait(lock, [&] { return mDelivered >= target || mStop; });
}

void HardwareNotifier::Run()
{
    std::unique_lock lock(mMutex);
    for (;;) {
        mWake.wait(lock, [&] { return mStop || !mQueue.empty(); });
        if (mStop)
            return;
        const Event event = mQueue.front();
        mQueue.pop_front();

        std::vector<ListenerId> targets;
        for (const auto& [id, listener] : mListeners)
            if (listener.deviceSet == event.deviceSet && (event.deviceSet || listener.device == event.device))
                targets.push_back(id);

        for (const ListenerId id : targets) {
            // Removed by an earlier listener of this round: skip it.
            const auto found = mListeners.find(id);
            if (found == mListeners.end())
                continue;
            const auto function = found->second.function;
            mRunning = id;
            lock.unlock();
            try {
                (*function)();
            } catch (const std::exception& e) {
                Tolm::SystemLog::Print("audio hardware listener failed: %s\n", e.what());
            } catch (...) {
                Tolm::SystemLog::Print("audio hardware listener failed\n");
            }
            lock.lock();
            mRunning = 0;
            mProgress.notify_all();
            if (mStop)
                return;
        }
        ++mDelivered;
        mProgress.notify_all();
    }
}

} // namespace Tolm::Platform
