#pragma once

#include "library/LibraryExport.h"

#include <QStringList>
#include <atomic>
#include <mutex>

namespace Tolm::Ui {

class AppDelegate;
class MainThreadCaller;

// What an export did, for the last panel.
struct ExportOutcome {
    struct NotAdded {
        UInt32 track = 0;
        QString title;
        QString reason;
        QString keptIn; // the track's recording, still there
    };
    UInt32 trackCount = 0;
    UInt32 added = 0;
    QString albumFolder; // where the added tracks went; empty when none did
    QList<NotAdded> notAdded;
    long long replacedSamples = 0;
};

// What the export's worker thread needs of the wizard. The names are read from the naming
// panels on the main thread when the export starts, so the worker never touches a widget;
// what it tells the wizard (progress, the spinner, the reset track count) is posted to the
// main thread.
class ExportBridge final : public Library::RecordedTracks,
                           public Library::TrackNaming,
                           public Library::ExportView {
  public:
    ExportBridge(AppDelegate& wizard, MainThreadCaller& mainThread);

    // Main thread, before the export starts: the track count and the typed names.
    void takeNamesFromPanels();
    // Any thread: what the export has done so far.
    ExportOutcome outcome();

    // RecordedTracks
    UInt32 numRecordedTracks() override;
    QString fileNameForTrack(UInt32 track) override;
    void resetTrackCounter() override;

    // TrackNaming
    QString artist(UInt32 trackCount) override;
    QString album(UInt32 trackCount) override;
    QString title(UInt32 track, UInt32 trackCount) override;
    Library::AlbumTags albumTags(UInt32 trackCount) override;

    // ExportView
    void exportStarted(UInt32 trackCount) override;
    void setProgress(UInt32 tracksDone) override;
    void stopSpinner() override;
    void trackFiled(UInt32 track, const QString& path) override;
    void trackKept(UInt32 track, const QString& file, const QString& reason) override;
    void samplesReplaced(UInt32 track, long long count) override;

  private:
    AppDelegate& mWizard;
    MainThreadCaller& mMainThread;
    std::atomic<UInt32> mTrackCount{0};
    std::mutex mMutex; // guards the names, files and the outcome
    QString mArtist;
    QString mAlbum;
    QStringList mTitles; // track 1 first
    QStringList mFiles;  // the takes, track 1 first
    ExportOutcome mOutcome;
    Library::AlbumTags mAlbumTags;
};

} // namespace Tolm::Ui
