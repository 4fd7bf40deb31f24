#pragma once

// A recorded side, read from a sound file through the equaliser, then its tracks found by the
// side analysis or, if asked, by the gap detector as the live chain would hear it.

#include "CommandOption.h"
#include "analysis/SideAnalyzer.h"
#include "filters/AudioFilter.h"
#include "filters/GapDetector.h"

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tolm::Convert {

// Why a side could not be analysed, in one line for people (without the file name's prefix).
class SideAnalysisError : public std::runtime_error {
public:
    enum class Kind {
        Unreadable,       // missing, no permission, a folder, not a sound file
        NotStereo,        // mono or more than two channels
        UnsupportedRate,  // outside kMinRate..kMaxRate
        ReadFailed,       // broke off while reading
    };
    SideAnalysisError(Kind kind, const std::string& message) : std::runtime_error(message), mKind(kind) {}
    Kind kind() const { return mKind; }

private:
    Kind mKind;
};

enum class TrackFinder {
    Gaps,  // the gap detector's FindTracks
    Side,  // the side analysis
};

struct SideAnalysisOptions {
    Morvo::Audio::Filters::AudioFilter::Type equaliser = Morvo::Audio::Filters::AudioFilter::NoFilter;
    TrackFinder finder = TrackFinder::Gaps;
    Tolm::Analysis::SideHints hints;  // the side analysis only
    // 0..1, on the calling thread between blocks.
    std::function<void(double fraction)> progress;
    // Polled between blocks; true stops reading and finds the tracks of what was read.
    std::function<bool()> stopRequested;
};

struct SideAnalysisResult {
    unsigned sampleRate = 0;
    int channels = 0;
    std::int64_t frames = 0;  // frames read and analysed
    bool stopped = false;
    // One level per half-second frame, as the detector measured them; the tracks end at the
    // last whole frame, so up to half a second short of `frames`.
    std::vector<float> levels;
    std::vector<Morvo::Audio::Filters::GapDetector::TrackItem> tracks;  // the gap detector's
    Tolm::Analysis::SideTracks side;                                     // the side analysis's
    TrackFinder finder = TrackFinder::Gaps;

    // The tracks of whichever finder ran, in samples: a long side at a high rate passes 2^31.
    std::vector<Tolm::Analysis::FoundTrack> spans() const;
};

class SideAnalysis {
public:
    static constexpr unsigned kMinRate = 8000;
    static constexpr unsigned kMaxRate = 192000;

    // Throws SideAnalysisError.
    static SideAnalysisResult Run(const std::string& path, const SideAnalysisOptions& options = {});
};

// "side", "gaps" and back.
bool ParseTrackFinder(const std::string& name, TrackFinder& finder);
const char* TrackFinderName(TrackFinder finder);

// "3:12,4:05,200.5": track lengths in minutes:seconds or seconds; false if any is not one.
bool ParseTrackLengths(const std::string& text, std::vector<double>& seconds);

// "none", "riaa", "riaa-bass", "chrome" and back; false for an unknown name.
bool ParseEqualiser(const std::string& name, Morvo::Audio::Filters::AudioFilter::Type& type);
// --eq's row in a command's option table.
CommandOption EqualiserOption();
const char* EqualiserName(Morvo::Audio::Filters::AudioFilter::Type type);

} // namespace Tolm::Convert
