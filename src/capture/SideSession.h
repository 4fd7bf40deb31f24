#pragma once

// One side's recording from Record to named tracks, for every front end: the session's
// private take folder, the first track, new tracks by hand up to the limit, the gap splits
// and the end of the side through the Audio controller, the stop, the take list with its
// lengths, a write failure (a full disk) noticed at once, and what becomes of the takes
// afterwards (kept until the library has them, recovered after a crash, or discarded).
// Front ends never touch take files; they show what this class reports. Main thread only.

#include "capture/Audio.h"
#include "capture/TakeFolder.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <memory>
#include <optional>

namespace Tolm::Capture {

class SideSession final : public QObject, public AudioDelegate {
    Q_OBJECT

  public:
    // The most tracks one recording holds: the naming panels have 40 fields.
    static constexpr UInt32 kTrackLimit = 40;
    // Less room than this for takes gets a warning before recording.
    static constexpr double kLongSideMinutes = 45.0;

    enum class ManualSplit { Allowed, LastTrack, LimitReached };

    struct Take {
        QString path;
        double seconds = 0.0;
    };

    // Becomes the controller's delegate.
    explicit SideSession(Audio& audio, QObject* parent = nullptr);
    // Stops a running recording; its takes stay on disk for a later recovery.
    ~SideSession() override;

    // Minutes of recording that fit where takes are kept, at the selected input's rate;
    // nullopt when that cannot be told.
    std::optional<double> minutesThatFit() const;

    // Record: a new take folder, the count at 0, splitting as chosen, the first track.
    // False, with errorText(), when nothing records.
    bool start(bool automaticSplit);
    // What a New Track by hand would meet; the front end warns before LastTrack and stops
    // the recording at LimitReached.
    ManualSplit nextManualSplit() const;
    // A new track by hand. False, with errorText(), when the recording failed.
    bool newTrack();
    // Stop: the last partial buffer is written. Safe when nothing records.
    void stop();

    bool recording() const { return mAudio.recording(); }
    UInt32 trackCount() const { return mAudio.numRecordedTracks(); }
    UInt64 currentTrackLengthNanos() const { return mAudio.currentTrackLengthNanos(); }
    bool sideEnded() const { return mSideEnded; }
    // Takes exist that are not in the library yet: leaving now would lose them.
    bool hasTakes() const;
    QString errorText() const { return mError; }
    // The session's folder, while there is one.
    const TakeFolder* folder() const { return mFolder.get(); }

    // The counted takes, in track order, with their lengths.
    QList<Take> takes() const;
    QString takePath(UInt32 track) const { return mAudio.fileNameForTrack(track); }
    // Puts new files (complete, in the take folder) in place of the takes, in order, for
    // tracks cut again at other boundaries; the old takes go only as each is replaced.
    // False, with errorText(), when a file could not be put in place.
    bool replaceTakes(const QStringList& files);

    // Goes on with the takes of a session a crashed program left (see TakeFolder::Abandoned),
    // their headers repaired. False, with errorText().
    bool recover(const QString& sessionName);
    // The front end is done with the tracks (they are in the library, or moved out): what is
    // left of the session goes, and its folder once no counted take is left in it; takes
    // the library did not take stay for a later recovery.
    void finish();
    // Stops and deletes every take of the session.
    void discard();

    // AudioDelegate: the controller has stopped at the end of the side.
    void audioDetectedAlbumEnd() override;

  Q_SIGNALS:
    // The side ended by itself; the count no longer includes the run-out.
    void sideEndedByItself();
    // Writing failed (a full disk): the recording has stopped and `tracksKept` takes are
    // kept; `message` says so for people.
    void recordingFailed(UInt32 tracksKept, const QString& message);

  private:
    void watch();
    void failed(OSStatus status);
    void noteCount();

    Audio& mAudio;
    std::unique_ptr<TakeFolder> mFolder;
    QTimer mWatch; // while recording: the count for recovery, and write failures
    bool mSideEnded = false;
    QString mError;
};

} // namespace Tolm::Capture
