#include "CommandLine.h"
#include "DiskSpace.h"

#include <gtest/gtest.h>

using namespace Tolm::Convert;

namespace {
const std::vector<CommandOption> kOptions = {
    {"eq", "EQ", "The equaliser.", "none"},
    {"json", nullptr, "JSON."},
    {"title", "T", "A title."},
    {"gain", "DB", "Gain."},
};
} // namespace

TEST(ArgumentParser, TakesOptionsFlagsAndPositionalsInAnyOrder)
{
    // A value may look like a number below 0 or an option; a name need not be UTF-8.
    ArgumentParser p("t", kOptions,
                     {"a.wav", "--eq", "riaa", "--json", "--title=One", "--title", "--Two", "--gain", "-6",
                      "b\xff.wav", "--", "--odd-name.wav"});
    EXPECT_TRUE(p.Flag("json"));
    EXPECT_FALSE(p.Flag("verbose"));
    EXPECT_EQ(p.Value("eq"), "riaa");
    EXPECT_EQ(p.Values("title"), (std::vector<std::string>{"One", "--Two"}));
    EXPECT_EQ(p.Value("gain"), "-6");
    const auto rest = p.Positionals();
    ASSERT_TRUE(rest);
    EXPECT_EQ(*rest, (std::vector<std::string>{"a.wav", "b\xff.wav", "--odd-name.wav"}));
}

TEST(ArgumentParser, WhatItDoesNotUnderstandIsOneLine)
{
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--bogus", "x"},
         "tolm-convert t: unknown option --bogus (tolm-convert t --help lists the options)\n"},
        {{"-q"}, "tolm-convert t: unknown option -q (tolm-convert t --help lists the options)\n"},
        {{"x", "--eq"}, "tolm-convert t: --eq needs a value\n"},
        {{"--json=yes"}, "tolm-convert t: --json takes no value\n"},
    };
    for (const auto& [args, message] : cases) {
        ArgumentParser parser("t", kOptions, args);
        testing::internal::CaptureStderr();
        EXPECT_FALSE(parser.Positionals());
        EXPECT_EQ(testing::internal::GetCapturedStderr(), message);
    }
}

TEST(CommandLineFormatting, TimesRoundToTenthsWithoutSixtySecondsAndNumbersAreWholeTexts)
{
    EXPECT_EQ(FormatMinutesSeconds(0.0), "0:00.0");
    EXPECT_EQ(FormatMinutesSeconds(59.96), "1:00.0");
    EXPECT_EQ(FormatMinutesSeconds(125.44), "2:05.4");
    EXPECT_EQ(FormatMinutesSeconds(-3.0), "0:00.0");
    EXPECT_EQ(PeakDecibels(0.5f), "  -6.0 dB");
    EXPECT_EQ(PeakDecibels(0.0f), "  -inf dB");
    // Numbers must be the whole text.
    EXPECT_EQ(ParseNumber("-6.5"), -6.5);
    EXPECT_FALSE(ParseNumber("6dB"));
    EXPECT_FALSE(ParseNumber(""));
    EXPECT_FALSE(ParseNumber("nan"));
}

TEST(CommandLineOptions, GainAndSecondsKeepTheirDefaultUnlessGivenAValidValue)
{
    struct Case {
        std::vector<std::string> args;
        bool ok;
        float gain;
        double seconds;
    };
    const std::vector<Case> cases = {
        {{}, true, 1.5f, 9.0},  // absent: defaults stay
        {{"--gain", "-6.5", "--seconds=2"}, true, -6.5f, 2.0},
        {{"--gain", "40"}, true, 40.0f, 9.0},
        {{"--gain", "41"}, false, 1.5f, 9.0},
        {{"--gain", "-61"}, false, 1.5f, 9.0},
        {{"--gain", "loud"}, false, 1.5f, 9.0},
        {{"--seconds", "0"}, false, 1.5f, 9.0},
        {{"--seconds", "inf"}, false, 1.5f, 9.0},
    };
    for (const Case& c : cases) {
        ArgumentParser parser("test", {GainOption(), SecondsOption()}, c.args);
        float gain = 1.5f;
        double seconds = 9.0;
        const bool ok = TakeGainOption(parser, gain) && TakeSecondsOption(parser, seconds);
        const std::string shown = c.args.empty() ? "(none)" : c.args[0] + " " + c.args[1];
        EXPECT_EQ(ok, c.ok) << shown;
        EXPECT_EQ(gain, c.gain) << shown;
        EXPECT_EQ(seconds, c.seconds) << shown;
    }
}

TEST(DiskSpace, MinutesThatFitScaleWithTheFormatAndAreUnknownForAMissingFolder)
{
    const auto stereo = MinutesThatFit("/tmp", 44100.0, 2);
    const auto mono = MinutesThatFit("/tmp", 44100.0, 1);
    ASSERT_TRUE(stereo && mono);
    EXPECT_NEAR(*mono / *stereo, 2.0, 0.01); // free space may move a little between the calls
    EXPECT_FALSE(MinutesThatFit("/nonexistent/folder", 44100.0, 2));
    EXPECT_FALSE(MinutesThatFit("/tmp", 0.0, 2));
}
