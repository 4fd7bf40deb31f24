#include "library/LibraryExport.h"

#include "base/SystemLog.h"
#include "capture/AlertPresenter.h"
#include "library/AppleScriptRunner.h"
#include "library/ImportScript.h"
#include "library/MusicLibrary.h"
#include "platform/CAXException.h"

#include <QFile>
#include <cstdio>

namespace Tolm::Library {

namespace {

// Tells the view about the conversion of one track while the import script runs.
class TrackConversionObserver final : public ConversionObserver {
  public:
    TrackConversionObserver(ExportView& view, UInt32 track) : mView(view), mTrack(track) {}
    void conversionProgress(double fraction) override { mView.conversionProgress(mTrack, fraction); }
    void trackFiled(const QString& path) override { mView.trackFiled(mTrack, path); }
    void samplesReplaced(long long count) override { mView.samplesReplaced(mTrack, count); }

  private:
    ExportView& mView;
    UInt32 mTrack;
};

QByteArray AvailabilityScript(int timeoutSeconds)
{
    return QStringLiteral("withTimeout(%1, function () {\n"
                          "    var ignoredVariable = library.trackCount;\n"
                          "});\n")
        .arg(timeoutSeconds)
        .toUtf8();
}

} // namespace

void RecordedTracks::releaseTrack(UInt32 track)
{
    QFile::remove(fileNameForTrack(track));
}

LibraryExport::LibraryExport(RecordedTracks& tracks, TrackNaming& naming, ExportView& view,
                             Capture::AlertPresenter& alerts)
    : LibraryExport(tracks, naming, view, alerts, Options{})
{
}

LibraryExport::LibraryExport(RecordedTracks& tracks, TrackNaming& naming, ExportView& view,
                             Capture::AlertPresenter& alerts, Options options)
    : mTracks(tracks), mNaming(naming), mView(view), mAlerts(alerts), mOptions(options)
{
}

LibraryExport::~LibraryExport()
{
    waitUntilDone();
}

void LibraryExport::processAudioFiles(bool normalize)
{
    waitUntilDone();
    _timeToGoToPanel6.store(false);
    mStopRequested.store(false);
    mStopped.store(false);
    mKeptTracks.store(0);
    // The first check runs on the worker too: it may wait for the library for a long time,
    // and the window must stay alive meanwhile.
    mWorker = std::thread([this, normalize] { DoITunesImportTagAndConvertThreadRoutine2(normalize); });
}

bool LibraryExport::pollingTimerFired()
{
    return _timeToGoToPanel6.exchange(false);
}

void LibraryExport::waitUntilDone()
{
    if (mWorker.joinable())
        mWorker.join();
}

void LibraryExport::requestStop()
{
    {
        std::lock_guard lock(mPauseMutex);
        mStopRequested.store(true);
    }
    mPauseWake.notify_all();
}

QString LibraryExport::saveTrackArtist() const
{
    std::lock_guard lock(mSavedMutex);
    return _saveTrackArtist;
}

QString LibraryExport::saveTrackAlbum() const
{
    std::lock_guard lock(mSavedMutex);
    return _saveTrackAlbum;
}

UInt32 LibraryExport::saveTracks() const
{
    std::lock_guard lock(mSavedMutex);
    return _saveTracks;
}

OSStatus LibraryExport::checkLibrary(int timeoutSeconds)
{
    const QByteArray script = AvailabilityScript(timeoutSeconds);
    return SimpleRunAppleScript(script.constData());
}

bool LibraryExport::pause()
{
    std::unique_lock lock(mPauseMutex);
    mPauseWake.wait_for(lock, mOptions.retryPause, [this] { return mStopRequested.load(); });
    return !mStopRequested.load();
}

void LibraryExport::reportNotAnswering(OSStatus status, const char* logFormat)
{
    Tolm::SystemLog::Print(logFormat, int(status));
    if (status == kScriptError)
        mAlerts.ShowAlert(QStringLiteral("IDS_WARNING"), QStringLiteral("IDS_ITUNES_ERROR"));
    mView.libraryNotAnswering(status);
}

bool LibraryExport::waitForLibrary(int timeoutSeconds, const char* logFormat)
{
    for (OSStatus status = checkLibrary(timeoutSeconds); status != noErr;
         status = checkLibrary(timeoutSeconds)) {
        reportNotAnswering(status, logFormat);
        if (!pause())
            return false;
    }
    return true;
}

void LibraryExport::setProgress(UInt32 track)
{
    mView.setProgress(track);
    if (track == mTracks.numRecordedTracks())
        mView.stopSpinner();
}

void LibraryExport::DoITunesImportTagAndConvertThreadRoutine2(bool normalize)
{
    const UInt32 trackCount = mTracks.numRecordedTracks();
    mView.exportStarted(trackCount);
    if (!waitForLibrary(mOptions.firstCheckSeconds, "SimpleRunAppleScript err = %d\n")) {
        mView.stopSpinner();
        mStopped.store(true);
        _timeToGoToPanel6.store(true);
        return;
    }

    const QString artist = mNaming.artist(trackCount);
    const QString album = mNaming.album(trackCount);
    UInt32 firstNumber = 1;
    {
        std::lock_guard lock(mSavedMutex);
        if (!_saveTrackArtist.isNull() && _saveTrackArtist == artist && !_saveTrackAlbum.isNull() &&
            _saveTrackAlbum == album) {
            firstNumber = _saveTracks + 1;
        } else {
            // isNull() tells "no export yet" from an empty name, which is a name like any other.
            _saveTrackArtist = artist.isNull() ? QStringLiteral("") : artist;
            _saveTrackAlbum = album.isNull() ? QStringLiteral("") : album;
            _saveTracks = 0;
        }
    }

    AlbumTags albumTags = mNaming.albumTags(trackCount);
    // A side the user named is a disc of its own to players: its tracks count from 1.
    const UInt32 numberFrom = albumTags.disc > 0 ? 1 : firstNumber;
    albumTags.trackTotal = int(numberFrom - 1 + trackCount);

    UInt32 done = 0;
    for (UInt32 i = 1; i <= mTracks.numRecordedTracks() && !mStopRequested.load(); ++i) {
        if (!importTrack(i, numberFrom, artist, album, albumTags, trackCount, normalize))
            break;
        done = i;
        setProgress(i);
    }

    mView.stopSpinner();
    if (mStopRequested.load()) {
        mStopped.store(true);
        // A later export of the same names goes on after the last track that went in.
        std::lock_guard lock(mSavedMutex);
        _saveTracks = firstNumber - 1 + done;
    } else {
        {
            std::lock_guard lock(mSavedMutex);
            // This export's count alone, not added to an earlier one's: a third side of the
            // same names continues from the second side's count.
            _saveTracks = mTracks.numRecordedTracks();
        }
        mTracks.resetTrackCounter();
    }
    _timeToGoToPanel6.store(true);
}

bool LibraryExport::importTrack(UInt32 track, UInt32 firstNumber, const QString& artist, const QString& album,
                                const AlbumTags& albumTags, UInt32 trackCount, bool normalize)
{
    const QString file = mTracks.fileNameForTrack(track);
    const QString number = QString::number(firstNumber + track - 1);
    const QString title = mNaming.title(track, trackCount);
    for (;;) {
        QString failure;
        try {
            TrackConversionObserver observer(mView, track);
            ConversionObserverScope scope(observer);
            AlbumTagsScope albumScope(albumTags);
            if (!convertAndTagAudioFile4(file, artist, album, title, number, normalize, &failure))
                failure.clear();
            else if (failure.isEmpty())
                failure = QStringLiteral("the import script failed");
        } catch (const CAXException& error) {
            failure = QStringLiteral("normalisation failed: %1 (%2)")
                          .arg(QString::fromUtf8(error.Operation()),
                               QString::fromStdString(CAXException::FormatError(error.GetError())));
        }

        const OSStatus status = checkLibrary(mOptions.trackCheckSeconds);
        if (status == noErr) {
            // Only a track that is in the library lets go of its recording.
            if (failure.isEmpty()) {
                mTracks.releaseTrack(track);
            } else {
                mKeptTracks.fetch_add(1);
                mView.trackKept(track, file, failure);
            }
            return true;
        }
        reportNotAnswering(status, "SimpleRunAppleScript check after comversion. err = %d\n");
        if (!pause())
            return false;
    }
}

} // namespace Tolm::Library
