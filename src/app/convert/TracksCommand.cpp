// tolm-convert tracks: where the tracks of a recorded side begin and end.

#include "Command.h"
#include "CommandLine.h"
#include "FinderOptions.h"
#include "SideAnalysis.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>
#include <string>

namespace Tolm::Convert {

namespace {

using Morvo::Audio::Filters::AudioFilter;

void PrintText(const std::string& path, const SideAnalysisResult& side, AudioFilter::Type eq)
{
    const double rate = side.sampleRate;
    const auto spans = side.spans();
    std::printf("%s: %u Hz, %s, equaliser %s, %zu track%s\n", path.c_str(), side.sampleRate,
                FormatMinutesSeconds(double(side.frames) / rate).c_str(), EqualiserName(eq), spans.size(),
                spans.size() == 1 ? "" : "s");
    if (spans.empty())
        return;
    const bool sure = side.finder == TrackFinder::Side;
    std::printf("%5s  %9s  %9s  %12s  %12s%s\n", "Track", "Start", "Length", "Start sample", "Samples",
                sure ? "  Boundary" : "");
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const auto& t = spans[i];
        std::printf("%5zu  %9s  %9s  %12lld  %12lld", i + 1, FormatMinutesSeconds(double(t.startSample) / rate).c_str(),
                    FormatMinutesSeconds(double(t.endSample - t.startSample) / rate).c_str(),
                    static_cast<long long>(t.startSample), static_cast<long long>(t.endSample - t.startSample));
        if (sure && i > 0)
            std::printf("  %7.0f%%", 100.0 * side.side.boundaryConfidence[i - 1]);
        std::printf("\n");
    }
    if (sure)
        std::printf(side.side.sideEndFound ? "The music of the side ends at %s.\n"
                                           : "The music runs to the end of the file (%s).\n",
                    FormatMinutesSeconds(double(side.side.sideEndSample) / rate).c_str());
}

void PrintJson(const std::string& path, const SideAnalysisResult& side, AudioFilter::Type eq)
{
    const double rate = side.sampleRate;
    const auto spans = side.spans();
    QJsonArray tracks;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const auto& t = spans[i];
        QJsonObject track{{"number", qint64(i + 1)},
                          {"startSample", qint64(t.startSample)},
                          {"lengthSamples", qint64(t.endSample - t.startSample)}};
        if (side.finder == TrackFinder::Gaps) {
            // The detector's own seconds, unrounded.
            track["start"] = double(side.tracks[i].start);
            track["duration"] = double(side.tracks[i].duration);
        } else {
            track["start"] = double(t.startSample) / rate;
            track["duration"] = double(t.endSample - t.startSample) / rate;
            track["end"] = double(t.endSample) / rate;
            track["endSample"] = qint64(t.endSample);
            if (i > 0) // how sure the boundary before this track is
                track["confidence"] = side.side.boundaryConfidence[i - 1];
        }
        tracks.append(track);
    }
    // Bytes of a file name that are not UTF-8 become U+FFFD: the JSON stays valid.
    QJsonObject root{{"file", QString::fromUtf8(path.data(), qsizetype(path.size()))},
                     {"sampleRate", qint64(side.sampleRate)},
                     {"frames", qint64(side.frames)},
                     {"seconds", double(side.frames) / rate},
                     {"equaliser", EqualiserName(eq)},
                     {"finder", TrackFinderName(side.finder)},
                     {"tracks", tracks}};
    if (side.finder == TrackFinder::Side) {
        QJsonArray boundaries;
        for (std::size_t i = 1; i < spans.size(); ++i)
            boundaries.append(QJsonObject{{"after", qint64(i)},
                                          {"end", double(spans[i - 1].endSample) / rate},
                                          {"start", double(spans[i].startSample) / rate},
                                          {"confidence", side.side.boundaryConfidence[i - 1]}});
        root["boundaries"] = boundaries;
        root["sideEnd"] = double(side.side.sideEndSample) / rate;
        root["sideEndSample"] = qint64(side.side.sideEndSample);
        root["sideEndFound"] = side.side.sideEndFound;
    }
    const QByteArray text = QJsonDocument(root).toJson(QJsonDocument::Indented);
    std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout);
}

int RunTracks(const std::vector<std::string>& args)
{
    ArgumentParser parser("tracks", args);
    const bool json = parser.Flag("json");
    const bool verbose = parser.Flag("verbose");
    const auto eqName = parser.Value("eq");
    SideAnalysisOptions options;
    if (!TakeFinderOptions(parser, options))
        return kExitBadInput;
    const auto files = parser.Positionals();
    if (!files)
        return kExitBadInput;
    if (files->size() != 1) {
        parser.Error(files->empty() ? "which file? (tolm-convert tracks FILE)" : "one file at a time, please");
        return kExitBadInput;
    }
    AudioFilter::Type eq = AudioFilter::NoFilter;
    if (eqName && !ParseEqualiser(*eqName, eq)) {
        parser.Error("unknown equaliser \"" + *eqName + "\" (none, riaa, riaa-bass or chrome)");
        return kExitBadInput;
    }
    const std::string& path = files->front();

    InstallStopRequestHandler();
    // The detector's log lines would tear the bar apart; with --verbose they win.
    ProgressBar bar("Reading", StandardErrorIsTerminal() && !verbose);
    options.equaliser = eq;
    options.progress = [&bar](double fraction) { bar.Update(fraction); };
    options.stopRequested = [] { return StopRequested(); };

    SideAnalysisResult side;
    try {
        side = SideAnalysis::Run(path, options);
    } catch (const SideAnalysisError& e) {
        bar.Finish();
        parser.Error(path + " " + e.what());
        return kExitBadInput;
    } catch (const std::exception& e) {
        bar.Finish();
        parser.Error(path + ": " + e.what());
        return kExitFailed;
    }
    bar.Finish();
    if (side.stopped) {
        parser.Error("stopped before the end of " + path + "; no tracks printed");
        return kExitFailed;
    }
    if (json)
        PrintJson(path, side, eq);
    else
        PrintText(path, side, eq);
    return kExitOk;
}

std::vector<CommandOption> Options()
{
    std::vector<CommandOption> options = {EqualiserOption()};
    const auto finder = FinderOptionRows();
    options.insert(options.end(), finder.begin(), finder.end());
    options.push_back({"json", nullptr,
                       "Print the side and its tracks as JSON: file, sampleRate, frames, seconds, equaliser, "
                       "finder, and tracks, each with number, start and duration (seconds), startSample and "
                       "lengthSamples; with the side analysis also end, endSample and the confidence (0..1) of "
                       "the boundary before it, the boundaries, and where the side ends (sideEnd, "
                       "sideEndSample, sideEndFound)."});
    return options;
}

const Registration registration{{"tracks", "find the tracks of a recorded side",
                                 "tracks [--eq none|riaa|riaa-bass|chrome] [--finder side|gaps] [--tracks N] "
                                 "[--lengths M:SS,...] [--json] [--verbose] FILE",
                                 &RunTracks, Options()}};

} // namespace

} // namespace Tolm::Convert
