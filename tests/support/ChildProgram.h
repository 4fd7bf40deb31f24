#pragma once

// A program run as a user runs it: its own process, arguments as given (never through a
// shell), standard input empty, standard output and error kept, an exit status. It can be
// sent a signal while it runs (Ctrl-C is SIGINT).

#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace Tolm::Test {

struct ProgramResult {
    int status = -1; // exit status; -1 when killed by a signal or not started
    std::string out, err;
};

class ChildProgram {
  public:
    // `environment`: variables set on top of ours.
    explicit ChildProgram(const std::vector<std::string>& arguments,
                          const std::vector<std::pair<std::string, std::string>>& environment = {});
    ~ChildProgram(); // kills it if it still runs
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    bool Started() const { return mPid > 0; }
    void Signal(int signal);
    // What it wrote so far to standard error.
    std::string ErrorSoFar() const;
    ProgramResult Wait();

  private:
    pid_t mPid = -1;
    std::string mOutPath, mErrPath;
};

inline ProgramResult RunProgram(const std::vector<std::string>& arguments,
                                const std::vector<std::pair<std::string, std::string>>& environment = {})
{
    ChildProgram program(arguments, environment);
    return program.Wait();
}

} // namespace Tolm::Test
