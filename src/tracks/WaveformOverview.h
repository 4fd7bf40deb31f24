#pragma once

// What a side looks like, compactly: the peak and the RMS level of every 256 frames, both
// channels together, 4 bytes each (2.7 MB for an hour at 48 kHz). Fine enough to place a
// split within 10 ms when zoomed in, small enough to keep for the whole side.

#include <cstdint>
#include <vector>

namespace Tolm::Tracks {

class WaveformOverview {
  public:
    static constexpr std::int64_t kFramesPerBucket = 256;

    struct Level {
        float peak = 0.0f; // 0..1
        float rms = 0.0f;  // 0..1
    };

    // Room for a side of `frames` frames, so the overview of a known length is not grown.
    void reserve(std::int64_t frames) { mBuckets.reserve(std::size_t(frames / kFramesPerBucket + 1)); }
    // Interleaved stereo, any block size.
    void add(const float* interleaved, std::int64_t frames);
    std::int64_t frames() const { return mFrames; }
    // The loudest peak and RMS of the buckets that [from, to) touches.
    Level level(std::int64_t from, std::int64_t to) const;
    std::size_t bytes() const { return mBuckets.capacity() * sizeof(Bucket); }

  private:
    struct Bucket {
        std::uint16_t peak = 0;
        std::uint16_t rms = 0;
    };
    void closeBucket();

    std::vector<Bucket> mBuckets;
    std::int64_t mFrames = 0;
    // The bucket being filled.
    float mPeak = 0.0f;
    double mSquares = 0.0;
    std::int64_t mFill = 0;
};

} // namespace Tolm::Tracks
