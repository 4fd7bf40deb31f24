#pragma once

#include "library/LibraryExport.h"

#include <QStringList>
#include <atomic>
#include <mutex>

namespace Tolm::Ui {

class AppDelegate;
class MainThreadCaller;

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

    // RecordedTracks
    UInt32 numRecordedTracks() override;
    QString fileNameForTrack(UInt32 track) override;
    void resetTrackCounter() override;

    // TrackNaming
    QString artist(UInt32 trackCount) override;
    QString album(UInt32 trackCount) override;
    QString title(UInt32 track, UInt32 trackCount) override;

    // ExportView
    void exportStarted(UInt32 trackCount) override;
    void setProgress(UInt32 tracksDone) override;
    void stopSpinner() override;
    void trackKept(UInt32 track, const QString& file, const QString& reason) override;

  private:
    AppDelegate& mWizard;
    MainThreadCaller& mMainThread;
    std::atomic<UInt32> mTrackCount{0};
    std::mutex mMutex; // guards the names and files
    QString mArtist;
    QString mAlbum;
    QStringList mTitles; // track 1 first
    QStringList mFiles;  // the takes, track 1 first
};

} // namespace Tolm::Ui
