#include "tracks/TakeCutter.h"

#include "tracks/SoundFile.h"
#include "tracks/TrackError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace Tolm::Tracks {

namespace {

constexpr std::int64_t kBlockFrames = 65536;

// The new files written so far; removed unless all of them were.
class NewFiles {
  public:
    ~NewFiles()
    {
        for (const std::string& path : mPaths)
            ::unlink(path.c_str());
    }
    void add(const std::string& path) { mPaths.push_back(path); }
    void release() { mPaths.clear(); }

  private:
    std::vector<std::string> mPaths;
};

[[noreturn]] void ThrowWriteError(const std::string& path, int error)
{
    if (error == ENOSPC || error == EDQUOT)
        throw TrackError(TrackError::Kind::DiskFull, path + ": the disk is full");
    throw TrackError(TrackError::Kind::WriteFailed, path + ": " + std::strerror(error));
}

void WriteTrack(const TakeFiles& takes, std::int64_t from, std::int64_t to, const std::string& path,
                const std::function<void(std::int64_t)>& copied)
{
    ::unlink(path.c_str()); // left by an earlier attempt
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        ThrowWriteError(path, errno);
    struct Fd {
        int fd;
        ~Fd() { ::close(fd); }
    } owner{fd};

    SoundFile file(fd, takes.sampleRate());
    if (!file.isOpen())
        throw TrackError(TrackError::Kind::WriteFailed, path + ": " + file.error());
    takes.read(from, to, kBlockFrames, [&](const float* block, std::int64_t frames) {
        errno = 0;
        if (file.write(block, frames) != frames)
            ThrowWriteError(path, errno ? errno : EIO);
        copied(frames);
        return true;
    });
    errno = 0;
    if (!file.close())
        ThrowWriteError(path, errno ? errno : EIO);
    if (::fsync(fd) != 0)
        ThrowWriteError(path, errno);
}

void SyncFolder(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

} // namespace

bool TakeCutter::changes(const TakeFiles& takes, const std::vector<std::int64_t>& markers)
{
    std::vector<std::int64_t> own{0};
    for (std::int64_t split : takes.liveSplits())
        own.push_back(split);
    own.push_back(takes.frames());
    return markers != own;
}

std::vector<std::string> TakeCutter::write(const TakeFiles& takes, const std::vector<std::int64_t>& markers,
                                           const TrackPath& newFile, const Progress& progress)
{
    std::vector<std::string> tracks;
    if (markers.size() < 2)
        return tracks;
    const std::int64_t total = std::max<std::int64_t>(markers.back() - markers.front(), 1);
    std::int64_t done = 0;
    NewFiles written;
    for (std::size_t i = 0; i + 1 < markers.size(); ++i) {
        const std::string path = newFile(unsigned(i + 1));
        for (const TakeFiles::Take& take : takes.takes()) {
            if (take.path == path)
                throw TrackError(TrackError::Kind::WriteFailed, path + ": would overwrite a take");
        }
        written.add(path);
        WriteTrack(takes, markers[i], markers[i + 1], path, [&](std::int64_t frames) {
            done += frames;
            if (progress)
                progress(double(done) / double(total));
        });
        tracks.push_back(path);
    }
    SyncFolder(tracks.front());
    written.release();
    return tracks;
}

} // namespace Tolm::Tracks
