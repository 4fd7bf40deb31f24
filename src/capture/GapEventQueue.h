#pragma once

// Carries the gap detector's events from the audio thread to the thread that owns the
// queue, in order. The audio side only stores into a preallocated ring and bumps an
// eventfd counter: no allocation, no lock, no wait (posting through Qt's event queue would
// allocate an event on the audio thread). The owning thread's event loop wakes on the
// eventfd and hands the events over one by one.

#include <QObject>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

class QSocketNotifier;

namespace Tolm::Capture {

class GapEventQueue final : public QObject {
    Q_OBJECT

  public:
    enum class Event : std::uint8_t { TrackGap, AlbumEnd };

    // `handler` runs on the thread this object lives in, once per event, in posting order.
    explicit GapEventQueue(std::function<void(Event)> handler, QObject* parent = nullptr);
    ~GapEventQueue() override;

    // Real-time safe; one posting thread at a time. False when the ring is full and the
    // event is lost (the owning thread has been blocked for minutes).
    bool Post(Event event) noexcept;

    // Hands over every queued event now. Called by the event loop; a handler that runs a
    // nested event loop (a modal alert) does not cause events to be handed over out of order.
    void Drain();

  private:
    static constexpr std::uint32_t kCapacity = 256; // a power of two

    std::function<void(Event)> mHandler;
    std::array<Event, kCapacity> mRing{};
    alignas(64) std::atomic<std::uint32_t> mWritten{0};
    alignas(64) std::atomic<std::uint32_t> mRead{0};
    int mEventFd = -1;
    std::unique_ptr<QSocketNotifier> mNotifier;
    bool mDraining = false;
};

} // namespace Tolm::Capture
