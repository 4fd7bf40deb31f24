// tolm-convert record and recover run as programs, side by side and killed, as users and
// crashes do it.

#include "TracksTestSide.h"

#include "SoundFile.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Tolm::Test;
namespace fs = std::filesystem;

namespace {

std::string Slurp(const std::string& path)
{
    std::stringstream s;
    s << std::ifstream(path).rdbuf();
    return s.str();
}

// tolm-convert started in the background, its output going to files of its own.
pid_t Start(const TempFolder& folder, const std::string& name, const std::vector<std::string>& args)
{
    const pid_t pid = fork();
    if (pid == 0) {
        if (!freopen(folder.File(name + ".out").c_str(), "w", stdout) ||
            !freopen(folder.File(name + ".err").c_str(), "w", stderr) || !freopen("/dev/null", "r", stdin))
            _exit(127);
        std::vector<char*> argv{const_cast<char*>(TOLM_CONVERT)};
        for (const auto& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(TOLM_CONVERT, argv.data());
        _exit(127);
    }
    return pid;
}

int Wait(pid_t pid)
{
    int raw = 0;
    waitpid(pid, &raw, 0);
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -WTERMSIG(raw);
}

int Convert(const TempFolder& folder, const std::vector<std::string>& args)
{
    return Wait(Start(folder, "run", args));
}

void Sleep(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

sf_count_t Frames(const std::string& path)
{
    const auto file = Tolm::Test::ReadSoundFile(path);
    return file.opened ? file.info.frames : -1;
}

std::vector<std::string> FilesUnder(const std::string& folder)
{
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            files.push_back(entry.path().string());
    return files;
}

class RecordingSessions : public testing::Test {
  protected:
    void SetUp() override { setenv("XDG_STATE_HOME", state.Path().c_str(), 1); }
    void TearDown() override { unsetenv("XDG_STATE_HOME"); }

    std::string Takes() const { return state.File("tolm-audio-converter/takes"); }

    TempFolder state, work;
};

} // namespace

// Two recordings at once each keep their own audio, whatever was planted where takes lay
// before; both finish cleanly and leave nothing behind.
TEST_F(RecordingSessions, TwoRecordingsAtOnceBothComplete)
{
    const std::string victim = work.File("victim.txt");
    std::ofstream(victim) << "precious";
    const std::string planted = "/tmp/TolmACTmpFile.1.wav", foreign = "/tmp/TolmACTmpFile.2.wav";
    std::error_code ec;
    const bool plant = !fs::exists(fs::symlink_status(planted, ec)) && !fs::exists(fs::symlink_status(foreign, ec));
    if (plant) {
        fs::create_symlink(victim, planted);
        std::ofstream(foreign) << "someone else's";
    }

    // The second runs while the first does, and stops first.
    const pid_t first = Start(work, "first", {"record", "--demo", "--turntable", "--out", work.File("first")});
    Sleep(1.0);
    const pid_t second = Start(work, "second", {"record", "--demo", "--turntable", "--out", work.File("second")});
    Sleep(2.5);
    kill(second, SIGINT);
    Sleep(1.5);
    kill(first, SIGINT);
    EXPECT_EQ(Wait(first), 0) << Slurp(work.File("first.err"));
    EXPECT_EQ(Wait(second), 0) << Slurp(work.File("second.err"));

    const double a = double(Frames(work.File("first/01.wav"))) / 44100.0;
    const double b = double(Frames(work.File("second/01.wav"))) / 44100.0;
    EXPECT_GT(b, 1.5);
    EXPECT_LT(b, 4.0);
    EXPECT_GT(a, b + 1.0) << "the first ran longer, and nobody else's audio is in it";
    EXPECT_LT(a, 8.0);
    EXPECT_TRUE(fs::is_empty(Takes()));

    if (plant) {
        EXPECT_TRUE(fs::is_symlink(planted));
        EXPECT_EQ(Slurp(victim), "precious");
        EXPECT_EQ(Slurp(foreign), "someone else's");
        fs::remove(planted);
        fs::remove(foreign);
    }
}

// A recording killed mid-write is listed, its take repaired from the data it holds, and
// imported into the library; then nothing of it is left to recover.
TEST_F(RecordingSessions, AKilledRecordingIsRecoveredIntoTheLibrary)
{
    const pid_t recording = Start(work, "killed", {"record", "--demo", "--turntable"});
    Sleep(3.5);
    kill(recording, SIGKILL);
    ASSERT_EQ(Wait(recording), -SIGKILL);

    ASSERT_EQ(Convert(work, {"recover", "--list"}), 0);
    const std::string listed = Slurp(work.File("run.out"));
    ASSERT_NE(listed.find("\t1 track\t"), std::string::npos) << listed;
    const std::string name = listed.substr(0, listed.find('\t'));
    const std::string take = Takes() + "/" + name + "/TolmACTmpFile.1.wav";
    const auto dataBytes = sf_count_t(fs::file_size(take)) - 80; // past the float WAV header
    ASSERT_GT(dataBytes, 2 * 44100 * 8);

    const std::string library = work.File("library");
    EXPECT_EQ(Convert(work, {"recover", name, "--import", "--artist", "Nina Berg", "--album", "Attic", "--title",
                         "Paper Boats", "--library", library, "--format", "wav"}),
              0)
        << Slurp(work.File("run.err"));
    const auto filed = FilesUnder(library);
    ASSERT_EQ(filed.size(), 1u);
    EXPECT_NE(filed[0].find("Paper Boats"), std::string::npos);
    EXPECT_NEAR(double(Frames(filed[0])), double(dataBytes / 8), 8192.0) << "every frame on the disk came back";
    EXPECT_TRUE(fs::is_empty(Takes()));

    EXPECT_EQ(Convert(work, {"recover", "--list"}), 0);
    EXPECT_EQ(Slurp(work.File("run.err")), "No unfinished recording.\n");
    EXPECT_EQ(Convert(work, {"recover", name, "--out", work.File("again")}), 1);
}
