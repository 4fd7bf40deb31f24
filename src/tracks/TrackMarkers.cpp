#include "tracks/TrackMarkers.h"

#include <algorithm>
#include <cstdlib>

namespace Tolm::Tracks {

TrackMarkers::TrackMarkers(std::vector<std::int64_t> positions, std::int64_t sideFrames,
                           std::int64_t minTrackFrames)
    : mSideFrames(std::max<std::int64_t>(sideFrames, 0)), mMinTrack(std::max<std::int64_t>(minTrackFrames, 1))
{
    for (std::int64_t& position : positions)
        position = std::clamp<std::int64_t>(position, 0, mSideFrames);
    std::sort(positions.begin(), positions.end());
    if (positions.size() < 2 || positions.back() - positions.front() < mMinTrack) {
        mPositions = {0, mSideFrames};
        return;
    }
    // The start and the end stay; a boundary too near another one, or either end, goes.
    mPositions = {positions.front()};
    for (std::size_t i = 1; i + 1 < positions.size(); ++i) {
        if (positions[i] - mPositions.back() >= mMinTrack && positions.back() - positions[i] >= mMinTrack)
            mPositions.push_back(positions[i]);
    }
    mPositions.push_back(positions.back());
}

std::int64_t TrackMarkers::move(std::size_t marker, std::int64_t to)
{
    if (marker >= mPositions.size())
        return 0;
    const std::int64_t low = marker == 0 ? 0 : mPositions[marker - 1] + mMinTrack;
    const std::int64_t high = marker + 1 == mPositions.size() ? mSideFrames : mPositions[marker + 1] - mMinTrack;
    if (low <= high)
        mPositions[marker] = std::clamp(to, low, high);
    return mPositions[marker];
}

std::optional<std::size_t> TrackMarkers::split(std::int64_t at)
{
    if (trackCount() >= kTrackLimit)
        return std::nullopt;
    const auto next = std::upper_bound(mPositions.begin(), mPositions.end(), at);
    if (next == mPositions.begin() || next == mPositions.end())
        return std::nullopt; // in the lead-in or the run-out
    if (at - *(next - 1) < mMinTrack || *next - at < mMinTrack)
        return std::nullopt;
    const auto index = next - mPositions.begin();
    mPositions.insert(next, at);
    return std::size_t(index);
}

bool TrackMarkers::join(std::size_t marker)
{
    if (!isBoundary(marker))
        return false;
    mPositions.erase(mPositions.begin() + std::ptrdiff_t(marker));
    return true;
}

std::optional<std::size_t> TrackMarkers::nearest(std::int64_t at, std::int64_t within) const
{
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < mPositions.size(); ++i) {
        const std::int64_t distance = std::llabs(mPositions[i] - at);
        if (distance <= within && (!best || distance < std::llabs(mPositions[*best] - at)))
            best = i;
    }
    return best;
}

} // namespace Tolm::Tracks
