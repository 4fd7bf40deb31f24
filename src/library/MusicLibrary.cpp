#include "library/MusicLibrary.h"

#include "library/LibraryError.h"
#include "library/LibrarySettings.h"
#include "library/SafeFileName.h"
#include "library/TrackEncoder.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryFile>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <unistd.h>

namespace Tolm::Library {

namespace {

thread_local ConversionObserver* tObserver = nullptr;
thread_local const AlbumTags* tAlbumTags = nullptr;

const QString kIntakeName = QStringLiteral(".tolm-intake");

// How long a walk's count of the filed tracks is trusted.
constexpr auto kCountLifetime = std::chrono::minutes(10);

// Intake copies this old belong to no running import: a crash or a power cut left them.
constexpr qint64 kStaleIntakeSeconds = 24 * 60 * 60;

QString ErrnoText()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

bool IsAudioFile(const QString& name)
{
    static const QStringList suffixes{QStringLiteral("flac"), QStringLiteral("mp3"), QStringLiteral("ogg"),
                                      QStringLiteral("opus"), QStringLiteral("wav"), QStringLiteral("m4a"),
                                      QStringLiteral("aac"),  QStringLiteral("aif"), QStringLiteral("aiff"),
                                      QStringLiteral("wma"),  QStringLiteral("ape"), QStringLiteral("wv")};
    return suffixes.contains(QFileInfo(name).suffix().toLower());
}

void CopyFile(const QString& source, QFile& destination)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly))
        throw LibraryError(QStringLiteral("Cannot read %1: %2").arg(source, in.errorString()));
    // Written straight to the descriptor, so a full disk is reported as such.
    const int fd = destination.handle();
    QByteArray block(1 << 20, Qt::Uninitialized);
    for (;;) {
        const qint64 got = in.read(block.data(), block.size());
        if (got < 0)
            throw LibraryError(QStringLiteral("Cannot read %1: %2").arg(source, in.errorString()));
        if (got == 0)
            break;
        for (qint64 done = 0; done < got;) {
            const ssize_t wrote = ::write(fd, block.constData() + done, size_t(got - done));
            if (wrote < 0 && errno == EINTR)
                continue;
            if (wrote <= 0)
                throw LibraryError(
                    QStringLiteral("Cannot copy %1 into the library: %2").arg(source, ErrnoText()));
            done += wrote;
        }
    }
}

// "07 ", or "2-07 " for a track of side B, so the sides' files sort apart.
QString NumberPrefix(const TrackTags& tags)
{
    bool ok = false;
    const int number = tags.trackNumber.trimmed().toInt(&ok);
    if (!ok || number <= 0)
        return {};
    const QString prefix = QStringLiteral("%1 ").arg(number, 2, 10, QLatin1Char('0'));
    return tags.disc > 0 ? QString::number(tags.disc) + QLatin1Char('-') + prefix : prefix;
}

bool IsRf64(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(4) == "RF64";
}

// A new hidden file in a folder, removed again unless kept. Unlike QTemporaryFile (always
// 0600) it is made with the mode the umask allows, which the file keeps when it is filed.
class PendingFile {
  public:
    PendingFile(const QString& folder, const QString& suffix)
    {
        for (int attempt = 0; attempt < 100; ++attempt) {
            const QString candidate = QDir(folder).filePath(
                QStringLiteral(".tolm-%1.%2")
                    .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'))
                    .arg(suffix));
            const int fd = ::open(QFile::encodeName(candidate).constData(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
            if (fd >= 0) {
                ::close(fd);
                mPath = candidate;
                return;
            }
            if (errno != EEXIST)
                break;
        }
        throw LibraryError(QStringLiteral("Cannot write into %1: %2").arg(folder, ErrnoText()));
    }
    ~PendingFile()
    {
        if (!mPath.isEmpty())
            ::unlink(QFile::encodeName(mPath).constData());
    }
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    const QString& path() const { return mPath; }
    void keep() { mPath.clear(); }

  private:
    QString mPath;
};

// A second name for `source` in `folder`, where both are on one file system: the intake
// copy of a long recording then costs nothing. False when a copy is needed.
bool LinkInto(const QString& source, const QString& folder, const QString& suffix, QString& linked)
{
    const QByteArray from = QFile::encodeName(source);
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString candidate =
            QDir(folder).filePath(QStringLiteral("track-%1.%2")
                                      .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'))
                                      .arg(suffix));
        if (::link(from.constData(), QFile::encodeName(candidate).constData()) == 0) {
            linked = candidate;
            return true;
        }
        if (errno != EEXIST)
            return false;
    }
    return false;
}

QString MakeFolder(const QString& parent, const QString& name)
{
    const QString path = QDir(parent).filePath(name);
    if (!QDir().mkpath(path))
        throw LibraryError(QStringLiteral("Cannot create the folder %1").arg(path));
    return path;
}

} // namespace

ConversionObserverScope::ConversionObserverScope(ConversionObserver& observer) : mPrevious(tObserver)
{
    tObserver = &observer;
}

ConversionObserverScope::~ConversionObserverScope()
{
    tObserver = mPrevious;
}

AlbumTagsScope::AlbumTagsScope(const AlbumTags& album) : mPrevious(tAlbumTags)
{
    tAlbumTags = &album;
}

AlbumTagsScope::~AlbumTagsScope()
{
    tAlbumTags = mPrevious;
}

MusicLibrary::MusicLibrary(QString folder, bool createIfMissing)
    : mFolder(QDir::cleanPath(std::move(folder))), mCreateIfMissing(createIfMissing)
{
}

std::shared_ptr<MusicLibrary> MusicLibrary::Current()
{
    static std::mutex mutex;
    static std::map<QString, std::shared_ptr<MusicLibrary>> libraries;
    const QString folder = QDir::cleanPath(LibrarySettings::folder());
    std::lock_guard lock(mutex);
    auto& library = libraries[folder];
    if (!library)
        library = std::make_shared<MusicLibrary>(folder, LibrarySettings::folderIsDefault());
    return library;
}

QString MusicLibrary::intakeFolder() const
{
    return QDir(mFolder).filePath(kIntakeName);
}

void MusicLibrary::checkAvailable() const
{
    QFileInfo info(mFolder);
    if (!info.exists() && mCreateIfMissing && QFileInfo(info.absolutePath()).isDir())
        QDir().mkpath(mFolder);
    info.refresh();
    if (!info.exists())
        throw LibraryError(QStringLiteral("The music library folder %1 is missing.").arg(mFolder));
    if (!info.isDir())
        throw LibraryError(QStringLiteral("The music library folder %1 is not a folder.").arg(mFolder));
    if (::access(QFile::encodeName(mFolder).constData(), W_OK | X_OK) != 0)
        throw LibraryError(
            QStringLiteral("The music library folder %1 is not writable: %2").arg(mFolder, ErrnoText()));
}

int MusicLibrary::trackCount() const
{
    checkAvailable();
    {
        std::lock_guard lock(mMutex);
        if (mFiledCount && std::chrono::steady_clock::now() - mFiledCountTime < kCountLifetime)
            return *mFiledCount + int(mAdded.size());
    }
    int count = 0;
    // Hidden entries (the intake area among them) are skipped, and links are not followed,
    // so a link cycle cannot trap the walk.
    QDirIterator files(mFolder, QDir::Files | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        if (IsAudioFile(files.next()))
            ++count;
    }
    // Kept even when the caller stopped waiting for it: the next question is answered at once.
    std::lock_guard lock(mMutex);
    mFiledCount = count;
    mFiledCountTime = std::chrono::steady_clock::now();
    return count + int(mAdded.size());
}

void MusicLibrary::adjustFiledCount(int change) const
{
    std::lock_guard lock(mMutex);
    if (mFiledCount)
        *mFiledCount += change;
}

void MusicLibrary::sweepIntakeOnce()
{
    {
        std::lock_guard lock(mMutex);
        if (mSwept)
            return;
        mSwept = true;
    }
    const QDateTime staleBefore = QDateTime::currentDateTimeUtc().addSecs(-kStaleIntakeSeconds);
    const auto stale = QDir(intakeFolder()).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo& file : stale) {
        // The change time, not the modification time: an intake link to an old recording is new.
        if (file.metadataChangeTime().toUTC() < staleBefore)
            QFile::remove(file.filePath());
    }
}

MusicLibrary::TrackPtr MusicLibrary::add(const QString& file)
{
    checkAvailable();
    const QFileInfo source(file);
    if (!source.isFile())
        throw LibraryError(QStringLiteral("%1 is not a file.").arg(file));
    const QString intake = MakeFolder(mFolder, kIntakeName);
    sweepIntakeOnce();

    // Nothing writes to an intake copy, so a link serves as well as a copy of the bytes.
    QString location;
    if (!LinkInto(file, intake, source.suffix(), location)) {
        QTemporaryFile copy(QDir(intake).filePath(QStringLiteral("track-XXXXXX.") + source.suffix()));
        if (!copy.open())
            throw LibraryError(
                QStringLiteral("Cannot copy %1 into the library: %2").arg(file, copy.errorString()));
        CopyFile(file, copy);
        copy.close();
        copy.setAutoRemove(false);
        location = copy.fileName();
    }

    auto track = std::make_shared<Track>();
    track->location = location;
    track->origin = file;
    track->tags = ReadTrackTags(file).value_or(TrackTags{});
    if (track->tags.title.isEmpty())
        track->tags.title = source.completeBaseName();
    std::lock_guard lock(mMutex);
    mAdded.insert(track);
    return track;
}

MusicLibrary::TrackPtr MusicLibrary::convert(const TrackPtr& track, ImportFormat format)
{
    if (!contains(track))
        throw LibraryError(QStringLiteral("The track is no longer in the library."));
    checkAvailable();
    const TrackTags tags = tAlbumTags != nullptr ? WithAlbumTags(track->tags, *tAlbumTags) : track->tags;
    const QString artistFolder = MakeFolder(mFolder, SafeNameComponent(tags.artist, UnknownArtistName()));
    const QString albumFolder = MakeFolder(artistFolder, SafeNameComponent(tags.album, UnknownAlbumName()));
    const QString suffix = ImportFormatSuffix(format);

    // Encoded and tagged under a hidden name, then renamed: the library never shows a half
    // written track, and a failure leaves nothing behind.
    PendingFile encoded(albumFolder, suffix);
    TrackEncoder::Progress progress;
    if (tObserver != nullptr)
        progress = [observer = tObserver](double fraction) { observer->conversionProgress(fraction); };
    TrackEncoder::Result result{};
    try {
        result = TrackEncoder::Encode(track->location, encoded.path(), format, progress);
    } catch (const LibraryError& error) {
        // The intake copy is gone by the time anyone reads this; the file the user knows is not.
        throw LibraryError(error.message().replace(track->location, track->origin));
    }
    if (result.replacedSamples > 0 && tObserver != nullptr)
        tObserver->samplesReplaced(result.replacedSamples);
    // A WAV past 4 GiB is RF64, which no tagger opens; it is filed by its names alone.
    if (format != ImportFormat::Wav || !IsRf64(encoded.path()))
        WriteTrackTags(encoded.path(), format, tags);

    const QString title = SafeNameComponent(tags.title, UnknownTrackName(tags.trackNumber));
    const QString filed = ReserveUniqueFile(albumFolder, NumberPrefix(tags) + title, suffix);
    if (::rename(QFile::encodeName(encoded.path()).constData(), QFile::encodeName(filed).constData()) != 0) {
        const QString reason = ErrnoText();
        QFile::remove(filed);
        throw LibraryError(QStringLiteral("Cannot file the track as %1: %2").arg(filed, reason));
    }
    encoded.keep();

    auto converted = std::make_shared<Track>();
    converted->kind = Track::Kind::Filed;
    converted->location = filed;
    converted->tags = tags;
    converted->format = format;
    adjustFiledCount(+1);
    if (tObserver != nullptr)
        tObserver->trackFiled(filed);
    return converted;
}

void MusicLibrary::remove(const TrackPtr& track)
{
    if (track->kind == Track::Kind::Filed) {
        if (!QFile::remove(track->location))
            throw LibraryError(QStringLiteral("Cannot delete %1").arg(track->location));
        adjustFiledCount(-1);
        return;
    }
    std::lock_guard lock(mMutex);
    if (mAdded.erase(track) == 0)
        throw LibraryError(QStringLiteral("The track is not in the library."));
}

bool MusicLibrary::contains(const TrackPtr& track) const
{
    if (track->kind == Track::Kind::Filed)
        return QFileInfo::exists(track->location);
    std::lock_guard lock(mMutex);
    return mAdded.count(track) != 0;
}

void MusicLibrary::setTags(const TrackPtr& track, const TrackTags& tags)
{
    if (track->kind == Track::Kind::Filed && track->format)
        WriteTrackTags(track->location, *track->format, tags);
    track->tags = tags;
}

} // namespace Tolm::Library
