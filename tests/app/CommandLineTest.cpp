#include "CommandLine.h"
#include "DiskSpace.h"

#include <gtest/gtest.h>

using namespace Tolm::Convert;

TEST(ArgumentParser, TakesOptionsFlagsAndPositionalsInAnyOrderAndRefusesUnknownOnes)
{
    ArgumentParser p("t", {"a.wav", "--eq", "riaa", "--json", "--title=One", "--title", "Two", "b.wav"});
    EXPECT_TRUE(p.Flag("json"));
    EXPECT_FALSE(p.Flag("verbose"));
    EXPECT_EQ(p.Value("eq"), "riaa");
    EXPECT_EQ(p.Values("title"), (std::vector<std::string>{"One", "Two"}));
    auto rest = p.Positionals();
    ASSERT_TRUE(rest);
    EXPECT_EQ(*rest, (std::vector<std::string>{"a.wav", "b.wav"}));

    ArgumentParser unknown("t", {"--bogus", "x"});
    EXPECT_FALSE(unknown.Positionals());

    ArgumentParser missing("t", {"x", "--eq"});
    EXPECT_FALSE(missing.Value("eq"));
    EXPECT_FALSE(missing.Positionals());

    // After "--" a name that looks like an option is a file.
    ArgumentParser dashes("t", {"--", "--odd-name.wav"});
    rest = dashes.Positionals();
    ASSERT_TRUE(rest);
    EXPECT_EQ(rest->front(), "--odd-name.wav");
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
        ArgumentParser parser("test", c.args);
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
