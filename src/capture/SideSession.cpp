#include "capture/SideSession.h"

#include "capture/InputChain.h"
#include "capture/Localization.h"
#include "platform/AudioHardware.h"
#include "platform/CAXException.h"
#include "recording/CAAudioFile.h"
#include "recording/WaveFileRepair.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/statvfs.h>

namespace Tolm::Capture {

namespace {

constexpr auto kWatchInterval = std::chrono::milliseconds(200);
// Less than this left means the disk is what stopped a new take from being made.
constexpr double kNearlyFullBytes = 4.0 * 1024 * 1024;

std::optional<double> FreeBytes(const QString& folder)
{
    struct statvfs fs {};
    if (statvfs(QFile::encodeName(folder).constData(), &fs) != 0)
        return std::nullopt;
    return double(fs.f_bavail) * double(fs.f_frsize);
}

QString ReasonText(OSStatus status)
{
    switch (status) {
    case kCAAudioFilePermissionError:
        return QString::fromLocal8Bit(std::strerror(EACCES));
    case kCAAudioFileReadOnlyVolumeError:
        return QString::fromLocal8Bit(std::strerror(EROFS));
    default:
        return QString::fromLocal8Bit(std::strerror(EIO));
    }
}

QString Describe(const std::exception& e)
{
    if (const auto* ca = dynamic_cast<const CAXException*>(&e))
        return QStringLiteral("%1 (%2)").arg(QString::fromLatin1(ca->Operation()),
                                             QString::fromStdString(CAXException::FormatError(ca->GetError())));
    return QString::fromLocal8Bit(e.what());
}

} // namespace

SideSession::SideSession(Audio& audio, QObject* parent) : QObject(parent), mAudio(audio)
{
    mAudio.setDelegate(this);
    mWatch.setInterval(kWatchInterval);
    connect(&mWatch, &QTimer::timeout, this, &SideSession::watch);
}

SideSession::~SideSession()
{
    if (mAudio.delegate() == this)
        mAudio.setDelegate(nullptr);
    // Closed properly, the takes are whole for the recovery at the next start.
    mAudio.stopRecording();
}

std::optional<double> SideSession::minutesThatFit() const
{
    Platform::AudioDeviceInfo info;
    if (Platform::Hardware().GetDevice(mAudio.inputDeviceID(), info) != noErr)
        return std::nullopt;
    const double rate = info.actualSampleRate > 0.0 ? info.actualSampleRate : info.nominalSampleRate;
    std::optional<double> bytes;
    try {
        bytes = FreeBytes(TakeFolder::Root());
    } catch (const TakeFolderError&) {
    }
    if (!bytes || rate <= 0.0)
        return std::nullopt;
    return *bytes / (rate * 2 * sizeof(float) * 60.0);
}

bool SideSession::start(bool automaticSplit)
{
    mError.clear();
    mSideEnded = false;
    if (mAudio.recording())
        stop();
    if (mFolder) {
        // Tracks the library did not take stay behind for a later recovery.
        mFolder->removeIfDone();
        mFolder.reset();
    }
    try {
        mFolder = TakeFolder::Create();
    } catch (const TakeFolderError& e) {
        mError = QString::fromLocal8Bit(e.what());
        return false;
    }
    mAudio.setTakeFolder(mFolder->path());
    mAudio.resetTrackCounter();
    ResetVUMax();
    mAudio.setAutomaticTrackSplit(automaticSplit);
    return newTrack();
}

SideSession::ManualSplit SideSession::nextManualSplit() const
{
    const UInt32 tracks = trackCount();
    if (tracks >= kTrackLimit)
        return ManualSplit::LimitReached;
    if (tracks == kTrackLimit - 1)
        return ManualSplit::LastTrack;
    return ManualSplit::Allowed;
}

bool SideSession::newTrack()
{
    mError.clear();
    if (!mFolder)
        return false;
    bool recording = false;
    try {
        recording = mAudio.newTrack();
    } catch (const std::exception& e) {
        mError = Describe(e);
    } catch (...) {
        mError = QStringLiteral("unknown error");
    }
    if (!mError.isEmpty()) {
        std::fprintf(stderr, "newTrack Error: %s\n", qPrintable(mError));
        mAudio.stopRecording();
        noteCount();
        return false;
    }
    noteCount();
    if (recording)
        mWatch.start();
    return recording;
}

void SideSession::stop()
{
    mWatch.stop();
    mAudio.stopRecording();
    noteCount();
    if (const OSStatus status = mAudio.recordingWriteError(); status != 0)
        failed(status);
}

bool SideSession::hasTakes() const
{
    if (mAudio.recording())
        return true;
    if (!mFolder)
        return false;
    for (UInt32 track = 1; track <= trackCount(); ++track) {
        if (QFileInfo::exists(takePath(track)))
            return true;
    }
    return false;
}

QList<SideSession::Take> SideSession::takes() const
{
    QList<Take> list;
    for (UInt32 track = 1; track <= trackCount(); ++track) {
        Take take;
        take.path = takePath(track);
        const auto inspection = WaveFileRepair::Inspect(QFile::encodeName(take.path).toStdString());
        if (inspection.readable && inspection.sampleRate > 0.0)
            take.seconds = double(inspection.frames) / inspection.sampleRate;
        list.append(take);
    }
    return list;
}

bool SideSession::replaceTakes(const QStringList& files)
{
    mError.clear();
    if (!mFolder || mAudio.recording()) {
        mError = QStringLiteral("no finished recording to replace");
        return false;
    }
    const UInt32 before = trackCount();
    for (int i = 0; i < files.size(); ++i) {
        const QString target = takePath(UInt32(i + 1));
        if (::rename(QFile::encodeName(files[i]).constData(), QFile::encodeName(target).constData()) != 0) {
            mError = QStringLiteral("Cannot put %1 in place of %2: %3")
                         .arg(files[i], target, QString::fromLocal8Bit(std::strerror(errno)));
            return false;
        }
    }
    for (UInt32 track = UInt32(files.size()) + 1; track <= before; ++track)
        QFile::remove(takePath(track));
    mAudio.setNumRecordedTracks(UInt32(files.size()));
    noteCount();
    return true;
}

bool SideSession::recover(const QString& sessionName)
{
    mError.clear();
    if (mAudio.recording()) {
        mError = QStringLiteral("a recording is running");
        return false;
    }
    std::unique_ptr<TakeFolder> folder;
    try {
        folder = TakeFolder::Open(sessionName);
    } catch (const TakeFolderError& e) {
        mError = QString::fromLocal8Bit(e.what());
        return false;
    }
    if (!folder->repairTakes(mError))
        return false;
    if (mFolder)
        mFolder->removeIfDone();
    mFolder = std::move(folder);
    mAudio.setTakeFolder(mFolder->path());
    mAudio.resetTrackCounter();
    mAudio.setNumRecordedTracks(mFolder->trackCount());
    mSideEnded = false;
    return true;
}

void SideSession::finish()
{
    if (mAudio.recording())
        stop();
    if (!mFolder)
        return;
    mFolder->setTrackCount(trackCount());
    mFolder->removeIfDone();
    mFolder.reset();
}

void SideSession::discard()
{
    mWatch.stop();
    mAudio.stopRecording();
    if (mFolder) {
        mFolder->removeAll();
        mFolder.reset();
    }
    mAudio.resetTrackCounter();
    mSideEnded = false;
}

void SideSession::audioDetectedAlbumEnd()
{
    mWatch.stop();
    mSideEnded = true;
    noteCount();
    if (const OSStatus status = mAudio.recordingWriteError(); status != 0) {
        failed(status);
        return;
    }
    Q_EMIT sideEndedByItself();
}

void SideSession::noteCount()
{
    if (mFolder)
        mFolder->setTrackCount(trackCount());
}

void SideSession::watch()
{
    noteCount();
    if (const OSStatus status = mAudio.recordingWriteError(); status != 0) {
        failed(status);
        return;
    }
    if (!mAudio.recording()) {
        // A split whose new take could not be made: the controller has said so; what was
        // recorded before it is kept.
        const auto free = mFolder ? FreeBytes(mFolder->path()) : std::nullopt;
        failed(free && *free < kNearlyFullBytes ? kCAAudioFileDiskFullError : kCAAudioFileIOError);
    }
}

void SideSession::failed(OSStatus status)
{
    mWatch.stop();
    mAudio.stopRecording();
    // Keep what reached the disk; a track with nothing in it, or none at all, is no track.
    UInt32 kept = trackCount();
    while (kept > 0) {
        const auto take = WaveFileRepair::Inspect(QFile::encodeName(takePath(kept)).toStdString());
        if (take.readable && take.frames > 0)
            break;
        QFile::remove(takePath(kept));
        --kept;
    }
    mAudio.setNumRecordedTracks(kept);
    noteCount();
    const QString message =
        status == kCAAudioFileDiskFullError
            ? Localized("The disk is full. Recording stopped; the %1 tracks recorded so far are kept.").arg(kept)
            : Localized("The recording could not be written (%2). Recording stopped; the %1 tracks recorded so far "
                        "are kept.")
                  .arg(kept)
                  .arg(ReasonText(status));
    mError = message;
    Q_EMIT recordingFailed(kept, message);
}

} // namespace Tolm::Capture
