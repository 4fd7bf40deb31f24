#include "platform/LogFile.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tolm::Platform {

namespace {

constexpr const char* kFileName = "/tolm-audio-converter.log";

// mkdir -p with 0700 for the folders it makes.
bool MakeFolders(const std::string& folder)
{
    for (std::size_t slash = 0; slash != std::string::npos;) {
        slash = folder.find('/', slash + 1);
        const std::string part = folder.substr(0, slash);
        if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST)
            return false;
    }
    struct stat info {};
    return stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string TimeStamp()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[40];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    std::snprintf(text + length, sizeof text - length, ".%03d ", int(millis));
    return text;
}

} // namespace

LogFile::LogFile(std::string folder, bool echo, std::uint64_t rotateBytes)
    : mFolder(std::move(folder)), mPath(mFolder + kFileName), mEcho(echo), mRotateBytes(rotateBytes)
{
    if (MakeFolders(mFolder))
        Open();
}

LogFile::~LogFile()
{
    if (mFd >= 0)
        close(mFd);
}

std::string LogFile::DefaultFolder()
{
    std::string state;
    if (const char* xdg = std::getenv("XDG_STATE_HOME"); xdg && xdg[0] == '/') {
        state = xdg;
    } else {
        const char* home = std::getenv("HOME");
        if (!home || !*home) {
            const passwd* user = getpwuid(getuid());
            home = user ? user->pw_dir : "/tmp";
        }
        state = std::string(home) + "/.local/state";
    }
    return state + "/tolm-audio-converter/log";
}

void LogFile::Open()
{
    mFd = open(mPath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    struct stat info {};
    mSize = mFd >= 0 && fstat(mFd, &info) == 0 ? std::uint64_t(info.st_size) : 0;
    mAtLineStart = true;
}

void LogFile::Rotate()
{
    close(mFd);
    mFd = -1;
    for (int n = kKeptFiles - 1; n >= 1; --n)
        std::rename((mPath + "." + std::to_string(n)).c_str(), (mPath + "." + std::to_string(n + 1)).c_str());
    std::rename(mPath.c_str(), (mPath + ".1").c_str());
    Open();
}

void LogFile::Append(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(mFd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return; // a full disk loses log lines, nothing else
        bytes.remove_prefix(std::size_t(written));
        mSize += std::uint64_t(written);
    }
}

void LogFile::Write(std::string_view text)
{
    if (mEcho || mFd < 0)
        SystemLog::StandardError().Write(text);
    std::lock_guard lock(mMutex);
    if (mFd < 0)
        return;
    if (mAtLineStart && mSize >= mRotateBytes)
        Rotate();
    if (mFd < 0)
        return;
    // One write for the whole text: a second wizard appending to the same file cannot split a line.
    std::string out;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::size_t length = end == std::string_view::npos ? text.size() : end + 1;
        if (mAtLineStart)
            out += TimeStamp();
        out.append(text.substr(0, length));
        mAtLineStart = end != std::string_view::npos;
        text.remove_prefix(length);
    }
    Append(out);
}

} // namespace Tolm::Platform
