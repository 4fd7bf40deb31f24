#include "library/ConsoleImport.h"

#include "capture/Audio.h"
#include "library/AudioRecordedTracks.h"
#include "library/LibrarySettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <unistd.h>

namespace Tolm::Library {

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
