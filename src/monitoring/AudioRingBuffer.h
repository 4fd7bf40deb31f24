#pragma once

// Carries audio from one real-time thread to another where the two run on different
// clocks: frames are addressed by their absolute sample time, not by read or write index.
// One writer (Store, SetTimeBounds) and one reader (Fetch, GetTimeBounds, CheckTimeBounds),
// no locks. The held range is published through a queue of 32 time-bound entries, so the
// reader always sees a start and an end that belong together.

#include "platform/CoreAudioTypes.h"

#include <atomic>
#include <cstddef>
#include <memory>

namespace Tolm::Monitoring {

class AudioRingBuffer {
public:
    enum Result : int {
        FarBehind = -2,    // the whole range lies before the held range
        PartlyBehind = -1, // begins before the held range, ends inside it
        Ok = 0,
        PartlyAhead = 1,   // begins inside the held range, ends after it
        FarAhead = 2,      // the whole range lies after the held range
        TooMany = 3,       // more frames than the capacity, or a read around the held range
        BoundsBusy = 4,    // the time bounds changed under every one of 8 reads
    };

    AudioRingBuffer();
    virtual ~AudioRingBuffer();
    AudioRingBuffer(const AudioRingBuffer&) = delete;
    AudioRingBuffer& operator=(const AudioRingBuffer&) = delete;

    // Not real-time: allocates. The capacity is rounded up to a power of two.
    void Allocate(int nChannels, UInt32 bytesPerFrame, UInt32 capacityFrames);
    void Deallocate();

    Result Store(const AudioBufferList* abl, UInt32 nFrames, SInt64 startTime);
    // On anything but Ok before the copy, abl is left untouched. A result other than Ok
    // after the copy means the writer overwrote the range meanwhile: the data is invalid.
    Result Fetch(AudioBufferList* abl, UInt32 nFrames, SInt64 startTime);

    Result GetTimeBounds(SInt64& startTime, SInt64& endTime) const;
    Result CheckTimeBounds(SInt64 startRead, SInt64 endRead) const;

    // Empties the held range without touching the samples. Neither side may be running.
    void Clear();
    // Writer only.
    void SetTimeBounds(SInt64 startTime, SInt64 endTime);

    int ChannelCount() const { return mChannelCount; }
    UInt32 CapacityFrames() const { return mCapacityFrames; }

private:
    static constexpr UInt32 kTimeBoundsQueueSize = 32;
    static constexpr UInt32 kTimeBoundsQueueMask = kTimeBoundsQueueSize - 1;
    static constexpr int kBoundsReadAttempts = 8;

    // Fields are atomics so that a reader racing a writer that has lapped the queue reads
    // defined values; the update counter tells it whether they belong together.
    struct TimeBounds {
        std::atomic<SInt64> startTime{0};
        std::atomic<SInt64> endTime{0};
        std::atomic<UInt32> updateCounter{0};
    };

    UInt32 FrameOffset(SInt64 frameNumber) const
    {
        return (UInt32(frameNumber) & mCapacityMask) * mBytesPerFrame;
    }
    // The writer's own view of the current range: it is the only one changing it.
    SInt64 StartTime() const;
    SInt64 EndTime() const;
    void ZeroRange(UInt32 beginOffset, UInt32 bytes);

    std::unique_ptr<std::byte[]> mStorage;  // the pointer table, then each channel's region
    std::byte** mChannelData = nullptr;
    int mChannelCount = 0;
    UInt32 mBytesPerFrame = 0;
    UInt32 mCapacityFrames = 0;
    UInt32 mCapacityMask = 0;
    UInt32 mCapacityBytes = 0;
    TimeBounds mTimeBounds[kTimeBoundsQueueSize];
    std::atomic<UInt32> mBoundsCounter{0};
};

} // namespace Tolm::Monitoring
