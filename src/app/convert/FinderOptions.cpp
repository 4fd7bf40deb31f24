#include "FinderOptions.h"

#include <cmath>

namespace Tolm::Convert {

std::vector<CommandOption> FinderOptionRows()
{
    return {
        {"finder", "F",
         "How the tracks are found: side, the analysis of the whole side (measured against its own noise "
         "floor; lead-in, gaps and run-out left out); gaps, the gap detector's track list, cut in the middle "
         "of each gap of 2 s or more.",
         "side", "side gaps"},
        {"tracks", "N", "The number of tracks on the side (from the sleeve): exactly N tracks, cut at the N-1 "
         "likeliest boundaries.", "none"},
        {"lengths", "M:SS,...", "The track lengths from the sleeve, in order: the boundaries are placed to fit "
         "them.", "none"},
    };
}

bool TakeFinderOptions(ArgumentParser& parser, SideAnalysisOptions& options)
{
    options.finder = TrackFinder::Side;
    if (const auto name = parser.Value("finder"); name && !ParseTrackFinder(*name, options.finder)) {
        parser.Error("--finder takes side or gaps, not \"" + *name + "\"");
        return false;
    }
    const auto count = parser.Value("tracks");
    const auto lengths = parser.Value("lengths");
    if ((count || lengths) && options.finder == TrackFinder::Gaps) {
        parser.Error("--tracks and --lengths are hints for --finder side");
        return false;
    }
    if (count) {
        const auto n = ParseNumber(*count);
        if (!n || !(*n >= 1 && *n <= 99) || *n != std::floor(*n)) {
            parser.Error("--tracks takes a number of tracks from 1 to 99, not \"" + *count + "\"");
            return false;
        }
        options.hints.trackCount = int(*n);
    }
    if (lengths) {
        if (!ParseTrackLengths(*lengths, options.hints.trackSeconds) || options.hints.trackSeconds.size() > 99) {
            parser.Error("--lengths takes track lengths like 3:12,4:05,2:58, not \"" + *lengths + "\"");
            return false;
        }
        const int given = int(options.hints.trackSeconds.size());
        if (options.hints.trackCount != 0 && options.hints.trackCount != given) {
            parser.Error("--tracks " + std::to_string(options.hints.trackCount) + " but --lengths gives " +
                         std::to_string(given) + " tracks");
            return false;
        }
        options.hints.trackCount = given;
    }
    return true;
}

} // namespace Tolm::Convert
