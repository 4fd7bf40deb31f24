#pragma once

// Hands the recorded tracks to the music library, one after the other, on a worker thread:
// waits until the library answers, numbers the tracks (a second side of the same album goes
// on from the first), imports each, checks the library after each and imports again until
// it answers, deletes each track file once it is safely in, and shows the progress. The
// wizard and tolm-convert both run it; what they show comes through the interfaces below,
// always called on the worker thread.

#include "library/TrackTags.h"
#include "platform/CoreAudioTypes.h"

#include <QString>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Tolm::Capture {
class AlertPresenter;
}

namespace Tolm::Library {

// The recorded tracks: the Audio controller's files, or files prepared by a command.
class RecordedTracks {
  public:
    virtual ~RecordedTracks() = default;
    virtual UInt32 numRecordedTracks() = 0;
    virtual QString fileNameForTrack(UInt32 track) = 0;
    virtual void resetTrackCounter() = 0;
    // The track is safely in the library: its file may go (it does, unless it is the user's own).
    virtual void releaseTrack(UInt32 track);
};

// The names the user gave: the naming panels (see NamingField.h), or the command line.
class TrackNaming {
  public:
    virtual ~TrackNaming() = default;
    virtual QString artist(UInt32 trackCount) = 0;
    virtual QString album(UInt32 trackCount) = 0;
    virtual QString title(UInt32 track, UInt32 trackCount) = 0;
    // Album artist, side and year where the user gave them (the export counts the total).
    virtual AlbumTags albumTags(UInt32 trackCount)
    {
        (void)trackCount;
        return {};
    }
};

// The export panel, or the command line's progress.
class ExportView {
  public:
    virtual ~ExportView() = default;
    virtual void exportStarted(UInt32 trackCount) = 0; // spinner on, progress 0 of trackCount
    virtual void setProgress(UInt32 tracksDone) = 0;
    virtual void stopSpinner() = 0;
    // The library did not answer (status of the check); the export waits and asks again.
    virtual void libraryNotAnswering(OSStatus status) { (void)status; }
    virtual void conversionProgress(UInt32 track, double fraction) { (void)track, (void)fraction; }
    virtual void trackFiled(UInt32 track, const QString& path) { (void)track, (void)path; }
    // Samples of the track that were not finite numbers went into the library as silence.
    virtual void samplesReplaced(UInt32 track, long long count) { (void)track, (void)count; }
    // The track could not be imported while the library answered; its file is kept.
    virtual void trackKept(UInt32 track, const QString& file, const QString& reason)
    {
        (void)track, (void)file, (void)reason;
    }
};

class LibraryExport {
  public:
    struct Options {
        int firstCheckSeconds = 20; // time-out of the check before the export
        int trackCheckSeconds = 5;  // and after each track
        // Between two checks that failed, so an unreachable library is not asked in a tight loop.
        std::chrono::milliseconds retryPause{2000};
    };

    LibraryExport(RecordedTracks& tracks, TrackNaming& naming, ExportView& view,
                  Capture::AlertPresenter& alerts);
    LibraryExport(RecordedTracks& tracks, TrackNaming& naming, ExportView& view,
                  Capture::AlertPresenter& alerts, Options options);
    ~LibraryExport(); // stops a running export after its current track and waits for it
    LibraryExport(const LibraryExport&) = delete;
    LibraryExport& operator=(const LibraryExport&) = delete;

    // Starts the export of every recorded track and returns at once.
    void processAudioFiles(bool normalize);
    // True once after the export has finished: time to leave the export panel.
    bool pollingTimerFired();
    void waitUntilDone();
    // Ends the export after the track being imported (or while waiting for the library);
    // the remaining track files are kept. Any thread.
    void requestStop();
    bool stopped() const { return mStopped.load(); }
    UInt32 keptTracks() const { return mKeptTracks.load(); }

    // Kept from one export to the next, for the numbering of a second side.
    QString saveTrackArtist() const;
    QString saveTrackAlbum() const;
    UInt32 saveTracks() const;

  private:
    void DoITunesImportTagAndConvertThreadRoutine2(bool normalize);
    // Runs the availability check until it answers; false when stopped first.
    bool waitForLibrary(int timeoutSeconds, const char* logFormat);
    void reportNotAnswering(OSStatus status, const char* logFormat);
    OSStatus checkLibrary(int timeoutSeconds);
    bool pause();
    void setProgress(UInt32 track);
    // Imports until the library answers after the import; false when stopped first.
    bool importTrack(UInt32 track, UInt32 firstNumber, const QString& artist, const QString& album,
                     const AlbumTags& albumTags, UInt32 trackCount, bool normalize);

    RecordedTracks& mTracks;
    TrackNaming& mNaming;
    ExportView& mView;
    Capture::AlertPresenter& mAlerts;
    Options mOptions;

    mutable std::mutex mSavedMutex; // guards the three saved values
    QString _saveTrackArtist;
    QString _saveTrackAlbum;
    UInt32 _saveTracks = 0;

    std::thread mWorker;
    std::atomic<bool> _timeToGoToPanel6{false};
    std::atomic<bool> mStopRequested{false};
    std::atomic<bool> mStopped{false};
    std::atomic<UInt32> mKeptTracks{0};
    std::mutex mPauseMutex;
    std::condition_variable mPauseWake;
};

} // namespace Tolm::Library
