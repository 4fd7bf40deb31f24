// tolm-convert tracks: where the tracks of a recorded side begin and end.

#include "Command.h"
#include "CommandLine.h"
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
    const double seconds = double(side.frames) / side.sampleRate;
    std::printf("%s: %u Hz, %s, equaliser %s, %zu track%s\n", path.c_str(), side.sampleRate,
                FormatMinutesSeconds(seconds).c_str(), EqualiserName(eq), side.tracks.size(),
                side.tracks.size() == 1 ? "" : "s");
    if (side.tracks.empty())
        return;
    std::printf("%5s  %9s  %9s  %12s  %12s\n", "Track", "Start", "Length", "Start sample", "Samples");
    int number = 0;
    for (const auto& t : side.tracks)
        std::printf("%5d  %9s  %9s  %12d  %12d\n", ++number, FormatMinutesSeconds(t.start).c_str(),
                    FormatMinutesSeconds(t.duration).c_str(), t.startSample, t.lengthSamples);
}

void PrintJson(const std::string& path, const SideAnalysisResult& side, AudioFilter::Type eq)
{
    QJsonArray tracks;
    int number = 0;
    for (const auto& t : side.tracks)
        tracks.append(QJsonObject{{"number", ++number},
                                  {"start", double(t.start)},
                                  {"duration", double(t.duration)},
                                  {"startSample", t.startSample},
                                  {"lengthSamples", t.lengthSamples}});
    // Bytes of a file name that are not UTF-8 become U+FFFD: the JSON stays valid.
    const QJsonObject root{{"file", QString::fromUtf8(path.data(), qsizetype(path.size()))},
                           {"sampleRate", qint64(side.sampleRate)},
                           {"frames", qint64(side.frames)},
                           {"seconds", double(side.frames) / side.sampleRate},
                           {"equaliser", EqualiserName(eq)},
                           {"tracks", tracks}};
    const QByteArray text = QJsonDocument(root).toJson(QJsonDocument::Indented);
    std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout);
}

int RunTracks(const std::vector<std::string>& args)
{
    ArgumentParser parser("tracks", args);
    const bool json = parser.Flag("json");
    const bool verbose = parser.Flag("verbose");
    const auto eqName = parser.Value("eq");
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
    SideAnalysisOptions options;
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

const std::vector<CommandOption> kOptions = {
    EqualiserOption(),
    {"json", nullptr,
     "Print the side and its tracks as JSON: file, sampleRate, frames, seconds, equaliser, and tracks, "
     "each with number, start and duration (seconds), startSample and lengthSamples."},
};

const Registration registration{{"tracks", "find the tracks of a recorded side",
                                 "tracks [--eq none|riaa|riaa-bass|chrome] [--json] [--verbose] FILE",
                                 &RunTracks, kOptions}};

} // namespace

} // namespace Tolm::Convert
