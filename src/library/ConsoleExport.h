#pragma once

#include "capture/AlertPresenter.h"
#include "library/LibraryExport.h"

#include <QStringList>
#include <atomic>
#include <functional>
#include <mutex>

namespace Tolm::Library {

// The export as tolm-convert runs it: names from the command line, the progress handed to
// the caller's bar, the library's alerts and waits told once on standard error.
class ConsoleExport final : private TrackNaming, private ExportView, private Capture::AlertPresenter {
  public:
    struct Names {
        QString artist;
        QString album;
        QStringList titles; // track 1 first; missing ones get the unknown-track name
        AlbumTags albumTags; // album artist, side, year, where given
    };
    struct Hooks {
        std::function<void(double fraction)> progress; // all tracks, 0..1, from the export's thread
        std::function<bool()> stopRequested;           // polled; true ends the export early
    };
    struct Outcome {
        QStringList filed; // the library files made, in order
        UInt32 kept = 0;   // tracks that could not be imported
        bool stopped = false;
    };

    ConsoleExport(Names names, Hooks hooks);

    // Exports every track and waits until it is done.
    Outcome run(RecordedTracks& tracks, bool normalize);

  private:
    QString artist(UInt32 trackCount) override;
    QString album(UInt32 trackCount) override;
    QString title(UInt32 track, UInt32 trackCount) override;
    AlbumTags albumTags(UInt32 trackCount) override;

    void exportStarted(UInt32 trackCount) override;
    void setProgress(UInt32 tracksDone) override;
    void stopSpinner() override {}
    void libraryNotAnswering(OSStatus status) override;
    void conversionProgress(UInt32 track, double fraction) override;
    void trackFiled(UInt32 track, const QString& path) override;
    void trackKept(UInt32 track, const QString& file, const QString& reason) override;
    void samplesReplaced(UInt32 track, long long count) override;

    void ShowAlert(const QString& titleKey, const QString& messageKey, const QString& buttonKey) override;

    Names mNames;
    Hooks mHooks;
    UInt32 mTrackCount = 0;
    bool mAlertShown = false; // worker thread only
    bool mWaitShown = false;  // worker thread only
    std::mutex mMutex;
    QStringList mFiled; // guarded by mMutex
};

} // namespace Tolm::Library
