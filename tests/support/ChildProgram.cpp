#include "ChildProgram.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace Tolm::Test {

namespace {

std::string TemporaryPath(const char* what)
{
    const char* tmp = std::getenv("TMPDIR");
    std::string path = std::string(tmp && *tmp ? tmp : "/tmp") + "/tolm-test-" + what + "-XXXXXX";
    const int fd = mkstemp(path.data());
    if (fd >= 0)
        close(fd);
    return path;
}

std::string Slurp(const std::string& path)
{
    std::stringstream s;
    s << std::ifstream(path).rdbuf();
    return s.str();
}

} // namespace

ChildProgram::ChildProgram(const std::vector<std::string>& arguments,
                           const std::vector<std::pair<std::string, std::string>>& environment)
    : mOutPath(TemporaryPath("out")), mErrPath(TemporaryPath("err"))
{
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) {
        const std::string entry = *e;
        bool replaced = false;
        for (const auto& [name, value] : environment)
            replaced = replaced || entry.rfind(name + "=", 0) == 0;
        if (!replaced)
            env.push_back(entry);
    }
    for (const auto& [name, value] : environment)
        env.push_back(name + "=" + value);
    std::vector<char*> argv, envp;
    for (const auto& a : arguments)
        argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    for (auto& e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, mOutPath.c_str(), O_WRONLY | O_TRUNC, 0);
    posix_spawn_file_actions_addopen(&actions, 2, mErrPath.c_str(), O_WRONLY | O_TRUNC, 0);
    if (posix_spawn(&mPid, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0)
        mPid = -1;
    posix_spawn_file_actions_destroy(&actions);
}

ChildProgram::~ChildProgram()
{
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    std::remove(mOutPath.c_str());
    std::remove(mErrPath.c_str());
}

void ChildProgram::Signal(int signal)
{
    if (mPid > 0)
        kill(mPid, signal);
}

std::string ChildProgram::ErrorSoFar() const
{
    return Slurp(mErrPath);
}

ProgramResult ChildProgram::Wait()
{
    ProgramResult result;
    if (mPid > 0) {
        int raw = 0;
        while (waitpid(mPid, &raw, 0) < 0 && errno == EINTR) {
        }
        mPid = -1;
        result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    }
    result.out = Slurp(mOutPath);
    result.err = Slurp(mErrPath);
    return result;
}

} // namespace Tolm::Test
