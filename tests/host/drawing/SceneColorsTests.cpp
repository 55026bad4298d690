#include "drawing/SceneColors.h"

#include <gtest/gtest.h>

#include <vector>

namespace OrrinViewer {
namespace {

/// 1000 points from 0 to 999 and one stray far above them.
PointCloud SlopeWithAnOutlier() {
    PointCloud cloud;
    for (int z = 0; z < 1000; ++z) {
        cloud.positions.push_back({0.0, 0.0, static_cast<double>(z)});
    }
    cloud.positions.push_back({0.0, 0.0, 1e6});
    return cloud;
}

int Brightness(const Rgb& color) {
    return color.red + color.green + color.blue;
}

TEST(SceneColors, ElevationRamp_IgnoresOutliersAndGrowsBrighter) {
    const PointCloud cloud = SlopeWithAnOutlier();
    const ElevationRange range = FindElevationRange(cloud);
    EXPECT_EQ(range.low, 20.0);
    EXPECT_EQ(range.high, 980.0);
    const std::vector<Rgb> colors = ColorPoints(cloud, ColorMode::Elevation);
    for (std::size_t index = 100; index < colors.size(); index += 100) {
        EXPECT_GT(Brightness(colors[index]), Brightness(colors[index - 100])) << index;
    }
    EXPECT_EQ(colors.front(), ColorOfElevation(-1e300, range));
    EXPECT_EQ(colors.back(), ColorOfElevation(1e300, range));
    EXPECT_EQ(ColorPoints(PointCloud{}, ColorMode::Elevation), std::vector<Rgb>{});
}

TEST(SceneColors, EachModeShowsItsAttribute_ElevationsWhereItIsMissing) {
    PointCloud cloud;
    cloud.positions = {{0, 0, 0}, {0, 0, 5}};
    const std::vector<Rgb> byElevation = ColorPoints(cloud, ColorMode::Elevation);
    EXPECT_NE(byElevation[0], byElevation[1]);
    EXPECT_EQ(ChooseColorMode(cloud), ColorMode::Elevation);
    for (const ColorMode mode : {ColorMode::Recorded, ColorMode::Class, ColorMode::Intensity}) {
        EXPECT_EQ(ColorPoints(cloud, mode), byElevation);
    }

    cloud.classes = {2, 6};
    EXPECT_EQ(ChooseColorMode(cloud), ColorMode::Class);
    EXPECT_EQ(ColorPoints(cloud, ColorMode::Class)[1], ColorOfClass(6, ClassMeaning::Survey));
    cloud.intensities = {0.0f, 80.0f};
    EXPECT_EQ(ColorPoints(cloud, ColorMode::Intensity), (std::vector<Rgb>{{40, 40, 40}, {255, 255, 255}}));
    cloud.colors = {{1, 2, 3}, {4, 5, 6}};
    EXPECT_EQ(ChooseColorMode(cloud), ColorMode::Recorded);
    EXPECT_EQ(ColorPoints(cloud, ColorMode::Recorded), cloud.colors);
}

// A file in which one point in ten is labelled and coloured, and the rest black, would show as a dark smear.
TEST(SceneColors, AttributesThatFewPointsHave_AreNotChosen) {
    PointCloud cloud;
    cloud.positions.resize(10);
    cloud.colors.assign(10, Rgb{});
    cloud.colors[3] = {255, 0, 0};
    cloud.classes.assign(10, kNoClass);
    cloud.classMeaning = ClassMeaning::Labels;
    EXPECT_EQ(ChooseColorMode(cloud), ColorMode::Elevation);
    cloud.classes.assign(10, 0);
    EXPECT_EQ(ChooseColorMode(cloud), ColorMode::Class);
    cloud.classMeaning = ClassMeaning::Survey;
    EXPECT_EQ(ChooseColorMode(cloud), ColorMode::Elevation) << "0 is what a survey writes before it is classified";
}

TEST(SceneColors, ClassNumbersMeanWhatTheFileSays) {
    EXPECT_EQ(NameOfClass(2, ClassMeaning::Survey), "ground");
    EXPECT_EQ(NameOfClass(9, ClassMeaning::Survey), "water");
    EXPECT_EQ(NameOfClass(17, ClassMeaning::Survey), "bridge deck");
    EXPECT_EQ(NameOfClass(200, ClassMeaning::Survey), "class 200");
    EXPECT_EQ(NameOfClass(2, ClassMeaning::Labels), "label 2");
    EXPECT_EQ(NameOfClass(kNoClass, ClassMeaning::Labels), "no label");
    EXPECT_NE(ColorOfClass(0, ClassMeaning::Labels), ColorOfClass(1, ClassMeaning::Labels));
    EXPECT_NE(ColorOfClass(0, ClassMeaning::Labels), ColorOfClass(kNoClass, ClassMeaning::Labels));
}

} // namespace
} // namespace OrrinViewer
