#include "platform/LogFile.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <sys/stat.h>

using Tolm::Platform::LogFile;
namespace fs = std::filesystem;

namespace {

struct Folder {
    fs::path path = fs::temp_directory_path() / ("tolm-log-test-" + std::to_string(getpid()));
    ~Folder() { fs::remove_all(path); }
};

std::string Read(const fs::path& path)
{
    std::stringstream s;
    s << std::ifstream(path).rdbuf();
    return s.str();
}

mode_t Mode(const fs::path& path)
{
    struct stat info {};
    stat(path.c_str(), &info);
    return info.st_mode & 0777;
}

} // namespace

// Each line stamped once, even when it arrives in pieces; the text itself untouched.
TEST(LogFile, StampsEachLineAndKeepsItsTextInAPrivateFolder)
{
    Folder folder;
    const fs::path logFolder = folder.path / "state/tolm-audio-converter/log";
    {
        LogFile log(logFolder.string());
        ASSERT_TRUE(log.isOpen());
        log.Write("newRecorder Error: open audio file ('wht?')\n");
        log.Write("CAPlayThrough ERROR: Cannot Init CAPlayThrough");
        log.Write(" and more\nsecond\nthird");
    }
    const std::string text = Read(logFolder / "tolm-audio-converter.log");
    const std::string stamp = "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} ";
    EXPECT_TRUE(std::regex_match(
        text, std::regex(stamp + "newRecorder Error: open audio file \\('wht\\?'\\)\n" + stamp +
                         "CAPlayThrough ERROR: Cannot Init CAPlayThrough and more\n" + stamp + "second\n" +
                         stamp + "third")))
        << text;
    EXPECT_EQ(Mode(logFolder), 0700u);
    EXPECT_EQ(Mode(logFolder.parent_path()), 0700u);
    EXPECT_EQ(Mode(logFolder / "tolm-audio-converter.log"), 0600u);
}

// Past the size the file moves to .1, the older ones up, and only three old ones stay.
TEST(LogFile, RotatesAtItsSizeAndKeepsThreeOldFiles)
{
    Folder folder;
    LogFile log(folder.path.string(), false, 100);
    for (int i = 0; i < 30; ++i)
        log.Write("line " + std::to_string(i) + " of a log that grows past its size\n");
    const fs::path current = folder.path / "tolm-audio-converter.log";
    EXPECT_TRUE(fs::exists(current.string() + ".3"));
    EXPECT_FALSE(fs::exists(current.string() + ".4"));
    // Two stamped lines pass 100 bytes: each file holds two.
    EXPECT_NE(Read(current).find("line 28 "), std::string::npos);
    EXPECT_NE(Read(current.string() + ".1").find("line 27 "), std::string::npos);
    EXPECT_NE(Read(current.string() + ".3").find("line 22 "), std::string::npos);
    EXPECT_EQ(Read(current.string() + ".3").find("line 21 "), std::string::npos);
}

TEST(LogFile, AFolderThatCannotBeMadeLeavesTheLinesOnStandardError)
{
    LogFile log("/proc/no-such-place/log");
    EXPECT_FALSE(log.isOpen());
    testing::internal::CaptureStderr();
    log.Write("SimpleRunAppleScript err = -1753\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "SimpleRunAppleScript err = -1753\n");
}
