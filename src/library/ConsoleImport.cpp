#include "library/ConsoleImport.h"

#include "capture/Audio.h"
#include "library/AudioRecordedTracks.h"
#include "library/LibrarySettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <unistd.h>

namespace Tolm::Library {

namespace {

// Removes "--name VALUE" and "--name=VALUE" from `args`, in order; false when a value is missing.
bool TakeValues(std::vector<std::string>& args, const std::string& name, std::vector<std::string>& values)
{
    const std::string option = "--" + name;
    for (size_t i = 0; i < args.size();) {
        if (args[i] == "--")
            break;
        if (args[i] == option) {
            if (i + 1 >= args.size())
                return false;
            values.push_back(args[i + 1]);
            args.erase(args.begin() + long(i), args.begin() + long(i) + 2);
        } else if (args[i].rfind(option + "=", 0) == 0) {
            values.push_back(args[i].substr(option.size() + 1));
            args.erase(args.begin() + long(i));
        } else {
            ++i;
        }
    }
    return true;
}

bool TakeFlag(std::vector<std::string>& args, const std::string& name)
{
    bool found = false;
    for (size_t i = 0; i < args.size() && args[i] != "--";) {
        if (args[i] == "--" + name) {
            args.erase(args.begin() + long(i));
            found = true;
        } else {
            ++i;
        }
    }
    return found;
}

QString Text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

} // namespace

std::optional<ConsoleImport> ConsoleImport::Take(std::vector<std::string>& args, std::string& error)
{
    ConsoleImport import;
    std::vector<std::string> artist, album, titles, library, format, albumArtist, year, side, quality;
    for (auto [name, values] :
         {std::pair{"artist", &artist}, std::pair{"album", &album}, std::pair{"title", &titles},
          std::pair{"library", &library}, std::pair{"format", &format}, std::pair{"album-artist", &albumArtist},
          std::pair{"year", &year}, std::pair{"side", &side}, std::pair{"quality", &quality}}) {
        if (!TakeValues(args, name, *values)) {
            error = std::string("--") + name + " needs a value";
            return std::nullopt;
        }
    }
    import.wanted = TakeFlag(args, "import");
    if (!artist.empty())
        import.names.artist = Text(artist.back());
    if (!album.empty())
        import.names.album = Text(album.back());
    for (const auto& title : titles)
        import.names.titles << Text(title);
    if (!albumArtist.empty())
        import.names.albumTags.albumArtist = Text(albumArtist.back());
    if (!year.empty()) {
        const auto text = YearText(Text(year.back()));
        if (!text) {
            error = "--year needs a year of four digits, not \"" + year.back() + "\"";
            return std::nullopt;
        }
        import.names.albumTags.date = *text;
    }
    if (!quality.empty()) {
        bool ok = false;
        const int value = Text(quality.back()).trimmed().toInt(&ok);
        if (!ok || value < 0 || value > 10) {
            error = "--quality needs a number from 0 (smallest files) to 10 (best sound), not \"" +
                    quality.back() + "\"";
            return std::nullopt;
        }
        import.quality = value;
    }
    if (!side.empty()) {
        const auto number = SideNumber(Text(side.back()));
        if (!number) {
            error = "--side needs a side letter (A, B, ...), not \"" + side.back() + "\"";
            return std::nullopt;
        }
        import.names.albumTags.disc = *number;
    }
    if (!library.empty()) {
        if (library.back().empty()) {
            error = "--library needs a folder";
            return std::nullopt;
        }
        import.library = QDir::cleanPath(QDir::current().absoluteFilePath(Text(library.back())));
    }
    if (!format.empty()) {
        import.format = ImportFormatFromName(Text(format.back()));
        if (!import.format) {
            error = "unknown format \"" + format.back() + "\"; choose one of " + FormatNames();
            return std::nullopt;
        }
    }
    return import;
}

std::string ConsoleImport::FormatNames()
{
    std::string names;
    for (const ImportFormat format : AllImportFormats()) {
        if (!ImportFormatAvailable(format))
            continue;
        names += (names.empty() ? "" : ", ") + ImportFormatName(format).toStdString();
    }
    return names;
}

std::string ConsoleImport::apply() const
{
    if (format) {
        if (!ImportFormatAvailable(*format))
            return "this system cannot encode " + ImportFormatName(*format).toUpper().toStdString() +
                   " files; choose one of " + FormatNames();
        LibrarySettings::overrideFormat(*format);
    }
    if (quality)
        LibrarySettings::overrideQuality(*quality);
    if (library) {
        // Named on the command line just now: making it is what the user asked for.
        if (!QDir().mkpath(*library) || ::access(QFile::encodeName(*library).constData(), W_OK | X_OK) != 0)
            return "cannot write into the library folder \"" + library->toStdString() + "\"";
        LibrarySettings::overrideFolder(*library);
    }
    return {};
}

ConsoleExport::Outcome ConsoleImport::exportTracks(RecordedTracks& tracks, bool normalize,
                                                   const ConsoleExport::Hooks& hooks) const
{
    ConsoleExport exporter(names, hooks);
    return exporter.run(tracks, normalize);
}

ConsoleExport::Outcome ImportRecordedSide(Capture::Audio& audio, const ConsoleImport& import, bool albumEnded,
                                          const ConsoleExport::Hooks& hooks)
{
    AudioRecordedTracks tracks(audio);
    const UInt32 count = tracks.numRecordedTracks();
    const auto outcome = import.exportTracks(tracks, false, hooks);
    // The run-out groove after the last gap was recorded as one more, uncounted track.
    if (albumEnded && !outcome.stopped)
        QFile::remove(tracks.fileNameForTrack(count + 1));
    return outcome;
}

} // namespace Tolm::Library
