#include "library/ConsoleExport.h"

#include "capture/Localization.h"
#include "library/LibrarySettings.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace Tolm::Library {

ConsoleExport::ConsoleExport(Names names, Hooks hooks) : mNames(std::move(names)), mHooks(std::move(hooks)) {}

ConsoleExport::Outcome ConsoleExport::run(RecordedTracks& tracks, bool normalize)
{
    LibraryExport exporter(tracks, *this, *this, *this);
    exporter.processAudioFiles(normalize);
    while (!exporter.pollingTimerFired()) {
        if (mHooks.stopRequested && mHooks.stopRequested())
            exporter.requestStop();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    exporter.waitUntilDone();
    std::lock_guard lock(mMutex);
    return {mFiled, exporter.keptTracks(), exporter.stopped()};
}

QString ConsoleExport::artist(UInt32)
{
    return mNames.artist;
}

QString ConsoleExport::album(UInt32)
{
    return mNames.album;
}

QString ConsoleExport::title(UInt32 track, UInt32)
{
    return track >= 1 && track <= UInt32(mNames.titles.size()) ? mNames.titles.at(qsizetype(track) - 1)
                                                               : QString();
}

AlbumTags ConsoleExport::albumTags(UInt32)
{
    return mNames.albumTags;
}

void ConsoleExport::exportStarted(UInt32 trackCount)
{
    mTrackCount = trackCount;
}

void ConsoleExport::setProgress(UInt32 tracksDone)
{
    if (mHooks.progress && mTrackCount > 0)
        mHooks.progress(double(tracksDone) / mTrackCount);
}

void ConsoleExport::conversionProgress(UInt32 track, double fraction)
{
    if (mHooks.progress && mTrackCount > 0)
        mHooks.progress((double(track) - 1.0 + fraction) / mTrackCount);
}

void ConsoleExport::trackFiled(UInt32, const QString& path)
{
    std::lock_guard lock(mMutex);
    mFiled << path;
}

void ConsoleExport::trackKept(UInt32 track, const QString&, const QString& reason)
{
    std::fprintf(stderr, "\nTrack %u was not added to the library: %s\n", unsigned(track),
                 qPrintable(reason));
}

void ConsoleExport::samplesReplaced(UInt32 track, long long count)
{
    std::fprintf(stderr,
                 "\nTrack %u held %lld damaged sample%s (not a number or infinite); %s added as silence.\n",
                 unsigned(track), count, count == 1 ? "" : "s", count == 1 ? "it was" : "they were");
}

void ConsoleExport::libraryNotAnswering(OSStatus)
{
    // The export asks again every few seconds; once is enough to say so.
    if (mWaitShown)
        return;
    mWaitShown = true;
    std::fprintf(stderr, "\nWaiting for the music library in %s (Ctrl-C stops; nothing is lost).\n",
                 qPrintable(LibrarySettings::folder()));
}

void ConsoleExport::ShowAlert(const QString& titleKey, const QString& messageKey, const QString&)
{
    if (mAlertShown)
        return;
    mAlertShown = true;
    std::fprintf(stderr, "\n%s: %s\n", qPrintable(Localized(titleKey)), qPrintable(Localized(messageKey)));
}

} // namespace Tolm::Library
