#pragma once

// The built tolm-convert run as a user runs it, its output and status kept.

#include "TracksTestSide.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace Tolm::Test {

struct Run {
    int status = -1;
    std::string out, err;
};

inline std::string Slurp(const std::string& path)
{
    std::stringstream s;
    s << std::ifstream(path).rdbuf();
    return s.str();
}

inline std::string Quote(const std::string& arg)
{
    std::string q = "'";
    for (char c : arg)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

inline Run Convert(const TempFolder& folder, const std::vector<std::string>& args)
{
    std::string command = Quote(TOLM_CONVERT);
    for (const auto& a : args)
        command += " " + Quote(a);
    command += " >" + Quote(folder.File("out.txt")) + " 2>" + Quote(folder.File("err.txt")) + " </dev/null";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(folder.File("out.txt")),
            Slurp(folder.File("err.txt"))};
}

} // namespace Tolm::Test
