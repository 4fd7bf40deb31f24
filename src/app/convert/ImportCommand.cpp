// tolm-convert import: sound files recorded elsewhere into the music library, named,
// numbered, tagged and converted like a recorded side.

#include "Command.h"
#include "CommandLine.h"
#include "ConsoleApplication.h"
#include "ImportOptions.h"
#include "capture/InputChain.h"
#include "library/ConsoleImport.h"
#include "library/LibraryError.h"
#include "library/LibrarySettings.h"
#include "library/StagedTracks.h"

#include <cstdio>

namespace Tolm::Convert {

namespace {

int RunImport(const std::vector<std::string>& args)
{
    ArgumentParser parser("import", args);
    auto import = TakeImportOptions(parser);
    if (!import)
        return kExitBadInput;
    const bool normalize = parser.Flag("normalize");
    const auto files = parser.Positionals();
    if (!files)
        return kExitBadInput;
    if (files->empty()) {
        parser.Error("name the sound files to import");
        return kExitBadInput;
    }
    if (import->names.titles.size() > qsizetype(files->size())) {
        parser.Error("more titles than files");
        return kExitBadInput;
    }

    ConsoleApplication app;
    if (const std::string problem = import->apply(); !problem.empty()) {
        parser.Error(problem);
        return kExitBadInput;
    }

    // The files are read where they are and never touched; only normalising needs a copy
    // of each to scale.
    std::optional<Library::StagedTracks> tracks;
    try {
        tracks.emplace();
        std::optional<ProgressBar> reading;
        if (normalize)
            reading.emplace("Reading   ");
        for (size_t i = 0; i < files->size() && !StopRequested(); ++i) {
            const QString file = QString::fromStdString((*files)[i]);
            if (!normalize) {
                tracks->refer(file);
                continue;
            }
            tracks->stage(file, 0, -1, [&](double fraction) {
                reading->Update((double(i) + fraction) / double(files->size()));
            });
        }
    } catch (const Library::LibraryError& failure) {
        parser.Error(failure.message().toStdString());
        return kExitBadInput;
    }
    if (StopRequested())
        return kExitFailed;
    if (normalize) {
        // The recording's peak is what the meters saw; for files it is what they hold.
        Capture::ResetVUMax();
        Capture::ssVUMax.store(tracks->peak());
    }

    ProgressBar converting("Converting");
    const auto outcome = import->exportTracks(
        *tracks, normalize,
        {[&](double fraction) { converting.Update(fraction); }, [] { return StopRequested(); }});
    converting.Finish();
    for (const QString& path : outcome.filed)
        std::printf("%s\n", qPrintable(path));
    std::fprintf(stderr, "%lld of %zu track%s added to %s.\n", static_cast<long long>(outcome.filed.size()),
                 files->size(), files->size() == 1 ? "" : "s",
                 qPrintable(Library::LibrarySettings::folder()));
    return outcome.kept > 0 || outcome.stopped ? kExitFailed : kExitOk;
}

std::vector<CommandOption> Options()
{
    std::vector<CommandOption> options = ImportOptionRows(false);
    options.push_back({"normalize", nullptr,
                       "Bring all tracks up (or down) by one gain, so that the loudest peak of all "
                       "the files reaches 97% of full scale."});
    return options;
}

const Registration reg{{"import", "add sound files to the music library, named, numbered and tagged",
                        "import --artist A --album B [--title T]... [--album-artist A] [--year YYYY] [--side A|B] [--format flac|mp3|ogg|opus|wav] [--quality 0-10] "
                        "[--library DIR] [--normalize] FILE...",
                        &RunImport, Options()}};

} // namespace

} // namespace Tolm::Convert
