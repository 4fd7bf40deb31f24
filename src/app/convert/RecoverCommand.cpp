// tolm-convert recover: the takes of a recording whose program was killed, listed, written
// to a folder, or imported into the music library.

#include "Command.h"
#include "CommandLine.h"
#include "ConsoleApplication.h"
#include "ImportOptions.h"
#include "OutFolder.h"
#include "capture/TakeFolder.h"
#include "library/LibraryExport.h"
#include "library/LibrarySettings.h"

#include <QFile>
#include <cstdio>

namespace fs = std::filesystem;

namespace Tolm::Convert {

namespace {

using Capture::TakeFolder;
using Capture::TakeFolderError;

// The counted takes of a session, for the export.
class SessionTracks final : public Library::RecordedTracks {
  public:
    explicit SessionTracks(const TakeFolder& folder) : mFolder(folder) {}
    UInt32 numRecordedTracks() override { return mFolder.trackCount(); }
    QString fileNameForTrack(UInt32 track) override { return mFolder.takePath(track); }
    void resetTrackCounter() override {}

  private:
    const TakeFolder& mFolder;
};

int List()
{
    const auto left = TakeFolder::Abandoned();
    if (left.isEmpty()) {
        std::fprintf(stderr, "No unfinished recording.\n");
        return kExitOk;
    }
    for (const auto& recording : left)
        std::printf("%s\t%u track%s\t%s\t%s\n", qPrintable(recording.name), recording.tracks,
                    recording.tracks == 1 ? "" : "s", FormatMinutesSeconds(recording.seconds).c_str(),
                    qPrintable(recording.started.toString(QStringLiteral("yyyy-MM-dd HH:mm"))));
    return kExitOk;
}

int WriteOut(TakeFolder& folder, const fs::path& out)
{
    int status = kExitOk;
    for (UInt32 track = 1; track <= folder.trackCount(); ++track) {
        const fs::path from = QFile::encodeName(folder.takePath(track)).toStdString();
        const fs::path to = out / OutFolder::TrackName(track - 1);
        std::string error;
        if (!fs::exists(from)) {
            std::fprintf(stderr, "Track %u is missing from the recording.\n", track);
            status = kExitFailed;
        } else if (OutFolder::Move(from, to, error)) {
            std::printf("%s\n", to.c_str());
        } else {
            std::fprintf(stderr, "Could not move %s to %s (%s); it stays where it is.\n", from.c_str(), to.c_str(),
                         error.c_str());
            status = kExitFailed;
        }
    }
    return status;
}

int RunRecover(const std::vector<std::string>& args)
{
    std::vector<std::string> rest = args;
    const auto import = TakeImportOptions("recover", rest);
    if (!import)
        return kExitBadInput;
    ArgumentParser parser("recover", rest);
    const bool list = parser.Flag("list");
    const auto outDir = parser.Value("out");
    const auto positionals = parser.Positionals();
    if (!positionals)
        return kExitBadInput;

    ConsoleApplication app;
    try {
        if (list) {
            if (!positionals->empty() || outDir || import->wanted) {
                parser.Error("--list takes nothing else");
                return kExitBadInput;
            }
            return List();
        }
        if (positionals->size() != 1) {
            parser.Error("name one recording (\"tolm-convert recover --list\" shows them)");
            return kExitBadInput;
        }
        if (bool(outDir) == import->wanted) {
            parser.Error("say where the tracks go: --out DIR or --import");
            return kExitBadInput;
        }
        const auto folder = TakeFolder::Open(QString::fromStdString(positionals->front()));
        if (folder->trackCount() == 0) {
            parser.Error("the recording \"" + positionals->front() + "\" holds no track");
            return kExitFailed;
        }
        fs::path out;
        if (outDir) {
            out = fs::path(*outDir);
            if (const std::string error = OutFolder::Prepare(out); !error.empty()) {
                parser.Error(error);
                return kExitBadInput;
            }
        } else if (const std::string error = import->apply(); !error.empty()) {
            parser.Error(error);
            return kExitBadInput;
        }

        QString repairError;
        if (!folder->repairTakes(repairError)) {
            std::fprintf(stderr, "%s\n", qPrintable(repairError));
            return kExitFailed;
        }

        int status = kExitOk;
        if (outDir) {
            status = WriteOut(*folder, out);
        } else {
            SessionTracks tracks(*folder);
            ProgressBar converting("Converting");
            const auto outcome = import->exportTracks(
                tracks, false, {[&](double fraction) { converting.Update(fraction); }, [] { return StopRequested(); }});
            converting.Finish();
            for (const QString& path : outcome.filed)
                std::printf("%s\n", qPrintable(path));
            std::fprintf(stderr, "%lld of %u track%s added to %s.\n", static_cast<long long>(outcome.filed.size()),
                         folder->trackCount(), folder->trackCount() == 1 ? "" : "s",
                         qPrintable(Library::LibrarySettings::folder()));
            if (outcome.kept > 0 || outcome.stopped)
                status = kExitFailed;
        }
        // Only once every track has left it; otherwise it can be recovered again.
        if (!folder->removeIfDone())
            std::fprintf(stderr, "What was not written stays in the recording \"%s\".\n", qPrintable(folder->name()));
        return status;
    } catch (const TakeFolderError& e) {
        std::fprintf(stderr, "tolm-convert recover: %s\n", e.what());
        return kExitFailed;
    }
}

const Registration reg{{"recover", "list, write out or import recordings that a crash left unfinished",
                        "recover --list | recover SESSION --out DIR | recover SESSION --import --artist A "
                        "--album B [--title T]... [--library DIR] [--format F]",
                        &RunRecover}};

} // namespace

} // namespace Tolm::Convert
