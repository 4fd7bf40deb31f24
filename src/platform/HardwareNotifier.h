#pragma once

// The listeners of an audio hardware and the one thread they run on. Events are queued by
// whatever thread notices a change and delivered in order, never on a real-time thread.
// A listener may add or remove listeners (itself included) and call back into the hardware.

#include "platform/AudioHardware.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace Tolm::Platform {

class HardwareNotifier {
  public:
    using ListenerId = AudioHardware::ListenerId;

    HardwareNotifier();
    ~HardwareNotifier();
    HardwareNotifier(const HardwareNotifier&) = delete;
    HardwareNotifier& operator=(const HardwareNotifier&) = delete;

    ListenerId AddDeviceSetListener(std::function<void()> listener);
    ListenerId AddStreamFormatListener(AudioDeviceID device, std::function<void()> listener);
    // Returns once the listener is not running, unless called from a listener.
    // False when the id is not one of ours.
    bool RemoveListener(ListenerId id);

    void DeviceSetChanged();
    void StreamFormatChanged(AudioDeviceID device);

    // Waits until every event queued so far has been delivered (not from a listener).
    void Flush();
    bool OnNotificationThread() const { return std::this_thread::get_id() == mThread.get_id(); }

  private:
    struct Listener {
        bool deviceSet = true;
        AudioDeviceID device = kAudioDeviceUnknown;
        std::shared_ptr<std::function<void()>> function;
    };
    struct Event {
        bool deviceSet = true;
        AudioDeviceID device = kAudioDeviceUnknown;
    };

    ListenerId Add(Listener listener);
    void Post(Event event);
    void Run();

    mutable std::mutex mMutex;
    std::condition_variable mWake;     // events queued, or stop
    std::condition_variable mProgress; // a listener returned or an event was done
    std::map<ListenerId, Listener> mListeners;
    std::deque<Event> mQueue;
    ListenerId mNextId = 1;
    ListenerId mRunning = 0;
    unsigned long long mPosted = 0;
    unsigned long long mDelivered = 0;
    bool mStop = false;
    std::thread mThread;
};

} // namespace Tolm::Platform
