#pragma once

// Where the tracks of a side are: marker 0 is where the first track starts (the lead-in
// before it), the last marker is where the last track ends (the run-out after it), and
// every marker between is a boundary. Moving, adding and removing markers keeps them in
// order and keeps every track at least `minTrackFrames` long, so no stray sliver of a
// track reaches the library.

#include <cstdint>
#include <optional>
#include <vector>

namespace Tolm::Tracks {

class TrackMarkers {
  public:
    static constexpr std::size_t kTrackLimit = 40; // as many as the naming panels have fields

    TrackMarkers() = default;
    // Markers outside [0, sideFrames] are clamped; fewer than two give one track of the side.
    TrackMarkers(std::vector<std::int64_t> positions, std::int64_t sideFrames, std::int64_t minTrackFrames);

    const std::vector<std::int64_t>& positions() const { return mPositions; }
    std::int64_t position(std::size_t marker) const { return mPositions[marker]; }
    std::size_t count() const { return mPositions.size(); }
    std::size_t trackCount() const { return mPositions.size() - 1; }
    std::int64_t sideFrames() const { return mSideFrames; }
    bool isBoundary(std::size_t marker) const { return marker > 0 && marker + 1 < mPositions.size(); }

    // Moves a marker as near to `to` as its neighbours allow; returns where it went.
    std::int64_t move(std::size_t marker, std::int64_t to);
    // A new boundary at `at`, inside a track and far enough from its ends; its index.
    std::optional<std::size_t> split(std::int64_t at);
    // Removes a boundary, joining the two tracks beside it.
    bool join(std::size_t marker);
    // The marker nearest to `at` within `within` frames.
    std::optional<std::size_t> nearest(std::int64_t at, std::int64_t within) const;

  private:
    std::vector<std::int64_t> mPositions{0, 0};
    std::int64_t mSideFrames = 0;
    std::int64_t mMinTrack = 0;
};

} // namespace Tolm::Tracks
