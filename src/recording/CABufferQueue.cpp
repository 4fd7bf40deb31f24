#include "recording/CABufferQueue.h"

#include "base/TolmAssert.h"

#include <algorithm>
#include <cstring>
#include <mutex>

CABufferQueue::WorkThread* CABufferQueue::sWorkThread = nullptr;

CABufferQueue::CABufferQueue(int nBuffers, UInt32 bufferSizeFrames)
    : mNumberBuffers(nBuffers), mBufferSizeFrames(bufferSizeFrames)
{
    TOLM_ASSERT(nBuffers > 0 && bufferSizeFrames > 0);
    static std::once_flag once;
    std::call_once(once, [] {
        // Lives until the process ends: queues of any lifetime may still hand it buffers.
        auto* thread = new WorkThread;
        thread->Start();
        sWorkThread = thread;
    });
    mWorkThread = sWorkThread;
}

CABufferQueue::~CABufferQueue()
{
    CancelAndDisposeBuffers();
}

void CABufferQueue::SetFormat(const CAStreamBasicDescription& format)
{
    CancelAndDisposeBuffers();
    TOLM_ASSERT(format.mBytesPerFrame > 0);
    mBytesPerFrame = format.mBytesPerFrame;
    mBuffers = std::make_unique<std::unique_ptr<Buffer>[]>(std::size_t(mNumberBuffers));
    for (int i = 0; i < mNumberBuffers; ++i)
        mBuffers[i].reset(CreateBuffer(format, mBytesPerFrame * mBufferSizeFrames));
    mBufferList = CABufferList::New("CABufferQueue buffer list", format);
    mCurrentBuffer = 0;
}

void CABufferQueue::CancelAndDisposeBuffers()
{
    if (mBuffers) {
        mWorkThread->RemoveBuffers(this);
        mBuffers.reset();
    }
    mBufferList.reset();
    mCurrentBuffer = 0;
}

// ---------------------------------------------------------------------------------------

CABufferQueue::Buffer::Buffer(CABufferQueue* owner, const CAStreamBasicDescription& format, UInt32 nBytes)
    : mQueue(owner), mMemory(CABufferList::New("CABufferQueue::Buffer", format)), mByteSize(nBytes)
{
    mMemory->AllocateBuffers(nBytes);
}

bool CABufferQueue::Buffer::CopyFrom(const AudioBufferList* data, UInt32 bytesPerFrame,
                                     UInt32& framesProduced, UInt32& framesRequired)
{
    const UInt32 capacity = mByteSize / bytesPerFrame;
    const UInt32 room = capacity - (mEndOffset - mStartOffset);
    const UInt32 n = std::min(framesRequired, room);
    const bool full = n == room;
    if (n == 0)
        return full;

    const UInt32 channels = std::min(data->mNumberBuffers, mMemory->GetNumberBuffers());
    const std::size_t destination = std::size_t(mEndOffset - mStartOffset) * bytesPerFrame;
    const std::size_t source = std::size_t(framesProduced) * bytesPerFrame;
    for (UInt32 i = 0; i < channels; ++i) {
        std::memcpy(static_cast<std::byte*>(mMemory->GetBuffer(i).mData) + destination,
                    static_cast<const std::byte*>(data->mBuffers[i].mData) + source,
                    std::size_t(n) * bytesPerFrame);
    }
    framesProduced += n;
    framesRequired -= n;
    mEndOffset += n;
    return full;
}

// ---------------------------------------------------------------------------------------

CABufferQueue::WorkThread::WorkThread()
    : CAPThread(&WorkThread::ThreadEntry, this, kMaxThreadPriority, true, "tolm-bufferq"),
      mRunGuard("CABufferQueue::mRunGuard")
{
    // Room for 64 entries up front, so the thread rarely allocates while it writes.
    mBuffersToProcess.insert(mBuffersToProcess.end(), 64, nullptr);
    mBuffersToProcess.clear();
}

void* CABufferQueue::WorkThread::ThreadEntry(void* self)
{
    static_cast<WorkThread*>(self)->Run();
    return nullptr;
}

void CABufferQueue::WorkThread::AddBuffer(Buffer* buffer)
{
    buffer->mInProgress.store(true, std::memory_order_relaxed);
    Buffer* head = mPendingStack.load(std::memory_order_relaxed);
    do {
        buffer->mNext = head;
    } while (!mPendingStack.compare_exchange_weak(head, buffer, std::memory_order_release,
                                                  std::memory_order_relaxed));
    mRunGuard.Notify();
}

void CABufferQueue::WorkThread::TakePendingBuffers()
{
    Buffer* head = mPendingStack.exchange(nullptr, std::memory_order_acquire);
    std::size_t count = 0;
    for (Buffer* b = head; b != nullptr; b = b->mNext)
        ++count;
    if (count == 0)
        return;
    // The stack is newest first; lay it out backwards so the oldest is processed first.
    const std::size_t end = mBuffersToProcess.size() + count;
    mBuffersToProcess.resize(end);
    std::size_t i = end;
    for (Buffer* b = head; b != nullptr; b = b->mNext)
        mBuffersToProcess[--i] = b;
}

void CABufferQueue::WorkThread::Run()
{
    while (!mStopped.load(std::memory_order_acquire)) {
        CAMutex::Locker locker(mRunGuard);
        // Notify does not take the mutex, so a buffer handed over while this thread was
        // busy may have lost its wake-up: look before waiting.
        if (mPendingStack.load(std::memory_order_acquire) == nullptr && mBuffersToProcess.empty())
            mRunGuard.Wait();
        while (!mStopped.load(std::memory_order_acquire)) {
            TakePendingBuffers();
            if (mBuffersToProcess.empty())
                break;
            Buffer* buffer = mBuffersToProcess.front();
            mBuffersToProcess.erase(mBuffersToProcess.begin());
            // One queue's failure must not end the thread that every later recording needs;
            // the queue keeps its own account of what went wrong.
            try {
                buffer->mQueue->ProcessBuffer(buffer);
            } catch (...) {
                buffer->SetEmpty();
            }
            buffer->mInProgress.store(false, std::memory_order_release);
        }
    }
}

void CABufferQueue::WorkThread::RemoveBuffers(CABufferQueue* queue)
{
    CAMutex::Locker locker(mRunGuard);
    // Buffers still on the pending stack belong in the list first, or a destroyed queue's
    // buffer could be processed later.
    TakePendingBuffers();
    std::erase_if(mBuffersToProcess, [queue](Buffer* b) { return b->mQueue == queue; });
    if (!mBuffersToProcess.empty())
        mRunGuard.Notify(); // other queues' buffers taken from the stack above
}

void CABufferQueue::WorkThread::ProcessQueue(CABufferQueue* queue, Buffer* partial)
{
    CAMutex::Locker locker(mRunGuard);
    TakePendingBuffers();
    std::vector<Buffer*> mine;
    for (Buffer* b : mBuffersToProcess) {
        if (b->mQueue == queue)
            mine.push_back(b);
    }
    std::erase_if(mBuffersToProcess, [queue](Buffer* b) { return b->mQueue == queue; });
    if (!mBuffersToProcess.empty())
        mRunGuard.Notify();

    for (Buffer* b : mine) {
        queue->ProcessBuffer(b);
        b->mInProgress.store(false, std::memory_order_release);
    }
    if (partial != nullptr && partial->FrameCount() != 0 && !partial->IsInProgress())
        queue->ProcessBuffer(partial);
}

void CABufferQueue::WorkThread::Stop()
{
    mStopped.store(true, std::memory_order_release);
    mRunGuard.Notify();
}

// ---------------------------------------------------------------------------------------

void CAPushBufferQueue::PushBuffer(UInt32 frames, const AudioBufferList* data)
{
    if (!mBuffers)
        return;
    UInt32 required = frames;
    UInt32 produced = 0;
    for (;;) {
        Buffer* buffer = mBuffers[mCurrentBuffer].get();
        if (buffer->IsInProgress()) {
            mOverrunCount.fetch_add(1, std::memory_order_relaxed);
            return;
        }
        if (buffer->CopyFrom(data, mBytesPerFrame, produced, required)) {
            mWorkThread->AddBuffer(buffer);
            if (++mCurrentBuffer == mNumberBuffers)
                mCurrentBuffer = 0;
        }
        if (required == 0)
            return;
    }
}

void CAPushBufferQueue::Flush()
{
    if (!mBuffers)
        return;
    mWorkThread->ProcessQueue(this, mBuffers[mCurrentBuffer].get());
}
