#include "CommandLine.h"

#include <gtest/gtest.h>

using namespace Tolm::Convert;

TEST(ArgumentParser, TakesOptionsFlagsAndPositionalsInAnyOrder)
{
    ArgumentParser p("t", {"a.wav", "--eq", "riaa", "--json", "--title=One", "--title", "Two", "b.wav"});
    EXPECT_TRUE(p.Flag("json"));
    EXPECT_FALSE(p.Flag("verbose"));
    EXPECT_EQ(p.Value("eq"), "riaa");
    EXPECT_EQ(p.Values("title"), (std::vector<std::string>{"One", "Two"}));
    auto rest = p.Positionals();
    ASSERT_TRUE(rest);
    EXPECT_EQ(*rest, (std::vector<std::string>{"a.wav", "b.wav"}));
}

TEST(ArgumentParser, RefusesUnknownOptionsAndMissingValues)
{
    ArgumentParser unknown("t", {"--bogus", "x"});
    EXPECT_FALSE(unknown.Positionals());

    ArgumentParser missing("t", {"x", "--eq"});
    EXPECT_FALSE(missing.Value("eq"));
    EXPECT_FALSE(missing.Positionals());

    // After "--" a name that looks like an option is a file.
    ArgumentParser dashes("t", {"--", "--odd-name.wav"});
    auto rest = dashes.Positionals();
    ASSERT_TRUE(rest);
    EXPECT_EQ(rest->front(), "--odd-name.wav");
}

TEST(CommandLineFormatting, MinutesSecondsRoundToTenthsWithoutShowingSixtySeconds)
{
    EXPECT_EQ(FormatMinutesSeconds(0.0), "0:00.0");
    EXPECT_EQ(FormatMinutesSeconds(59.96), "1:00.0");
    EXPECT_EQ(FormatMinutesSeconds(125.44), "2:05.4");
    EXPECT_EQ(FormatMinutesSeconds(-3.0), "0:00.0");
}

TEST(CommandLineFormatting, ParseNumberWantsTheWholeText)
{
    EXPECT_EQ(ParseNumber("-6.5"), -6.5);
    EXPECT_FALSE(ParseNumber("6dB"));
    EXPECT_FALSE(ParseNumber(""));
    EXPECT_FALSE(ParseNumber("nan"));
}
