// tolm-convert tracks: where the tracks of a recorded side begin and end.

#include "Command.h"
#include "CommandLine.h"
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
    std::printf("{\n  \"file\": %s,\n  \"sampleRate\": %u,\n  \"frames\": %lld,\n  \"seconds\": %.9g,\n"
                "  \"equaliser\": \"%s\",\n  \"tracks\": [",
                JsonString(path).c_str(), side.sampleRate, static_cast<long long>(side.frames),
                double(side.frames) / side.sampleRate, EqualiserName(eq));
    int number = 0;
    for (const auto& t : side.tracks) {
        std::printf("%s\n    {\"number\": %d, \"start\": %.9g, \"duration\": %.9g, \"startSample\": %d, "
                    "\"lengthSamples\": %d}",
                    number == 0 ? "" : ",", number + 1, double(t.start), double(t.duration), t.startSample,
                    t.lengthSamples);
        ++number;
    }
    std::printf("%s]\n}\n", number == 0 ? "" : "\n  ");
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
    // The detector's own lines would tear the bar apart; with --verbose they win.
    ProgressBar bar("Reading", StandardErrorIsTerminal() && !verbose);
    SideAnalysisOptions options;
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
                                  "tracks FILE [--eq none|riaa|riaa-bass|chrome] [--json] [--verbose]",
                                  &RunTracks}};

} // namespace

} // namespace Tolm::Convert
