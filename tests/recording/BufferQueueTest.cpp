// The push buffer queue and its work thread. Most cases hand buffers to a work thread of
// their own that is not started yet, so what is waiting and what has been processed is
// decided by the test, not by the scheduler.

#include "recording/CABufferQueue.h"

#include "RecordingTestSupport.h"

#include <gtest/gtest.h>
#include <mutex>
#include <stdexcept>

namespace {

using Block = StereoBlock;

// Records every processed buffer: its frames, in order, and the thread that processed it.
class RecordingQueue : public CAPushBufferQueue {
  public:
    RecordingQueue(int buffers, UInt32 frames, WorkThread* thread = nullptr)
        : CAPushBufferQueue(buffers, frames)
    {
        if (thread != nullptr)
            mWorkThread = thread;
        SetFormat(CAStreamBasicDescription::Float32(48000, 2, false));
    }
    ~RecordingQueue() override { CancelAndDisposeBuffers(); }

    // What has been processed so far, copied under the lock.
    struct Log {
        std::vector<float> left;
        std::vector<UInt32> sizes;
        std::vector<std::thread::id> threads;
    };
    Log Processed() const
    {
        std::lock_guard lock(mMutex);
        return mLog;
    }
    std::vector<float> Left() const { return Processed().left; }
    std::size_t Count() const { return Processed().sizes.size(); }
    bool throwOnProcess = false;

  protected:
    Buffer* CreateBuffer(const CAStreamBasicDescription& format, UInt32 nBytes) override
    {
        return new Buffer(this, format, nBytes);
    }
    void ProcessBuffer(Buffer* buffer) override
    {
        if (throwOnProcess)
            throw std::runtime_error("write failed");
        std::lock_guard lock(mMutex);
        const auto* left = static_cast<const float*>(buffer->Memory().mBuffers[0].mData);
        const auto* right = static_cast<const float*>(buffer->Memory().mBuffers[1].mData);
        for (UInt32 i = 0; i < buffer->FrameCount(); ++i)
            EXPECT_EQ(right[i], -left[i]);
        mLog.left.insert(mLog.left.end(), left, left + buffer->FrameCount());
        mLog.sizes.push_back(buffer->FrameCount());
        mLog.threads.push_back(std::this_thread::get_id());
        buffer->SetEmpty();
    }

  private:
    mutable std::mutex mMutex;
    Log mLog;
};

std::vector<float> Ramp(UInt32 first, UInt32 count)
{
    std::vector<float> v(count);
    for (UInt32 i = 0; i < count; ++i)
        v[i] = float(first + i);
    return v;
}

// A work thread that a test starts when it wants, and stops and frees at the end.
struct IdleWorkThread {
    IdleWorkThread() : thread(new CABufferQueue::WorkThread) {}
    ~IdleWorkThread()
    {
        if (started) {
            thread->Stop();
            if (!PollUntil([&] { return !thread->IsRunning(); }))
                return; // leak rather than free a running thread
        }
        delete thread;
    }
    void Start()
    {
        started = true;
        thread->Start();
    }
    CABufferQueue::WorkThread* thread;
    bool started = false;
};

TEST(BufferQueue, BlocksSpanBuffersAndFlushWritesWhatWaitsInOrderOnTheCallingThread)
{
    IdleWorkThread work;
    RecordingQueue queue(3, 4, work.thread);
    queue.Flush(); // nothing held: nothing processed
    EXPECT_EQ(queue.Count(), 0u);
    queue.PushBuffer(3, Block(0, 3).List());
    queue.PushBuffer(7, Block(3, 7).List()); // one frame fills buffer 0, four fill 1, two go to 2
    queue.Flush();
    const auto log = queue.Processed();
    EXPECT_EQ(log.sizes, (std::vector<UInt32>{4, 4, 2}));
    EXPECT_EQ(log.left, Ramp(0, 10));
    for (auto id : log.threads)
        EXPECT_EQ(id, std::this_thread::get_id());

    // The current buffer is not advanced by a flush: the next frames go into it again.
    queue.PushBuffer(2, Block(10, 2).List());
    queue.Flush();
    EXPECT_EQ(queue.Processed().sizes, (std::vector<UInt32>{4, 4, 2, 2}));
    queue.Flush(); // emptied by the consumer: nothing more
    EXPECT_EQ(queue.Count(), 4u);

    // Starting the work thread later finds nothing of this queue left to do.
    work.Start();
    queue.PushBuffer(4, Block(12, 4).List());
    ASSERT_TRUE(PollUntil([&] { return queue.Count() == 5; }));
    EXPECT_EQ(queue.Left(), Ramp(0, 16));

    // With the whole ring waiting, the current buffer too, each is written once.
    IdleWorkThread idle;
    RecordingQueue full(3, 4, idle.thread);
    full.PushBuffer(12, Block(0, 12).List());
    full.Flush();
    EXPECT_EQ(full.Processed().sizes, (std::vector<UInt32>{4, 4, 4}));
    EXPECT_EQ(full.Left(), Ramp(0, 12));
    full.PushBuffer(4, Block(12, 4).List()); // the ring is free again
    EXPECT_EQ(full.GetOverrunCount(), 0);
}

TEST(BufferQueue, AnOverrunKeepsWhatFittedDropsTheRestAndCountsOncePerBlock)
{
    IdleWorkThread work;
    RecordingQueue queue(3, 4, work.thread);
    queue.PushBuffer(10, Block(0, 10).List()); // buffers 0 and 1 handed over, 2 holds two frames
    queue.PushBuffer(5, Block(10, 5).List());  // two fit (buffer 2 handed over), buffer 0 still waits
    EXPECT_EQ(queue.GetOverrunCount(), 1);
    queue.PushBuffer(7, Block(15, 7).List()); // nothing fits
    EXPECT_EQ(queue.GetOverrunCount(), 2);

    work.Start();
    ASSERT_TRUE(PollUntil([&] { return queue.Count() == 3; }));
    EXPECT_EQ(queue.Left(), Ramp(0, 12));

    // The ring is free again and continues where it stood.
    queue.PushBuffer(2, Block(12, 2).List());
    queue.Flush();
    EXPECT_EQ(queue.Left(), Ramp(0, 14));
    queue.ResetOverrunCount();
    EXPECT_EQ(queue.GetOverrunCount(), 0);
}

TEST(BufferQueue, TwoQueuesShareTheOneProcessWideWorkThread)
{
    RecordingQueue a(3, 256);
    RecordingQueue b(8, 128);
    for (UInt32 i = 0; i < 10; ++i) {
        a.PushBuffer(64, Block(i * 64, 64).List());
        b.PushBuffer(64, Block(i * 64, 64).List());
    }
    ASSERT_TRUE(PollUntil([&] { return a.Count() == 2 && b.Count() == 5; }));
    a.Flush();
    b.Flush();
    EXPECT_EQ(a.Left(), Ramp(0, 640));
    EXPECT_EQ(b.Left(), Ramp(0, 640));

    const auto threadOfA = a.Processed().threads.front();
    EXPECT_NE(threadOfA, std::this_thread::get_id());
    EXPECT_EQ(b.Processed().threads.front(), threadOfA);
}

TEST(BufferQueue, RemovingOneQueuesBuffersLeavesTheOthersAndDropsThoseNotYetTaken)
{
    IdleWorkThread work;
    RecordingQueue kept(3, 4, work.thread);
    auto removed = std::make_unique<RecordingQueue>(3, 4, work.thread);
    kept.PushBuffer(4, Block(0, 4).List());
    removed->PushBuffer(12, Block(50, 12).List());
    kept.PushBuffer(4, Block(4, 4).List());

    // Still on the pending stack: a queue that goes away must not have them processed.
    work.thread->RemoveBuffers(removed.get());
    work.Start();
    ASSERT_TRUE(PollUntil([&] { return kept.Count() == 2; }));
    EXPECT_EQ(kept.Left(), Ramp(0, 8));
    EXPECT_EQ(removed->Count(), 0u);

    // Removed buffers stay marked in progress, so the ring of that queue is blocked.
    removed->PushBuffer(1, Block(0, 1).List());
    EXPECT_EQ(removed->GetOverrunCount(), 1);
    removed.reset();

    kept.PushBuffer(4, Block(8, 4).List());
    ASSERT_TRUE(PollUntil([&] { return kept.Count() == 3; }));
}

// One queue's failing write must not take the thread every later recording needs.
TEST(BufferQueue, AFailingBufferLeavesTheWorkThreadToTheBuffersAfterIt)
{
    IdleWorkThread work;
    RecordingQueue failing(3, 4, work.thread), later(3, 4, work.thread);
    failing.throwOnProcess = true;
    failing.PushBuffer(8, Block(0, 8).List());
    work.Start();
    later.PushBuffer(8, Block(0, 8).List());
    ASSERT_TRUE(PollUntil([&] { return later.Count() == 2; }));
    EXPECT_TRUE(work.thread->IsRunning());
    work.thread->RemoveBuffers(&failing);
}

} // namespace
