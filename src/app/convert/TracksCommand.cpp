// tolm-convert tracks: where the tracks of a recorded side begin and end.

#include "Command.h"
#include "CommandLine.h"
#include "FinderOptions.h"
#include "SideAnalysis.h"

#include <cstdio>
#include <string>

namespace Tolm::Convert {

namespace {

using Morvo::Audio::Filters::AudioFilter;

// JSON string contents; bytes that are not UTF-8 become U+FFFD, so odd file names still
// give valid JSON.
std::string JsonString(const std::string& text)
{
    std::string out = "\"";
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t n = text.size();
    for (std::size_t i = 0; i < n;) {
        const unsigned char c = s[i];
        if (c == '"' || c == '\\') {
            out += '\\';
            out += char(c);
            ++i;
        } else if (c < 0x20) {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\u%04x", c);
            out += esc;
            ++i;
        } else if (c < 0x80) {
            out += char(c);
            ++i;
        } else {
            const std::size_t len = c >= 0xF0 && c < 0xF5 ? 4 : c >= 0xE0 ? 3 : c >= 0xC2 && c < 0xE0 ? 2 : 0;
            bool valid = len != 0 && i + len <= n;
            for (std::size_t k = 1; valid && k < len; ++k)
                valid = (s[i + k] & 0xC0) == 0x80;
            if (valid && len == 3)  // no overlong forms, no surrogates
                valid = !(c == 0xE0 && s[i + 1] < 0xA0) && !(c == 0xED && s[i + 1] >= 0xA0);
            if (valid && len == 4)
                valid = !(c == 0xF0 && s[i + 1] < 0x90) && !(c == 0xF4 && s[i + 1] >= 0x90);
            if (valid) {
                out.append(text, i, len);
                i += len;
            } else {
                out += "\xEF\xBF\xBD";
                ++i;
            }
        }
    }
    return out + "\"";
}

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
    std::printf("{\n  \"file\": %s,\n  \"sampleRate\": %u,\n  \"frames\": %lld,\n  \"seconds\": %.9g,\n"
                "  \"equaliser\": \"%s\",\n  \"finder\": \"%s\",\n  \"tracks\": [",
                JsonString(path).c_str(), side.sampleRate, static_cast<long long>(side.frames),
                double(side.frames) / rate, EqualiserName(eq), TrackFinderName(side.finder));
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const auto& t = spans[i];
        if (side.finder == TrackFinder::Gaps) {
            // The detector's own seconds, unrounded.
            const auto& item = side.tracks[i];
            std::printf("%s\n    {\"number\": %zu, \"start\": %.9g, \"duration\": %.9g, \"startSample\": %lld, "
                        "\"lengthSamples\": %lld}",
                        i == 0 ? "" : ",", i + 1, double(item.start), double(item.duration),
                        static_cast<long long>(t.startSample), static_cast<long long>(t.endSample - t.startSample));
            continue;
        }
        std::printf("%s\n    {\"number\": %zu, \"start\": %.9g, \"duration\": %.9g, \"end\": %.9g, "
                    "\"startSample\": %lld, \"lengthSamples\": %lld, \"endSample\": %lld",
                    i == 0 ? "" : ",", i + 1, double(t.startSample) / rate, double(t.endSample - t.startSample) / rate,
                    double(t.endSample) / rate, static_cast<long long>(t.startSample),
                    static_cast<long long>(t.endSample - t.startSample), static_cast<long long>(t.endSample));
        if (i > 0)  // how sure the boundary before this track is
            std::printf(", \"confidence\": %.3f", side.side.boundaryConfidence[i - 1]);
        std::printf("}");
    }
    std::printf("%s]", spans.empty() ? "" : "\n  ");
    if (side.finder == TrackFinder::Side) {
        std::printf(",\n  \"boundaries\": [");
        for (std::size_t i = 1; i < spans.size(); ++i)
            std::printf("%s\n    {\"after\": %zu, \"end\": %.9g, \"start\": %.9g, \"confidence\": %.3f}",
                        i == 1 ? "" : ",", i, double(spans[i - 1].endSample) / rate,
                        double(spans[i].startSample) / rate, side.side.boundaryConfidence[i - 1]);
        std::printf("%s],\n  \"sideEnd\": %.9g,\n  \"sideEndSample\": %lld,\n  \"sideEndFound\": %s",
                    spans.size() > 1 ? "\n  " : "", double(side.side.sideEndSample) / rate,
                    static_cast<long long>(side.side.sideEndSample), side.side.sideEndFound ? "true" : "false");
    }
    std::printf("\n}\n");
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
    // The detector's own lines would tear the bar apart; with --verbose they win.
    ProgressBar bar("Reading", StandardErrorIsTerminal() && !verbose);
    options.equaliser = eq;
    options.verbose = verbose;
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

const Registration registration{{"tracks", "find the tracks of a recorded side",
                                  "tracks FILE [--eq none|riaa|riaa-bass|chrome] [--finder side|gaps] [--tracks N] "
                                  "[--lengths M:SS,...] [--json] [--verbose]",
                                  &RunTracks}};

} // namespace

} // namespace Tolm::Convert
