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
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{"--frames", "1"},
                                                  {"a.las", "--pipeline", "vulkan"},
                                                  {"a.las", "--frames", "-1"},
                                                  {"a.las", "--colour"},
                                                  {"a.las", "--area", "10,0,5,1"},
                                                  {"a.las", "--area", "1,2,3"},
                                                  {"a.las", "--area", "1,2,3,north"},
                                                  {"a.las", "--dash", "3,long"},
                                                  {"a.las", "--symbol", "heart"},
                                                  {"a.las", "--frames", "2.5"},
                                                  {"a.las", "--screenshot", "x.bmp"},
                                                  {"a.las", "--picture-size", "400x300"},
                                                  {"a.las", "--screenshot", "x.png", "--picture-size", "400"},
                                                  {"a.las", "--screenshot", "x.png", "--picture-size", "400x99999"},
                                                  {"a.las", "--width", "12"}}) {
        EXPECT_NE(ParseCommandLine(wrong).exitCode.value_or(0), 0);
    }
    EXPECT_EQ(ParseCommandLine({"--help"}).exitCode, 0);
    EXPECT_FALSE(ParseCommandLine({}).exitCode) << "a person opens files later";
    const ParsedCommandLine picture = ParseCommandLine({"a.las", "--screenshot", "x.png", "--picture-size", "400x300"});
    ASSERT_TRUE(picture.options.pictureSize);
    EXPECT_EQ(picture.options.pictureSize->heightPixels, 300);
}

std::string Printed(const std::vector<std::string>& arguments) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ParseCommandLine(arguments);
    return testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
}

// "ENUM:value in {degrees->3,metres->0} OR {3,0}" is nothing for a person to read.
TEST(ViewerOptions, HelpAndErrorsAreInWords) {
    const std::string help = Printed({"--help"});
    for (const char* inside : {"->", "ENUM", "TEXT:", "INT", "FLOAT", "{"}) {
        EXPECT_EQ(help.find(inside), std::string::npos) << inside << help;
    }
    for (const char* words : {"metres, feet, us-feet or degrees", "default Arial", "64 to 8192", "--version"}) {
        EXPECT_NE(help.find(words), std::string::npos) << words << help;
    }
    EXPECT_TRUE(Printed({"--version"}).starts_with("OrrinViewer 0.")) << Printed({"--version"});
    const struct {
        std::vector<std::string> arguments;
        const char* complaint;
    } cases[] = {{{"a.las", "--units", "miles"}, "--units: takes metres, feet, us-feet or degrees, not 'miles'"},
                 {{"a.las", "--width", "12"}, "--width: takes a number from 64 to 8192, not '12'"},
                 {{"a.las", "--width", "wide"}, "--width: takes a number from 64 to 8192, not 'wide'"},
                 {{"a.las", "--frames", "2.5"}, "--frames: takes a whole number, not '2.5'"},
                 {{"a.las", "--area", "1,2,3"}, "--area: takes four numbers: west,south,east,north"},
                 {{"a.las", "--symbol", "heart"}, "--symbol: takes circle, square,"},
                 {{"a.las", "--screenshot", "x.bmp"}, "--screenshot: takes a name that ends in .png, .jpg or .jpeg"},
                 {{"a.las", "--colour"}, "--colour"}};
    for (const auto& test : cases) {
        const std::string printed = Printed(test.arguments);
        EXPECT_NE(printed.find(test.complaint), std::string::npos) << printed;
    }
}

TEST(ViewerOptions, UnitsOfAllKindsAreRead) {
    EXPECT_EQ(ParseCommandLine({"a.las", "--units", "us-feet"}).options.units, MapUnits::UsSurveyFeet);
    EXPECT_EQ(ParseCommandLine({"a.las", "--units", "feet"}).options.units, MapUnits::Feet);
    EXPECT_EQ(ParseCommandLine({"a.las", "--grid", "0.25"}).options.cloudCellSize, 0.25);
    EXPECT_FALSE(ParseCommandLine({"a.las"}).options.units);
}

} // namespace
