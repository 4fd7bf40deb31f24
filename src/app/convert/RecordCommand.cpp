// tolm-convert record: one side from the USB turntable or cassette deck into track files.

#include "Command.h"
#include "CommandLine.h"
#include "ConsoleApplication.h"
#include "ImportOptions.h"
#include "OutFolder.h"
#include "SideRecorder.h"
#include "InputDevices.h"
#include "library/ConsoleImport.h"
#include "tracks/SideScan.h"
#include "tracks/TakeCutter.h"
#include "tracks/TrackFinder.h"

#include <QFileInfo>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace Tolm::Convert {

namespace {

// Cuts the takes again where the analysis of the whole side puts the tracks, the new files
// beside the takes until the session puts them in their place. False (after a message) when
// that failed; the takes are then as they were recorded.
bool CutAtFoundTracks(Capture::Audio& audio, Capture::SideSession& session, RecordedSide& side, int trackCount)
{
    std::vector<std::string> paths;
    for (const RecordedTrack& track : side.tracks)
        paths.push_back(track.path);
    std::vector<std::string> files;
    try {
        const Tracks::TakeFiles takes(paths);
        const Tracks::SideScan scan = Tracks::SideScan::Run(takes, audio.equaliser());
        const Tracks::TrackMarkers markers = Tracks::TrackFinder::Find(scan, takes, trackCount);
        if (trackCount > 0 && int(markers.trackCount()) != trackCount)
            std::fprintf(stderr, "Found %zu tracks, not %d.\n", markers.trackCount(), trackCount);
        if (!Tracks::TakeCutter::changes(takes, markers.positions()))
            return true;
        ProgressBar progress("Cutting");
        files = Tracks::TakeCutter::write(
            takes, markers.positions(),
            [&](unsigned track) { return (session.takePath(track) + QStringLiteral(".cut")).toStdString(); },
            [&](double fraction) { progress.Update(fraction); });
        progress.Finish();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "The tracks could not be cut again (%s); they stay as recorded.\n", e.what());
        return false;
    }
    QStringList newFiles;
    for (const std::string& file : files)
        newFiles << QString::fromStdString(file);
    if (!session.replaceTakes(newFiles)) {
        std::fprintf(stderr, "The tracks could not be cut again (%s).\n", qPrintable(session.errorText()));
        return false;
    }
    side.tracks.clear();
    for (const auto& take : session.takes())
        side.tracks.push_back({take.path.toStdString(), take.seconds});
    return true;
}

// The engine prints its diagnostics on standard output; our results must stay alone
// there, so that a script can read them. The engine's lines go to standard error.
class ResultOutput {
  public:
    ResultOutput()
    {
        std::fflush(stdout);
        const int fd = dup(STDOUT_FILENO);
        if (fd >= 0) {
            mOut = fdopen(fd, "w");
            dup2(STDERR_FILENO, STDOUT_FILENO);
            std::setvbuf(stdout, nullptr, _IOLBF, 0); // keep the engine's lines in order with ours
        }
    }
    ~ResultOutput()
    {
        if (mOut)
            std::fclose(mOut);
    }
    std::FILE* File() const { return mOut ? mOut : stdout; }

  private:
    std::FILE* mOut = nullptr;
};

int RunRecord(const std::vector<std::string>& args)
{
    ArgumentParser parser("record", args);
    const auto import = TakeImportOptions(parser);
    if (!import)
        return kExitBadInput;
    const auto device = parser.Value("device");
    const bool demo = parser.Flag("demo");
    const bool turntable = parser.Flag("turntable");
    const auto tape = parser.Value("tape");
    float gainDb = 0.0f;
    if (!TakeGainOption(parser, gainDb))
        return kExitBadInput;
    const bool noAutoSplit = parser.Flag("no-auto-split");
    const auto outDir = parser.Value("out");
    const auto finder = parser.Value("finder");
    const auto trackCountText = parser.Value("tracks");
    const auto positionals = parser.Positionals();
    if (!positionals)
        return kExitBadInput;
    if (!positionals->empty()) {
        parser.Error("unexpected argument \"" + positionals->front() + "\"");
        return kExitBadInput;
    }
    if (demo == device.has_value()) {
        parser.Error("say where to record from: --device NAME (or --device auto) or --demo");
        return kExitBadInput;
    }
    SourceKind kind = SourceKind::Unspecified;
    if (turntable && tape) {
        parser.Error("--turntable and --tape exclude each other");
        return kExitBadInput;
    }
    if (turntable)
        kind = SourceKind::Turntable;
    if (tape) {
        if (*tape == "normal")
            kind = SourceKind::NormalTape;
        else if (*tape == "chrome")
            kind = SourceKind::ChromeTape;
        else {
            parser.Error("--tape takes normal or chrome, not \"" + *tape + "\"");
            return kExitBadInput;
        }
    }
    if (finder && *finder != "gaps" && *finder != "side") {
        parser.Error("--finder takes gaps or side, not \"" + *finder + "\"");
        return kExitBadInput;
    }
    int trackCount = 0;
    if (trackCountText) {
        char* end = nullptr;
        const long count = std::strtol(trackCountText->c_str(), &end, 10);
        if (trackCountText->empty() || *end || count < 1 || count > 99) {
            parser.Error("--tracks takes a number of tracks from 1 to 99, not \"" + *trackCountText + "\"");
            return kExitBadInput;
        }
        trackCount = int(count);
    }
    if (trackCount > 0 && finder == "gaps") {
        parser.Error("--tracks needs --finder side: the gaps found while recording are what they are");
        return kExitBadInput;
    }
    // A count from the sleeve only means something to the analysis of the whole side.
    const bool analyseSide = finder == "side" || trackCount > 0;
    if (outDir && import->wanted) {
        parser.Error("--out and --import exclude each other: imported tracks go to the music library");
        return kExitBadInput;
    }
    fs::path out;
    if (outDir) {
        // Checked before anything is recorded: a side cannot be played twice.
        out = fs::path(*outDir);
        if (const std::string error = OutFolder::Prepare(out); !error.empty()) {
            parser.Error(error);
            return kExitBadInput;
        }
    }

    ConsoleApplication app;
    ResultOutput results;

    // The demo turntable alone on the bus: --demo means that one, whatever else is plugged
    // in. It plays into the user's own output where a sound server answers.
    std::unique_ptr<Capture::DemoTurntable> turntableDemo;
    if (demo)
        turntableDemo = InstallDemoTurntable();

    if (import->wanted) {
        // Before recording: a side cannot be played twice.
        if (const std::string error = import->apply(); !error.empty()) {
            parser.Error(error);
            return kExitBadInput;
        }
    }

    StandardErrorAlerts alerts;
    Capture::Audio audio(&alerts);
    SideRecorder recorder(audio);
    if (!recorder.Detect(device.value_or("auto")))
        return kExitFailed;
    if (!recorder.ChooseEqualiser(kind))
        return kExitBadInput;
    audio.setGainDb(gainDb);

    auto side = recorder.Record(!noAutoSplit, [&] {
        if (turntableDemo)
            turntableDemo->Side().DropNeedle();
    });
    if (!side)
        return kExitFailed;
    if (side->tracks.empty()) {
        std::fprintf(stderr, "No track was recorded.\n");
        recorder.Session().discard();
        return kExitFailed;
    }
    // A write failure has been told; what was kept goes on as usual, and the status says it.
    const int recorded = side->failed ? kExitFailed : kExitOk;
    if (analyseSide)
        CutAtFoundTracks(audio, recorder.Session(), *side, trackCount);

    if (import->wanted) {
        ProgressBar progress("Converting");
        const auto outcome = Library::ImportRecordedSide(
            audio, *import, side->albumEnded,
            {[&](double fraction) { progress.Update(fraction); }, [] { return StopRequested(); }});
        progress.Finish();
        for (const QString& file : outcome.filed)
            std::fprintf(results.File(), "%s\n", file.toLocal8Bit().constData());
        recorder.Session().finish();
        if (outcome.kept > 0 || outcome.stopped) {
            std::fprintf(stderr, "The tracks not imported are kept; \"tolm-convert recover --list\" shows them.\n");
            return kExitFailed;
        }
        return recorded;
    }

    int status = recorded;
    const auto* folder = recorder.Session().folder();
    const QString session = folder ? folder->name() : QString();
    const QString sessionPath = folder ? folder->path() : QString();
    for (size_t i = 0; i < side->tracks.size(); ++i) {
        std::string path = side->tracks[i].path;
        if (outDir) {
            const fs::path target = out / OutFolder::TrackName(i);
            std::string error;
            if (OutFolder::Move(path, target, error))
                path = target.string();
            else {
                std::fprintf(stderr, "Could not move %s to %s (%s); it stays where it is.\n", path.c_str(),
                             target.c_str(), error.c_str());
                status = kExitFailed;
            }
        }
        std::fprintf(results.File(), "%s\t%s\n", path.c_str(),
                     FormatMinutesSeconds(side->tracks[i].seconds).c_str());
    }
    std::fprintf(stderr, "%zu track%s%s.\n", side->tracks.size(), side->tracks.size() == 1 ? "" : "s",
                 side->albumEnded ? "; the side ended by itself" : "");
    recorder.Session().finish();
    if (!sessionPath.isEmpty() && QFileInfo::exists(sessionPath))
        std::fprintf(stderr,
                     "The recording is kept as \"%s\" until \"tolm-convert recover %s --out DIR\" or "
                     "\"--import\" takes it.\n",
                     qPrintable(session), qPrintable(session));
    return status;
}

std::vector<CommandOption> Options()
{
    std::vector<CommandOption> options = {
        DeviceOption("The device to record from. It is found as the wizard finds it (the one USB turntable, "
                     "cassette deck or audio interface connected) and used when its name or description "
                     "contains NAME, in upper or lower case; auto takes it whatever its name."),
        DemoOption(),
        {"turntable", nullptr,
         "The device is a turntable: the record equaliser is applied. Needed for devices that may be "
         "either."},
        {"tape", "TYPE",
         "The device is a cassette deck playing a normal or a chrome tape (chrome: a treble cut is "
         "applied). Needed for devices that may be either.",
         nullptr, "normal chrome"},
        GainOption(),
        {"no-auto-split", nullptr,
         "Do not split at the gaps or end at the end of the side: Enter starts a new track, Ctrl-C "
         "stops."},
        {"finder", "F",
         "How the tracks are cut once the side is recorded: gaps keeps the splits made while recording; side "
         "cuts again where the analysis of the whole side finds the tracks.",
         "gaps", "gaps side"},
        {"tracks", "N", "The number of tracks on the side (from the sleeve): the side is cut into exactly N tracks "
         "(implies --finder side).", "none"},
        {"out", "DIR", "Move the track files into DIR as 01.wav, 02.wav, ... (DIR made if it is missing).",
         "the tracks stay where they were recorded, and their paths are printed", "<dir>"},
    };
    const auto import = ImportOptionRows();
    options.insert(options.end(), import.begin(), import.end());
    return options;
}

const Registration reg{{"record", "record a side from the USB turntable or cassette deck into tracks",
                        "record --device NAME|auto|--demo [--turntable|--tape normal|chrome] [--gain DB] "
                        "[--no-auto-split] [--finder gaps|side] [--tracks N] [--out DIR | --import --artist A --album B [--title T]... "
                        "[--album-artist A] [--year YYYY] [--side A|B] "
                        "[--library DIR] [--format F] [--quality 0-10]]",
                        &RunRecord, Options()}};

} // namespace

} // namespace Tolm::Convert
