// tolm-convert split: a side recorded elsewhere, cut at the tracks the side analysis (or the
// gap detector) finds, into track files or straight into the music library.

#include "Command.h"
#include "CommandLine.h"
#include "ConsoleApplication.h"
#include "FinderOptions.h"
#include "ImportOptions.h"
#include "SideAnalysis.h"
#include "library/ConsoleImport.h"
#include "library/LibraryError.h"
#include "library/LibrarySettings.h"
#include "library/SafeFileName.h"
#include "library/StagedTracks.h"
#include "library/TrackTags.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstdio>

namespace Tolm::Convert {

namespace {

using Morvo::Audio::Filters::AudioFilter;

// Moves a staged track to its reserved name, copying where the folders are on different
// file systems.
void MoveInto(const QString& staged, const QString& reserved)
{
    if (std::rename(QFile::encodeName(staged).constData(), QFile::encodeName(reserved).constData()) == 0)
        return;
    if (errno != EXDEV || !QFile::remove(reserved) || !QFile::copy(staged, reserved))
        throw Library::LibraryError(QStringLiteral("Cannot write %1").arg(reserved));
    QFile::remove(staged);
}

// Writes the tracks as "NN Title.wav" into `folder`, tagged with what was given.
int WriteTrackFiles(Library::StagedTracks& tracks, const Library::ConsoleImport& names, const QString& folder)
{
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "tolm-convert split: cannot make the folder %s\n", qPrintable(folder));
        return kExitFailed;
    }
    for (UInt32 i = 1; i <= tracks.numRecordedTracks(); ++i) {
        const QString number = QString::number(i);
        const QString title =
            i <= UInt32(names.names.titles.size()) ? names.names.titles.at(i - 1) : QString();
        const QString stem = QStringLiteral("%1 ").arg(i, 2, 10, QLatin1Char('0')) +
                             Library::SafeNameComponent(title, Library::UnknownTrackName(number));
        try {
            const QString path = Library::ReserveUniqueFile(folder, stem, QStringLiteral("wav"));
            MoveInto(tracks.fileNameForTrack(i), path);
            const Library::TrackTags tags{names.names.artist, names.names.album,
                                          title.isEmpty() ? Library::UnknownTrackName(number) : title, number};
            auto album = names.names.albumTags;
            album.trackTotal = int(tracks.numRecordedTracks());
            Library::WriteTrackTags(path, Library::ImportFormat::Wav, Library::WithAlbumTags(tags, album));
            std::printf("%s\n", qPrintable(path));
        } catch (const Library::LibraryError& error) {
            std::fprintf(stderr, "tolm-convert split: %s\n", qPrintable(error.message()));
            return kExitFailed;
        }
    }
    return kExitOk;
}

int RunSplit(const std::vector<std::string>& args)
{
    ArgumentParser parser("split", args);
    auto import = TakeImportOptions(parser);
    if (!import)
        return kExitBadInput;
    const auto eqName = parser.Value("eq");
    SideAnalysisOptions options;
    if (!TakeFinderOptions(parser, options))
        return kExitBadInput;
    const auto out = parser.Value("out");
    const auto positionals = parser.Positionals();
    if (!positionals)
        return kExitBadInput;
    if (positionals->size() != 1) {
        parser.Error("name one recorded side to split");
        return kExitBadInput;
    }
    AudioFilter::Type eq = AudioFilter::NoFilter;
    if (eqName && !ParseEqualiser(*eqName, eq)) {
        parser.Error("--eq takes none, riaa, riaa-bass or chrome, not \"" + *eqName + "\"");
        return kExitBadInput;
    }
    if (import->wanted && out) {
        parser.Error("--out is for track files; with --import the tracks go into the library");
        return kExitBadInput;
    }
    if (!import->wanted && (import->library || import->format)) {
        parser.Error("--library and --format need --import");
        return kExitBadInput;
    }
    const std::string& side = positionals->front();

    ConsoleApplication app;
    if (import->wanted) {
        if (const std::string problem = import->apply(); !problem.empty()) {
            parser.Error(problem);
            return kExitBadInput;
        }
    }

    SideAnalysisResult analysis;
    {
        ProgressBar finding("Finding tracks");
        options.equaliser = eq;
        options.progress = [&](double fraction) { finding.Update(fraction); };
        options.stopRequested = [] { return StopRequested(); };
        try {
            analysis = SideAnalysis::Run(side, options);
        } catch (const SideAnalysisError& failure) {
            parser.Error(side + ": " + failure.what());
            return kExitBadInput;
        }
    }
    if (analysis.stopped)
        return kExitFailed;
    const auto spans = analysis.spans();
    if (spans.empty()) {
        std::fprintf(stderr, "No track was found in %s.\n", side.c_str());
        return kExitFailed;
    }
    if (import->names.titles.size() > qsizetype(spans.size()))
        std::fprintf(stderr, "%lld titles for %zu tracks: the last ones are not used.\n",
                     static_cast<long long>(import->names.titles.size()), spans.size());

    std::optional<Library::StagedTracks> tracks;
    try {
        tracks.emplace();
        ProgressBar cutting("Cutting       ");
        const auto count = double(spans.size());
        for (size_t i = 0; i < spans.size() && !StopRequested(); ++i) {
            const auto& track = spans[i];
            tracks->stage(QString::fromStdString(side), track.startSample, track.endSample - track.startSample,
                          [&](double fraction) { cutting.Update((double(i) + fraction) / count); });
        }
    } catch (const Library::LibraryError& failure) {
        parser.Error(failure.message().toStdString());
        return kExitFailed;
    }
    if (StopRequested())
        return kExitFailed;

    if (!import->wanted)
        return WriteTrackFiles(*tracks, *import, out ? QString::fromStdString(*out) : QDir::currentPath());

    ProgressBar converting("Converting    ");
    const auto outcome = import->exportTracks(
        *tracks, false,
        {[&](double fraction) { converting.Update(fraction); }, [] { return StopRequested(); }});
    converting.Finish();
    for (const QString& path : outcome.filed)
        std::printf("%s\n", qPrintable(path));
    std::fprintf(stderr, "%lld of %zu track%s added to %s.\n", static_cast<long long>(outcome.filed.size()),
                 spans.size(), spans.size() == 1 ? "" : "s",
                 qPrintable(Library::LibrarySettings::folder()));
    return outcome.kept > 0 || outcome.stopped ? kExitFailed : kExitOk;
}

std::vector<CommandOption> Options()
{
    std::vector<CommandOption> options = {
        EqualiserOption(),
        {"out", "DIR",
         "Write the tracks as \"NN Title.wav\" files, tagged, into DIR (made if it is missing) instead of "
         "importing them.",
         "the current folder", "<dir>"},
    };
    const auto finder = FinderOptionRows();
    options.insert(options.end(), finder.begin(), finder.end());
    const auto import = ImportOptionRows();
    options.insert(options.end(), import.begin(), import.end());
    return options;
}

const Registration reg{
    {"split", "cut a side recorded elsewhere into its tracks, and import them if asked",
     "split FILE [--artist A] [--album B] [--title T]... [--album-artist A] [--year YYYY] [--side A|B] "
     "[--eq none|riaa|riaa-bass|chrome] [--finder side|gaps] [--tracks N] [--lengths M:SS,...] "
     "[--out DIR | --import [--library DIR] [--format flac|mp3|ogg|opus|wav] [--quality 0-10]]",
     &RunSplit, Options()}};

} // namespace

} // namespace Tolm::Convert
