#include "capture/GapEventQueue.h"

#include <QSocketNotifier>
#include <cerrno>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Tolm::Capture {

GapEventQueue::GapEventQueue(std::function<void(Event)> handler, QObject* parent)
    : QObject(parent), mHandler(std::move(handler))
{
    mEventFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (mEventFd < 0)
        throw std::runtime_error("cannot create the gap event wake-up (eventfd)");
    mNotifier = std::make_unique<QSocketNotifier>(mEventFd, QSocketNotifier::Read);
    connect(mNotifier.get(), &QSocketNotifier::activated, this, &GapEventQueue::Drain);
}

GapEventQueue::~GapEventQueue()
{
    mNotifier.reset();
    if (mEventFd >= 0)
        close(mEventFd);
}

bool GapEventQueue::Post(Event event) noexcept
{
    const std::uint32_t written = mWritten.load(std::memory_order_relaxed);
    if (written - mRead.load(std::memory_order_acquire) >= kCapacity)
        return false;
    mRing[written & (kCapacity - 1)] = event;
    mWritten.store(written + 1, std::memory_order_release);
    // A non-blocking eventfd write is one short system call that cannot block: it adds to
    // a counter, and the counter cannot overflow at two events a second.
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t ignored = write(mEventFd, &one, sizeof(one));
    return true;
}

void GapEventQueue::Drain()
{
    std::uint64_t count = 0;
    while (read(mEventFd, &count, sizeof(count)) < 0 && errno == EINTR) {
    }
    if (mDraining)
        return; // the outer drain further up the stack goes on in order
    mDraining = true;
    struct Guard {
        bool& flag;
        ~Guard() { flag = false; }
    } guard{mDraining};
    for (;;) {
        const std::uint32_t read = mRead.load(std::memory_order_relaxed);
        if (read == mWritten.load(std::memory_order_acquire))
            break;
        const Event event = mRing[read & (kCapacity - 1)];
        mRead.store(read + 1, std::memory_order_release);
        mHandler(event);
    }
}

} // namespace Tolm::Capture
