#include "tracks/TrackFinder.h"

#include <algorithm>
#include <cmath>

namespace Tolm::Tracks {

namespace {

constexpr double kWindowSeconds = 0.1;
// Music is what is louder than this, against the loud parts of the side (-30 dB).
constexpr double kMusicBelowLoud = 0.03;
// Kept before the music starts and after it ends, so no attack or decay is clipped.
constexpr double kLeadMarginSeconds = 0.5;
// A boundary sits this far before the next track's music.
constexpr double kBoundaryMarginSeconds = 0.25;
constexpr double kSmoothSeconds = 0.5;
constexpr double kWidestGapSeconds = 5.0;

// RMS per window of kWindowSeconds over the overview.
std::vector<float> WindowLevels(const SideScan& scan, std::int64_t window)
{
    std::vector<float> levels;
    for (std::int64_t from = 0; from < scan.frames; from += window)
        levels.push_back(scan.overview.level(from, std::min(from + window, scan.frames)).rms);
    return levels;
}

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
    const double rate = scan.sampleRate > 0.0 ? scan.sampleRate : 44100.0;
    const std::int64_t window = std::max<std::int64_t>(std::int64_t(kWindowSeconds * rate), 1);
    const std::vector<float> levels = WindowLevels(scan, window);
    if (levels.empty())
        return FromLiveSplits(takes);

    std::vector<float> sorted = levels;
    const auto p95 = sorted.begin() + std::ptrdiff_t(double(sorted.size() - 1) * 0.95);
    std::nth_element(sorted.begin(), p95, sorted.end());
    const float threshold = std::max(float(kMusicBelowLoud) * *p95, 1e-4f);
    const auto isMusic = [&](float level) { return level > threshold; };
    const auto first = std::find_if(levels.begin(), levels.end(), isMusic);
    if (first == levels.end())
        return FromLiveSplits(takes); // silence throughout: nothing to go by
    const auto last = std::find_if(levels.rbegin(), levels.rend(), isMusic);
    const std::int64_t firstWindow = first - levels.begin();
    const std::int64_t lastWindow = std::int64_t(levels.size()) - 1 - (last - levels.rbegin());

    const std::int64_t margin = std::int64_t(kLeadMarginSeconds * rate);
    const std::int64_t start = std::max<std::int64_t>(firstWindow * window - margin, 0);
    const std::int64_t end = std::min(scan.frames, (lastWindow + 1) * window + margin);
    const std::int64_t minTrack = MinTrackFrames(rate);

    std::vector<std::int64_t> markers{start};
    if (trackCount <= 0) {
        for (std::int64_t split : takes.liveSplits()) {
            if (split > start && split < end)
                markers.push_back(split);
        }
    } else {
        // The quietest places, smoothed, each far enough from the last so one gap gives one.
        const std::int64_t smooth = std::max<std::int64_t>(std::int64_t(kSmoothSeconds / kWindowSeconds), 1);
        std::vector<double> quiet(levels.size(), 0.0);
        for (std::size_t i = 0; i < levels.size(); ++i) {
            const std::size_t from = i >= std::size_t(smooth) ? i - std::size_t(smooth) : 0;
            const std::size_t to = std::min(levels.size(), i + std::size_t(smooth) + 1);
            double sum = 0.0;
            for (std::size_t j = from; j < to; ++j)
                sum += levels[j];
            quiet[i] = sum / double(to - from);
        }
        const std::int64_t span = end - start;
        const std::int64_t separation =
            std::max(minTrack, std::min(std::int64_t(kWidestGapSeconds * rate), span / (2 * trackCount)));
        std::vector<std::int64_t> chosen;
        for (int n = 1; n < trackCount && n < int(TrackMarkers::kTrackLimit); ++n) {
            std::optional<std::size_t> best;
            for (std::size_t i = 0; i < quiet.size(); ++i) {
                const std::int64_t at = std::int64_t(i) * window;
                if (at - start < minTrack || end - at < minTrack)
                    continue;
                const bool taken = std::any_of(chosen.begin(), chosen.end(),
                                               [&](std::int64_t c) { return std::llabs(c - at) < separation; });
                if (!taken && (!best || quiet[i] < quiet[*best]))
                    best = i;
            }
            if (!best)
                break;
            chosen.push_back(std::int64_t(*best) * window);
        }
        // Each boundary just before the music after its gap.
        const std::int64_t boundaryMargin = std::int64_t(kBoundaryMarginSeconds * rate);
        for (std::int64_t at : chosen) {
            std::size_t i = std::size_t(at / window);
            while (i < levels.size() && !isMusic(levels[i]))
                ++i;
            const std::int64_t musicStarts = std::int64_t(i) * window;
            markers.push_back(std::max(at, musicStarts - boundaryMargin));
        }
    }
    markers.push_back(end);
    return TrackMarkers(markers, scan.frames, minTrack);
}

} // namespace Tolm::Tracks
