#pragma once

// The private folder of one recording session's takes:
// $XDG_STATE_HOME/tolm-audio-converter/takes/<session>/ (by default under ~/.local/state),
// mode 0700, held by an flock on its lock file while the object lives. No two programs ever
// share one, and a folder nobody holds is what a crashed session left behind.

#include "platform/CoreAudioTypes.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <memory>
#include <stdexcept>

namespace Tolm::Capture {

// A session folder that cannot be made, locked or read; the text is for people.
class TakeFolderError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class TakeFolder {
  public:
    // What a session left behind, as the recovery offer describes it.
    struct Summary {
        QString name;
        QString path;
        UInt32 tracks = 0;
        double seconds = 0.0;
        QDateTime started;
    };

    // The folder that holds every session's folder; made (0700) when missing.
    static QString Root();
    // A new, empty session folder, locked. Throws TakeFolderError.
    static std::unique_ptr<TakeFolder> Create();
    // An existing session, locked for this program; throws TakeFolderError when it does not
    // exist or another program holds it.
    static std::unique_ptr<TakeFolder> Open(const QString& name);
    // Sessions with takes that no running program holds, newest first.
    static QList<Summary> Abandoned();

    ~TakeFolder(); // lets go of the lock; removes nothing
    TakeFolder(const TakeFolder&) = delete;
    TakeFolder& operator=(const TakeFolder&) = delete;

    QString name() const { return mName; }
    QString path() const { return mPath; }
    QDateTime started() const { return mStarted; }
    static QString takeFileName(UInt32 track); // "TolmACTmpFile.N.wav"
    QString takePath(UInt32 track) const;

    // The number of counted takes (a side's run-out is recorded but not counted), kept in
    // the folder so that a recovery knows it.
    UInt32 trackCount() const { return mTracks; }
    void setTrackCount(UInt32 tracks);
    // Counted takes that exist, with their lengths (a killed take counted from its data).
    Summary summary() const;
    // Brings the headers of takes a crash left unfinished in line with their data. False,
    // with a message, when one cannot be repaired.
    bool repairTakes(QString& error) const;

    // Deletes every take, the folder and its lock.
    void removeAll();
    // Deletes what is no counted take (the run-out, the session file) and then the folder,
    // if no counted take is left in it. True when the folder is gone.
    bool removeIfDone();

  private:
    TakeFolder(QString name, QString path, int lockFd);
    void readSessionFile();
    void writeSessionFile() const;

    QString mName;
    QString mPath;
    int mLockFd = -1;
    UInt32 mTracks = 0;
    QDateTime mStarted;
};

} // namespace Tolm::Capture
