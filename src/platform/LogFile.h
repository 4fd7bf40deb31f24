#pragma once

// The wizard's log: the system's own lines, each stamped with the time, in
// $XDG_STATE_HOME/tolm-audio-converter/log/tolm-audio-converter.log (0600, in a 0700 folder).
// When the file passes a size it becomes .log.1 (the older ones move up to .log.3, the
// oldest goes), so a log of months of recording stays small.

#include "base/SystemLog.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

namespace Tolm::Platform {

class LogFile final : public SystemLog::Sink {
  public:
    static constexpr std::uint64_t kRotateBytes = 1024 * 1024;
    static constexpr int kKeptFiles = 3;

    // Opens (appends to) `folder`/tolm-audio-converter.log, making the folder if needed;
    // isOpen() says whether that worked. With `echo`, every line goes to standard error too.
    explicit LogFile(std::string folder, bool echo = false, std::uint64_t rotateBytes = kRotateBytes);
    ~LogFile() override;
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // $XDG_STATE_HOME/tolm-audio-converter/log, ~/.local/state/... when it is not set.
    static std::string DefaultFolder();

    bool isOpen() const { return mFd >= 0; }
    const std::string& path() const { return mPath; }
    void Write(std::string_view text) override;

  private:
    void Open();
    void Rotate();
    void Append(std::string_view bytes);

    std::string mFolder;
    std::string mPath;
    bool mEcho;
    std::uint64_t mRotateBytes;
    std::mutex mMutex;
    int mFd = -1;
    std::uint64_t mSize = 0;
    bool mAtLineStart = true;
};

} // namespace Tolm::Platform
