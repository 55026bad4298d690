#include "program/ViewerOptions.h"

#include <gtest/gtest.h>

namespace {

using namespace OrrinViewer;

TEST(ViewerOptions, EveryOptionIsRead) {
    const ParsedCommandLine line = ParseCommandLine({"--pipeline", "legacy", "--color", "class", "--frames", "3",
                                                     "a b.las", "--screenshot", "x.png", "\xC3\xA9t\xC3\xA9.ply"});
    ASSERT_FALSE(line.exitCode);
    EXPECT_EQ(line.options.pipeline, Pipeline::Legacy);
    EXPECT_EQ(line.options.colorMode, ColorMode::Class);
    EXPECT_EQ(line.options.frames, 3);
    ASSERT_EQ(line.options.files.size(), 2U);
    EXPECT_EQ(line.options.files[0], std::filesystem::path(u8"a b.las"));
    EXPECT_EQ(line.options.files[1], std::filesystem::path(u8"\u00E9t\u00E9.ply"));
    EXPECT_EQ(line.options.screenshot, std::filesystem::path("x.png"));
    EXPECT_GT(line.options.budgetMilliseconds, 0.0);
}

// A budget of points that also ended after some time would be none.
TEST(ViewerOptions, BudgetIsOfPointsOrOfTime) {
    const ParsedCommandLine line = ParseCommandLine({"a.las", "--budget", "250000"});
    ASSERT_FALSE(line.exitCode);
    EXPECT_EQ(line.options.budgetPoints, 250'000U);
    EXPECT_EQ(line.options.budgetMilliseconds, 0.0);
}

TEST(ViewerOptions, ScreenshotAlone_DrawsOneFrame) {
    EXPECT_EQ(ParseCommandLine({"a.las", "--screenshot", "x.png"}).options.frames, 1);
    EXPECT_EQ(ParseCommandLine({"a.las"}).options.frames, 0);
    EXPECT_FALSE(ParseCommandLine({"a.las"}).options.colorMode);
}

// Western and southern coordinates begin with a minus, like options; file names may follow.
TEST(ViewerOptions, AreaOfNegativeDegreesIsRead) {
    const ParsedCommandLine line =
        ParseCommandLine({"--units", "degrees", "--area", "-84.5,-1,-75,0", "a.png", "b.png"});
    EXPECT_EQ(line.options.files.size(), 2U);
    ASSERT_TRUE(line.options.area);
    EXPECT_EQ(line.options.area->low, (Position{-84.5, -1, 0}));
    EXPECT_EQ(line.options.area->high, (Position{-75, 0, 0}));
    EXPECT_EQ(line.options.units, MapUnits::Degrees);
}

TEST(ViewerOptions, StylesOfFeaturesAreRead) {
    const FeatureStyle style = ParseCommandLine({"--line-width", "5.5", "--casing", "8", "--dash", "12,6,2", "--border",
                                                 "3", "--symbol", "star", "a.geojson"})
                                   .options.features;
    EXPECT_EQ(style.lineWidthPixels, 5.5);
    EXPECT_EQ(style.casingWidthPixels, 8.0);
    EXPECT_EQ(style.dashesPixels, (std::vector{12.0, 6.0, 2.0}));
    EXPECT_EQ(style.borderWidthPixels, 3.0);
    EXPECT_EQ(style.symbol, "star");
    EXPECT_TRUE(ParseCommandLine({"a.geojson"}).options.features.IsPlain());
}

TEST(ViewerOptions, WrongOptionsEndWithAnError_HelpDoesNot) {
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{},
                                                  {"a.las", "--pipeline", "vulkan"},
                                                  {"a.las", "--frames", "-1"},
                                                  {"a.las", "--colour"},
                                                  {"a.las", "--area", "10,0,5,1"},
                                                  {"a.las", "--area", "1,2,3"},
                                                  {"a.las", "--area", "1,2,3,north"},
                                                  {"a.las", "--dash", "3,long"},
                                                  {"a.las", "--symbol", "heart"},
                                                  {"a.las", "--width", "12"}}) {
        EXPECT_NE(ParseCommandLine(wrong).exitCode.value_or(0), 0);
    }
    EXPECT_EQ(ParseCommandLine({"--help"}).exitCode, 0);
}

} // namespace
