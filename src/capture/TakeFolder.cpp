#include "capture/TakeFolder.h"

#include "recording/WaveFileRepair.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QTextStream>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tolm::Capture {

namespace {

constexpr const char* kLockName = ".lock";
constexpr const char* kSessionName = "session";

QByteArray Bytes(const QString& path)
{
    return QFile::encodeName(path);
}

QString SystemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// A folder of ours, 0700, never a link planted in its place.
void MakePrivateFolder(const QString& path)
{
    if (::mkdir(Bytes(path).constData(), 0700) != 0 && errno != EEXIST)
        throw TakeFolderError(QStringLiteral("Cannot make the folder %1: %2").arg(path, SystemError(errno)).toStdString());
    struct stat st {};
    if (::lstat(Bytes(path).constData(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::geteuid())
        throw TakeFolderError(
            QStringLiteral("%1 is not a folder of yours; recordings are not kept there.").arg(path).toStdString());
    if ((st.st_mode & 0777) != 0700)
        ::chmod(Bytes(path).constData(), 0700);
}

// The session's lock, taken without waiting: -1 when another program holds it.
int TakeLock(const QString& folder, int& error)
{
    const int fd = ::open(Bytes(folder + QLatin1Char('/') + QLatin1String(kLockName)).constData(),
                          O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) {
        error = errno;
        return -1;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        error = errno;
        ::close(fd);
        return -1;
    }
    return fd;
}

bool ValidSessionName(const QString& name)
{
    return !name.isEmpty() && !name.startsWith(QLatin1Char('.')) && !name.contains(QLatin1Char('/'));
}

} // namespace

QString TakeFolder::Root()
{
    QString state = QFile::decodeName(qgetenv("XDG_STATE_HOME"));
    if (state.isEmpty() || !QDir::isAbsolutePath(state))
        state = QDir::homePath() + QStringLiteral("/.local/state");
    if (!QDir().mkpath(state))
        throw TakeFolderError(QStringLiteral("Cannot make the folder %1.").arg(state).toStdString());
    const QString program = state + QStringLiteral("/tolm-audio-converter");
    MakePrivateFolder(program);
    const QString root = program + QStringLiteral("/takes");
    MakePrivateFolder(root);
    return root;
}

TakeFolder::TakeFolder(QString name, QString path, int lockFd)
    : mName(std::move(name)), mPath(std::move(path)), mLockFd(lockFd)
{
}

TakeFolder::~TakeFolder()
{
    if (mLockFd >= 0)
        ::close(mLockFd); // lets go of the flock
}

std::unique_ptr<TakeFolder> TakeFolder::Create()
{
    const QString root = Root();
    const QString stem = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")) +
                         QStringLiteral("-%1").arg(::getpid());
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const QString name = attempt == 0 ? stem : stem + QStringLiteral("-%1").arg(attempt);
        const QString path = root + QLatin1Char('/') + name;
        if (::mkdir(Bytes(path).constData(), 0700) != 0) {
            if (errno == EEXIST)
                continue;
            throw TakeFolderError(
                QStringLiteral("Cannot make the folder %1: %2").arg(path, SystemError(errno)).toStdString());
        }
        int error = 0;
        const int fd = TakeLock(path, error);
        if (fd < 0)
            throw TakeFolderError(
                QStringLiteral("Cannot lock the folder %1: %2").arg(path, SystemError(error)).toStdString());
        std::unique_ptr<TakeFolder> folder(new TakeFolder(name, path, fd));
        folder->mStarted = QDateTime::currentDateTime();
        folder->writeSessionFile();
        return folder;
    }
    throw TakeFolderError(QStringLiteral("Cannot make a new folder in %1.").arg(root).toStdString());
}

std::unique_ptr<TakeFolder> TakeFolder::Open(const QString& name)
{
    const QString root = Root();
    const QString path = root + QLatin1Char('/') + name;
    struct stat st {};
    if (!ValidSessionName(name) || ::lstat(Bytes(path).constData(), &st) != 0 || !S_ISDIR(st.st_mode))
        throw TakeFolderError(QStringLiteral("There is no recording \"%1\".").arg(name).toStdString());
    int error = 0;
    const int fd = TakeLock(path, error);
    if (fd < 0) {
        if (error == EWOULDBLOCK)
            throw TakeFolderError(
                QStringLiteral("The recording \"%1\" is in use by a running program.").arg(name).toStdString());
        throw TakeFolderError(
            QStringLiteral("Cannot lock the folder %1: %2").arg(path, SystemError(error)).toStdString());
    }
    std::unique_ptr<TakeFolder> folder(new TakeFolder(name, path, fd));
    folder->readSessionFile();
    return folder;
}

QList<TakeFolder::Summary> TakeFolder::Abandoned()
{
    QList<Summary> found;
    const QString root = Root();
    const QStringList names = QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QString& name : names) {
        try {
            const auto folder = Open(name); // fails for sessions that are running
            Summary summary = folder->summary();
            if (summary.tracks > 0)
                found.append(summary);
        } catch (const TakeFolderError&) {
        }
    }
    std::sort(found.begin(), found.end(),
              [](const Summary& a, const Summary& b) { return a.started > b.started; });
    return found;
}

QString TakeFolder::takeFileName(UInt32 track)
{
    return QStringLiteral("TolmACTmpFile.%1.wav").arg(track);
}

QString TakeFolder::takePath(UInt32 track) const
{
    return mPath + QLatin1Char('/') + takeFileName(track);
}

void TakeFolder::setTrackCount(UInt32 tracks)
{
    if (tracks == mTracks)
        return;
    mTracks = tracks;
    writeSessionFile();
}

void TakeFolder::writeSessionFile() const
{
    // Replaced whole, so a crash leaves the old count or the new one, never half of it.
    QSaveFile file(mPath + QLatin1Char('/') + QLatin1String(kSessionName));
    if (!file.open(QIODevice::WriteOnly))
        return;
    QTextStream out(&file);
    out << "started=" << mStarted.toString(Qt::ISODate) << '\n' << "tracks=" << mTracks << '\n';
    out.flush();
    file.commit();
}

void TakeFolder::readSessionFile()
{
    QFile file(mPath + QLatin1Char('/') + QLatin1String(kSessionName));
    bool counted = false;
    if (file.open(QIODevice::ReadOnly)) {
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.startsWith(QLatin1String("started=")))
                mStarted = QDateTime::fromString(line.mid(8), Qt::ISODate);
            else if (line.startsWith(QLatin1String("tracks=")))
                mTracks = line.mid(7).toUInt(&counted);
        }
    }
    if (!mStarted.isValid())
        mStarted = QFileInfo(mPath).lastModified();
    // A recording killed just after a split has one take more than it had counted; the
    // run-out of a side that ended by itself lies beyond the count and stays out.
    UInt32 present = 0;
    while (QFileInfo::exists(takePath(present + 1)))
        ++present;
    if (!counted || present == mTracks + 1)
        mTracks = present;
}

TakeFolder::Summary TakeFolder::summary() const
{
    Summary summary;
    summary.name = mName;
    summary.path = mPath;
    summary.started = mStarted;
    for (UInt32 track = 1; track <= mTracks; ++track) {
        const auto take = WaveFileRepair::Inspect(Bytes(takePath(track)).toStdString());
        if (!take.readable)
            continue;
        ++summary.tracks;
        if (take.sampleRate > 0.0)
            summary.seconds += double(take.frames) / take.sampleRate;
    }
    return summary;
}

bool TakeFolder::repairTakes(QString& error) const
{
    for (UInt32 track = 1; track <= mTracks; ++track) {
        const std::string path = Bytes(takePath(track)).toStdString();
        const auto take = WaveFileRepair::Inspect(path);
        if (!take.readable || !take.needsRepair)
            continue;
        std::string why;
        if (!WaveFileRepair::Repair(path, why)) {
            error = QStringLiteral("Cannot repair %1: %2").arg(takePath(track), QString::fromStdString(why));
            return false;
        }
    }
    return true;
}

void TakeFolder::removeAll()
{
    QDir folder(mPath);
    for (const QString& take : folder.entryList({QStringLiteral("TolmACTmpFile.*.wav")}, QDir::Files | QDir::System))
        folder.remove(take);
    mTracks = 0;
    folder.remove(QLatin1String(kSessionName));
    folder.remove(QLatin1String(kLockName));
    ::rmdir(Bytes(mPath).constData()); // stays when something else was put in it
}

bool TakeFolder::removeIfDone()
{
    for (UInt32 track = 1; track <= mTracks; ++track) {
        if (QFileInfo::exists(takePath(track)))
            return false;
    }
    removeAll();
    return !QFileInfo::exists(mPath);
}

} // namespace Tolm::Capture
