#include "monitoring/AudioRingBuffer.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace Tolm::Monitoring {

namespace {

// Copies `bytes` into a region of `capacityBytes` starting at `offset`, wrapping to its start.
void WrapCopyIn(std::byte* region, UInt32 capacityBytes, UInt32 offset, const void* source, UInt32 bytes)
{
    const UInt32 first = std::min(bytes, capacityBytes - offset);
    std::memcpy(region + offset, source, first);
    std::memcpy(region, static_cast<const std::byte*>(source) + first, bytes - first);
}

void WrapCopyOut(void* destination, const std::byte* region, UInt32 capacityBytes, UInt32 offset, UInt32 bytes)
{
    const UInt32 first = std::min(bytes, capacityBytes - offset);
    std::memcpy(destination, region + offset, first);
    std::memcpy(static_cast<std::byte*>(destination) + first, region, bytes - first);
}

} // namespace

AudioRingBuffer::AudioRingBuffer() = default;

AudioRingBuffer::~AudioRingBuffer() = default;

void AudioRingBuffer::Allocate(int nChannels, UInt32 bytesPerFrame, UInt32 capacityFrames)
{
    Deallocate();
    nChannels = std::max(nChannels, 0);
    mChannelCount = nChannels;
    mBytesPerFrame = bytesPerFrame;
    mCapacityFrames = std::bit_ceil(std::max<UInt32>(capacityFrames, 1));
    mCapacityMask = mCapacityFrames - 1;
    mCapacityBytes = mCapacityFrames * bytesPerFrame;

    // One block: the pointer table first, then one region per channel.
    const std::size_t tableBytes = sizeof(std::byte*) * std::size_t(nChannels);
    const std::size_t total = tableBytes + std::size_t(mCapacityBytes) * std::size_t(nChannels);
    mStorage = std::make_unique<std::byte[]>(total);  // value-initialised: zeroed
    mChannelData = reinterpret_cast<std::byte**>(mStorage.get());
    std::byte* region = mStorage.get() + tableBytes;
    for (int i = 0; i < nChannels; ++i, region += mCapacityBytes)
        mChannelData[i] = region;

    Clear();
}

void AudioRingBuffer::Deallocate()
{
    mStorage.reset();
    mChannelData = nullptr;
    mChannelCount = 0;
    mCapacityFrames = 0;
    mCapacityMask = 0;
    mCapacityBytes = 0;
    Clear();
}

void AudioRingBuffer::Clear()
{
    for (auto& bounds : mTimeBounds) {
        bounds.startTime.store(0, std::memory_order_relaxed);
        bounds.endTime.store(0, std::memory_order_relaxed);
        bounds.updateCounter.store(0, std::memory_order_relaxed);
    }
    mBoundsCounter.store(0, std::memory_order_release);
}

void AudioRingBuffer::SetTimeBounds(SInt64 startTime, SInt64 endTime)
{
    const UInt32 next = mBoundsCounter.load(std::memory_order_relaxed) + 1;
    TimeBounds& bounds = mTimeBounds[next & kTimeBoundsQueueMask];
    // A reader that still holds the counter this entry was last published under must see
    // the entry change before it can see any of the new times.
    bounds.updateCounter.store(next, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    bounds.startTime.store(startTime, std::memory_order_relaxed);
    bounds.endTime.store(endTime, std::memory_order_relaxed);
    mBoundsCounter.store(next, std::memory_order_release);
}

AudioRingBuffer::Result AudioRingBuffer::GetTimeBounds(SInt64& startTime, SInt64& endTime) const
{
    for (int attempt = 0; attempt < kBoundsReadAttempts; ++attempt) {
        const UInt32 counter = mBoundsCounter.load(std::memory_order_acquire);
        const TimeBounds& bounds = mTimeBounds[counter & kTimeBoundsQueueMask];
        const SInt64 start = bounds.startTime.load(std::memory_order_relaxed);
        const SInt64 end = bounds.endTime.load(std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (bounds.updateCounter.load(std::memory_order_relaxed) == counter) {
            startTime = start;
            endTime = end;
            return Ok;
        }
    }
    return BoundsBusy;
}

AudioRingBuffer::Result AudioRingBuffer::CheckTimeBounds(SInt64 startRead, SInt64 endRead) const
{
    SInt64 start = 0;
    SInt64 end = 0;
    if (GetTimeBounds(start, end) != Ok)
        return BoundsBusy;
    if (startRead < start) {
        if (endRead > end)
            return TooMany;
        return endRead < start ? FarBehind : PartlyBehind;
    }
    if (endRead > end)
        return startRead > end ? FarAhead : PartlyAhead;
    return Ok;
}

SInt64 AudioRingBuffer::StartTime() const
{
    const UInt32 counter = mBoundsCounter.load(std::memory_order_relaxed);
    return mTimeBounds[counter & kTimeBoundsQueueMask].startTime.load(std::memory_order_relaxed);
}

SInt64 AudioRingBuffer::EndTime() const
{
    const UInt32 counter = mBoundsCounter.load(std::memory_order_relaxed);
    return mTimeBounds[counter & kTimeBoundsQueueMask].endTime.load(std::memory_order_relaxed);
}

void AudioRingBuffer::ZeroRange(UInt32 beginOffset, UInt32 bytes)
{
    const UInt32 first = std::min(bytes, mCapacityBytes - beginOffset);
    for (int i = 0; i < mChannelCount; ++i) {
        std::memset(mChannelData[i] + beginOffset, 0, first);
        std::memset(mChannelData[i], 0, bytes - first);
    }
}

AudioRingBuffer::Result AudioRingBuffer::Store(const AudioBufferList* abl, UInt32 nFrames, SInt64 startWrite)
{
    if (nFrames > mCapacityFrames)
        return TooMany;

    const SInt64 endWrite = startWrite + SInt64(nFrames);
    if (startWrite < EndTime()) {
        // Time went backwards (the device restarted, say): nothing held is valid any more.
        SetTimeBounds(startWrite, startWrite);
    } else if (endWrite - StartTime() > SInt64(mCapacityFrames)) {
        // The oldest frames are about to be overwritten: stop offering them first.
        const SInt64 newStart = endWrite - SInt64(mCapacityFrames);
        SetTimeBounds(newStart, std::max(newStart, EndTime()));
    }

    // A jump forward in time leaves a gap; it must read as silence, not as stale audio.
    const SInt64 currentEnd = EndTime();
    if (startWrite > currentEnd)
        ZeroRange(FrameOffset(currentEnd), UInt32(startWrite - currentEnd) * mBytesPerFrame);

    const UInt32 offset = FrameOffset(startWrite);
    const UInt32 bytes = nFrames * mBytesPerFrame;
    // A list with more buffers than the ring has channels has nowhere to put the rest.
    const UInt32 buffers = std::min<UInt32>(abl->mNumberBuffers, UInt32(mChannelCount));
    for (UInt32 i = 0; i < buffers; ++i)
        WrapCopyIn(mChannelData[i], mCapacityBytes, offset, abl->mBuffers[i].mData, bytes);

    SetTimeBounds(StartTime(), endWrite);
    return Ok;
}

AudioRingBuffer::Result AudioRingBuffer::Fetch(AudioBufferList* abl, UInt32 nFrames, SInt64 startRead)
{
    const SInt64 endRead = startRead + SInt64(nFrames);
    if (const Result before = CheckTimeBounds(startRead, endRead); before != Ok)
        return before;

    const UInt32 offset = FrameOffset(startRead);
    const UInt32 bytes = nFrames * mBytesPerFrame;
    const UInt32 buffers = std::min<UInt32>(abl->mNumberBuffers, UInt32(mChannelCount));
    for (UInt32 i = 0; i < buffers; ++i) {
        WrapCopyOut(abl->mBuffers[i].mData, mChannelData[i], mCapacityBytes, offset, bytes);
        abl->mBuffers[i].mDataByteSize = bytes;
    }

    // The writer may have lapped us while we copied.
    return CheckTimeBounds(startRead, endRead);
}

} // namespace Tolm::Monitoring
