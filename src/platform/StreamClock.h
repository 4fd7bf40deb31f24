#pragma once

// A stream's clock as its real-time callback last published it, readable from any thread
// without a lock (a sequence lock: one writer, readers retry while a write is under way).

#include "platform/CoreAudioTypes.h"

#include <atomic>

namespace Tolm::Platform {

class StreamClock {
  public:
    struct Reading {
        Float64 sampleTime = 0.0; // frames at `hostTime`
        UInt64 hostTime = 0;
        Float64 rateScalar = 1.0;
    };

    // The one writer (the stream's callback).
    void Publish(const Reading& reading)
    {
        const UInt32 sequence = mSequence.load(std::memory_order_relaxed);
        mSequence.store(sequence + 1, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
        mSampleTime.store(reading.sampleTime, std::memory_order_relaxed);
        mHostTime.store(reading.hostTime, std::memory_order_relaxed);
        mRateScalar.store(reading.rateScalar, std::memory_order_relaxed);
        mValid.store(true, std::memory_order_relaxed);
        mSequence.store(sequence + 2, std::memory_order_release);
    }

    // Forgets the reading (stream stopped or restarted). Same writer rules as Publish.
    void Invalidate()
    {
        const UInt32 sequence = mSequence.load(std::memory_order_relaxed);
        mSequence.store(sequence + 1, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
        mValid.store(false, std::memory_order_relaxed);
        mSequence.store(sequence + 2, std::memory_order_release);
    }

    // False until the first Publish after Invalidate.
    bool Read(Reading& reading) const
    {
        for (;;) {
            const UInt32 before = mSequence.load(std::memory_order_acquire);
            if (before & 1u)
                continue;
            const bool valid = mValid.load(std::memory_order_relaxed);
            Reading r{mSampleTime.load(std::memory_order_relaxed), mHostTime.load(std::memory_order_relaxed),
                      mRateScalar.load(std::memory_order_relaxed)};
            std::atomic_thread_fence(std::memory_order_acquire);
            if (mSequence.load(std::memory_order_relaxed) == before) {
                reading = r;
                return valid;
            }
        }
    }

  private:
    std::atomic<UInt32> mSequence{0};
    std::atomic<bool> mValid{false};
    std::atomic<Float64> mSampleTime{0.0};
    std::atomic<UInt64> mHostTime{0};
    std::atomic<Float64> mRateScalar{1.0};
};

} // namespace Tolm::Platform
