#include "tracks/WaveformOverview.h"

#include <algorithm>
#include <cmath>

namespace Tolm::Tracks {

namespace {

std::uint16_t Quantised(double value)
{
    return std::uint16_t(std::lround(std::clamp(value, 0.0, 1.0) * 65535.0));
}

} // namespace

void WaveformOverview::add(const float* interleaved, std::int64_t frames)
{
    for (std::int64_t i = 0; i < frames; ++i) {
        const float left = interleaved[2 * i];
        const float right = interleaved[2 * i + 1];
        // NaN compares false and so never becomes the peak.
        mPeak = std::max({mPeak, std::fabs(left), std::fabs(right)});
        mSquares += 0.5 * (double(left) * left + double(right) * right);
        if (++mFill == kFramesPerBucket)
            closeBucket();
    }
    mFrames += frames;
}

void WaveformOverview::closeBucket()
{
    const double rms = std::isfinite(mSquares) ? std::sqrt(mSquares / double(mFill)) : 0.0;
    mBuckets.push_back({Quantised(mPeak), Quantised(rms)});
    mPeak = 0.0f;
    mSquares = 0.0;
    mFill = 0;
}

WaveformOverview::Level WaveformOverview::level(std::int64_t from, std::int64_t to) const
{
    if (mBuckets.empty() || to <= from)
        return {};
    const std::int64_t last = std::int64_t(mBuckets.size()) - 1;
    const std::int64_t first = std::clamp<std::int64_t>(from / kFramesPerBucket, 0, last);
    const std::int64_t end = std::clamp<std::int64_t>((to - 1) / kFramesPerBucket, first, last);
    std::uint16_t peak = 0;
    std::uint16_t rms = 0;
    for (std::int64_t i = first; i <= end; ++i) {
        peak = std::max(peak, mBuckets[std::size_t(i)].peak);
        rms = std::max(rms, mBuckets[std::size_t(i)].rms);
    }
    return {float(peak) / 65535.0f, float(rms) / 65535.0f};
}

} // namespace Tolm::Tracks
