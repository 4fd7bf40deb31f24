#include "ImportOptions.h"

#include "library/ImportFormat.h"
#include "library/LibrarySettings.h"
#include "library/TrackTags.h"

#include <QDir>
#include <string_view>

namespace Tolm::Convert {

namespace {

QString Text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

std::string CurrentFolder()
{
    return Library::LibrarySettings::folder().toStdString();
}

std::string CurrentFormat()
{
    return Library::ImportFormatName(Library::LibrarySettings::format()).toStdString();
}

} // namespace

std::vector<CommandOption> ImportOptionRows(bool importFlag)
{
    std::vector<CommandOption> rows = {
        {"artist", "A", "The artist, written into every track's tags and the library's folder name.",
         "\"Unknown Artist\""},
        {"album", "B", "The album, written into every track's tags and the library's folder name.",
         "\"Unknown Album\""},
        {"title", "T",
         "The title of the next track: give --title once per track, in track order. Tracks without a "
         "title are called \"Unknown Track\"; titles beyond the last track are not used."},
        {"import", nullptr,
         "Add the tracks to the music library as Artist/Album/NN Title, tagged and converted to the "
         "library's format."},
        {"library", "DIR",
         "The music library's folder for this run (made if it is missing); the folder chosen in the "
         "wizard stays as it is.",
         "the folder chosen in the wizard, else your music folder (XDG_MUSIC_DIR)", "<dir>", &CurrentFolder},
        {"format", "F", "The format the library's files are converted to: flac, mp3, ogg, opus or wav.",
         "the format chosen in the wizard, else flac", "flac mp3 ogg opus wav", &CurrentFormat},
        {"quality", "Q", "For mp3, ogg and opus: 0 (smallest files) to 10 (best sound).",
         "the quality chosen in the wizard, else 8 for mp3 and 6 for ogg and opus", "0 1 2 3 4 5 6 7 8 9 10"},
        {"album-artist", "A", "The album artist tag, for compilations and guest artists.", "the artist"},
        {"year", "YYYY", "The year the album came out, written as the date tag.", "none"},
        {"side", "S", "Which side of the record this is (A, B, ...): written as the disc number; its "
         "tracks count from 1 and their files are named S-NN Title.", "none: tracks are numbered on "
         "across sides"},
    };
    if (!importFlag)
        std::erase_if(rows, [](const CommandOption& row) { return std::string_view(row.name) == "import"; });
    return rows;
}

std::optional<Library::ConsoleImport> TakeImportOptions(ArgumentParser& parser)
{
    Library::ConsoleImport import;
    import.wanted = parser.Declares("import") && parser.Flag("import");
    if (const auto artist = parser.Value("artist"))
        import.names.artist = Text(*artist);
    if (const auto album = parser.Value("album"))
        import.names.album = Text(*album);
    for (const auto& title : parser.Values("title"))
        import.names.titles << Text(title);
    if (const auto albumArtist = parser.Value("album-artist"))
        import.names.albumTags.albumArtist = Text(*albumArtist);
    if (const auto year = parser.Value("year")) {
        const auto text = Library::YearText(Text(*year));
        if (!text) {
            parser.Error("--year needs a year of four digits, not \"" + *year + "\"");
            return std::nullopt;
        }
        import.names.albumTags.date = *text;
    }
    if (const auto side = parser.Value("side")) {
        const auto number = Library::SideNumber(Text(*side));
        if (!number) {
            parser.Error("--side needs a side letter (A, B, ...), not \"" + *side + "\"");
            return std::nullopt;
        }
        import.names.albumTags.disc = *number;
    }
    if (const auto quality = parser.Value("quality")) {
        bool ok = false;
        const int value = Text(*quality).trimmed().toInt(&ok);
        if (!ok || value < 0 || value > 10) {
            parser.Error("--quality needs a number from 0 (smallest files) to 10 (best sound), not \"" +
                         *quality + "\"");
            return std::nullopt;
        }
        import.quality = value;
    }
    if (const auto library = parser.Value("library")) {
        if (library->empty()) {
            parser.Error("--library needs a folder");
            return std::nullopt;
        }
        import.library = QDir::cleanPath(QDir::current().absoluteFilePath(Text(*library)));
    }
    if (const auto format = parser.Value("format")) {
        import.format = Library::ImportFormatFromName(Text(*format));
        if (!import.format) {
            parser.Error("unknown format \"" + *format + "\"; choose one of " +
                         Library::ConsoleImport::FormatNames());
            return std::nullopt;
        }
    }
    return import;
}

} // namespace Tolm::Convert
