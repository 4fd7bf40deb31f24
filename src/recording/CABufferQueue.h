#pragma once

// A small ring of preallocated buffers between a real-time producer and one process-wide
// work thread. The producer fills the current buffer and hands it over, without a lock,
// once it is full; the work thread calls the owning queue's ProcessBuffer on it.

#include "platform/CABufferList.h"
#include "platform/CAGuard.h"
#include "platform/CAPThread.h"
#include "platform/CAStreamBasicDescription.h"

#include <atomic>
#include <memory>
#include <vector>

class CABufferQueue {
  public:
    class Buffer;
    class WorkThread;

    CABufferQueue(int nBuffers, UInt32 bufferSizeFrames);
    virtual ~CABufferQueue();

    CABufferQueue(const CABufferQueue&) = delete;
    CABufferQueue& operator=(const CABufferQueue&) = delete;

    // Makes the buffers for `format` (dropping any old ones). Allocates; not real-time.
    void SetFormat(const CAStreamBasicDescription& format);
    // Withdraws this queue's buffers from the work thread and frees them.
    void CancelAndDisposeBuffers();

    int GetNumberBuffers() const { return mNumberBuffers; }
    UInt32 GetBufferSizeFrames() const { return mBufferSizeFrames; }
    // Blocks partly dropped because the next buffer was still waiting to be written.
    int GetOverrunCount() const { return mOverrunCount.load(std::memory_order_relaxed); }
    void ResetOverrunCount() { mOverrunCount.store(0, std::memory_order_relaxed); }

  protected:
    virtual Buffer* CreateBuffer(const CAStreamBasicDescription& format, UInt32 nBytes) = 0;
    // On the work thread (or the caller of Flush). The consumer empties the buffer.
    virtual void ProcessBuffer(Buffer* buffer) = 0;

    WorkThread* mWorkThread;
    int mCurrentBuffer = 0;
    int mNumberBuffers;
    std::unique_ptr<std::unique_ptr<Buffer>[]> mBuffers;
    UInt32 mBufferSizeFrames;
    UInt32 mBytesPerFrame = 0;
    // Pointer-only list of the format, for the consumer to aim at a buffer's memory.
    std::unique_ptr<CABufferList> mBufferList;
    std::atomic<int> mOverrunCount{0};

    static WorkThread* sWorkThread;
};

class CABufferQueue::Buffer {
  public:
    Buffer(CABufferQueue* owner, const CAStreamBasicDescription& format, UInt32 nBytes);

    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    // Copies as many of `framesRequired` frames of `data`, starting at `framesProduced`,
    // as fit, and advances both counts. True when the buffer is now full.
    bool CopyFrom(const AudioBufferList* data, UInt32 bytesPerFrame, UInt32& framesProduced,
                  UInt32& framesRequired);

    UInt32 FrameCount() const { return mEndOffset - mStartOffset; }
    void SetEmpty() { mStartOffset = mEndOffset = 0; }
    bool IsInProgress() const { return mInProgress.load(std::memory_order_acquire); }
    CABufferQueue* Queue() const { return mQueue; }
    const AudioBufferList& Memory() const { return mMemory->GetBufferList(); }

    Buffer* mNext = nullptr; // only while on the work thread's pending stack
    CABufferQueue* mQueue;
    std::unique_ptr<CABufferList> mMemory;
    UInt32 mByteSize; // bytes per channel buffer
    // Set by the producer at hand-over, cleared by the work thread once processed; while
    // set, the ring does not touch the buffer.
    std::atomic<bool> mInProgress{false};
    bool mEndOfStream = false;
    UInt32 mStartOffset = 0; // frames
    UInt32 mEndOffset = 0;   // frames
};

// The one thread that processes the full buffers of every queue in the process.
class CABufferQueue::WorkThread : public CAPThread {
  public:
    WorkThread();

    // Real-time safe: a compare-and-swap push and a wake-up.
    void AddBuffer(Buffer* buffer);
    // Drops the queue's waiting buffers, the ones handed over but not yet taken included;
    // waits for a buffer being processed. Dropped buffers stay marked in progress.
    void RemoveBuffers(CABufferQueue* queue);
    // On the calling thread, with the work thread held off: processes the queue's waiting
    // buffers in the order they were handed over, then `partial` if it holds frames.
    void ProcessQueue(CABufferQueue* queue, Buffer* partial);
    void Stop();

  private:
    static void* ThreadEntry(void* self);
    void Run();
    // Moves the pending stack, oldest first, to the end of mBuffersToProcess. Under the guard.
    void TakePendingBuffers();

    std::atomic<bool> mStopped{false};
    std::vector<Buffer*> mBuffersToProcess;
    CAGuard mRunGuard;
    std::atomic<Buffer*> mPendingStack{nullptr};
};

class CAPushBufferQueue : public CABufferQueue {
  public:
    using CABufferQueue::CABufferQueue;

    // Real-time thread: copies the block in and hands full buffers over. When the next
    // buffer is still waiting to be written the rest of the block is dropped and counted.
    void PushBuffer(UInt32 frames, const AudioBufferList* data);
    // Writes what the queue holds on the calling thread: buffers still waiting for the work
    // thread, then the partly filled current buffer.
    void Flush();
};
