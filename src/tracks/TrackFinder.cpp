#include "tracks/TrackFinder.h"

#include <algorithm>

namespace Tolm::Tracks {

namespace {

// Kept before the music starts and after it ends, so no attack or decay is clipped.
constexpr double kLeadInMarginSeconds = 0.3;
constexpr double kRunOutMarginSeconds = 0.5;
// A boundary sits this far before the next track's music (the gap's silence stays with the
// track before it, as players expect), or in the middle of a shorter gap.
constexpr double kBoundaryMarginSeconds = 0.25;

} // namespace

TrackMarkers TrackFinder::FromLiveSplits(const TakeFiles& takes)
{
    std::vector<std::int64_t> markers{0};
    for (std::int64_t split : takes.liveSplits())
        markers.push_back(split);
    markers.push_back(takes.frames());
    return TrackMarkers(markers, takes.frames(), MinTrackFrames(takes.sampleRate()));
}

TrackMarkers TrackFinder::Find(const SideScan& scan, const TakeFiles& takes, int trackCount)
{
    if (!scan.analyzer)
        return FromLiveSplits(takes);
    Analysis::SideHints hints;
    hints.trackCount = trackCount;
    const Analysis::SideTracks found = scan.analyzer->analyze(hints);
    if (found.tracks.empty())
        return FromLiveSplits(takes);

    const double rate = scan.sampleRate;
    const auto frames = [rate](double seconds) { return std::int64_t(seconds * rate); };
    std::vector<std::int64_t> markers{std::max<std::int64_t>(found.tracks.front().startSample -
                                                                 frames(kLeadInMarginSeconds),
                                                             0)};
    for (std::size_t i = 0; i + 1 < found.tracks.size(); ++i) {
        const std::int64_t end = found.tracks[i].endSample;
        const std::int64_t next = found.tracks[i + 1].startSample;
        const std::int64_t margin = frames(kBoundaryMarginSeconds);
        markers.push_back(next - end >= 2 * margin ? next - margin : (end + next) / 2);
    }
    markers.push_back(std::min(found.tracks.back().endSample + frames(kRunOutMarginSeconds), scan.frames));
    return TrackMarkers(markers, scan.frames, MinTrackFrames(rate));
}

} // namespace Tolm::Tracks
