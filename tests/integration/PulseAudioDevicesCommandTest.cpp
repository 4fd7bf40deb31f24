// `tolm-convert devices` as a user runs it, against the test daemon.

#include "PulseDaemon.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>

using Tolm::Test::PulseDaemon;

namespace {

struct Result {
    int status = -1;
    std::vector<std::string> lines;
};

Result RunDevices(const std::string& extra = "", const std::string& environment = "")
{
    Result result;
    const std::string command = environment + " '" TOLM_CONVERT "' devices " + extra + " 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return result;
    std::string text;
    char buffer[4096];
    while (const std::size_t n = std::fread(buffer, 1, sizeof buffer, pipe))
        text.append(buffer, n);
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.lines.push_back(line);
    return result;
}

const std::string* LineWith(const Result& result, const std::string& text)
{
    for (const auto& line : result.lines)
        if (line.find(text) != std::string::npos)
            return &line;
    return nullptr;
}

} // namespace

TEST(PulseAudioDevicesCommand, ShowsExactNamesUsbIdsAndDefaults)
{
    PulseDaemon daemon;
    if (!daemon.Start())
        GTEST_SKIP() << daemon.SkipReason();
    // A name with quotes, a newline and a trailing blank must still be one readable line.
    ASSERT_TRUE(daemon.Pactl({"load-module", "module-null-sink", "sink_name=odd",
                              "sink_properties='device.product.name=\"Say \\\"hi\\\"\nthere \" "
                              "device.description=Odd'"}));

    const Result result = RunDevices();
    ASSERT_EQ(result.status, 0);
    const std::string* codec = LineWith(result, "\"USB Audio CODEC \"");
    ASSERT_TRUE(codec) << "the name keeps its trailing blank inside the quotes";
    EXPECT_EQ(codec->substr(0, 4), "  * "); // the server's default source
    EXPECT_NE(codec->find("USB Audio CODEC Analog Stereo"), std::string::npos);
    EXPECT_NE(codec->find(" 2 "), std::string::npos);
    EXPECT_NE(codec->find("48000 Hz"), std::string::npos);
    EXPECT_NE(codec->find("08bb:2902"), std::string::npos);

    const std::string* odd = LineWith(result, "\"Say \\\"hi\\\"\\x0athere \"");
    ASSERT_TRUE(odd);
    EXPECT_NE(odd->find("Odd"), std::string::npos);
    const std::string* speakers = LineWith(result, "\"Null Output\"");
    ASSERT_TRUE(speakers);
    EXPECT_EQ(speakers->find("08bb"), std::string::npos);
    // Inputs come first, and the two lists are apart.
    EXPECT_LT(codec, speakers);
    EXPECT_TRUE(LineWith(result, "Output devices:"));

    const Result unplugged = (daemon.UnloadPipeSource(), RunDevices());
    EXPECT_FALSE(LineWith(unplugged, "USB Audio CODEC"));
    EXPECT_TRUE(LineWith(unplugged, "(none)"));
}

TEST(PulseAudioDevicesCommand, WithoutAServerShowsTheNullOutputAndSaysSo)
{
    const Result result = RunDevices("", "PULSE_SERVER=unix:/nonexistent/native");
    ASSERT_EQ(result.status, 0);
    EXPECT_TRUE(LineWith(result, "no sound server answers"));
    const std::string* output = LineWith(result, "\"Null Output\"");
    ASSERT_TRUE(output);
    EXPECT_EQ(output->substr(0, 4), "  * ");

    const Result wrong = RunDevices("--long");
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(RunDevices("extra").status, 2);
}
