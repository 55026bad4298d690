#include "drawing/SceneColors.h"

#include <gtest/gtest.h>

#include <vector>

namespace OrrinViewer {
namespace {

CloudPoint At(double z) {
    CloudPoint point;
    point.position.z = z;
    return point;
}

CloudTraits TraitsOf(const std::vector<CloudPoint>& points, const CloudFields& fields) {
    CloudSurvey survey(fields);
    survey.Add(points);
    return survey.Find();
}

int Brightness(const Rgb& color) {
    return color.red + color.green + color.blue;
}

TEST(SceneColors, ElevationRamp_IgnoresOutliersAndGrowsBrighter) {
    std::vector<CloudPoint> slope;
    for (int z = 0; z < 1000; ++z) {
        slope.push_back(At(z));
    }
    slope.push_back(At(1e6));
    const CloudTraits traits = TraitsOf(slope, {});
    EXPECT_EQ(traits.elevations.low, 20.0);
    EXPECT_EQ(traits.elevations.high, 980.0);
    const PointColors colors(traits, PointColoring{});
    for (int z = 100; z <= 1000; z += 100) {
        EXPECT_GT(Brightness(colors.ColorOf(At(z))), Brightness(colors.ColorOf(At(z - 100)))) << z;
    }
    EXPECT_EQ(colors.ColorOf(slope.front()), ColorOfElevation(-1e300, traits.elevations));
    EXPECT_EQ(colors.ColorOf(slope.back()), ColorOfElevation(1e300, traits.elevations));
}

TEST(SceneColors, ElevationsOfAVeryLargeCloudAreStillFromAllOverIt) {
    CloudSurvey survey({});
    std::vector<CloudPoint> part(100'000);
    for (int round = 0; round < 25; ++round) {
        for (std::size_t index = 0; index < part.size(); ++index) {
            part[index] = At(round * 1e5 + static_cast<double>(index));
        }
        survey.Add(part);
    }
    const ElevationRange range = survey.Find().elevations;
    EXPECT_NEAR(range.low, 0.02 * 2.5e6, 2'000.0);
    EXPECT_NEAR(range.high, 0.98 * 2.5e6, 2'000.0);
}

TEST(SceneColors, EachModeShowsItsAttribute_ElevationsWhereItIsMissing) {
    std::vector<CloudPoint> points = {At(0), At(5)};
    CloudFields fields;
    const auto colored = [&](ColorMode mode) {
        const PointColors colors(TraitsOf(points, fields), PointColoring{.mode = mode});
        return std::vector<Rgb>{colors.ColorOf(points[0]), colors.ColorOf(points[1])};
    };
    const auto chosen = [&] { return ChooseColorMode(TraitsOf(points, fields)); };
    const std::vector<Rgb> byElevation = colored(ColorMode::Elevation);
    EXPECT_NE(byElevation[0], byElevation[1]);
    EXPECT_EQ(chosen(), ColorMode::Elevation);
    for (const ColorMode mode : {ColorMode::Recorded, ColorMode::Class, ColorMode::Intensity}) {
        EXPECT_EQ(colored(mode), byElevation);
    }

    fields.classes = true;
    points[0].classNumber = 2;
    points[1].classNumber = 6;
    EXPECT_EQ(chosen(), ColorMode::Class);
    EXPECT_EQ(colored(ColorMode::Class)[1], ColorOfClass(6, ClassMeaning::Survey));
    fields.intensities = true;
    points[1].intensity = 80.0F;
    EXPECT_EQ(colored(ColorMode::Intensity), (std::vector<Rgb>{{40, 40, 40}, {255, 255, 255}}));
    fields.colors = true;
    points[0].red = 1;
    points[1].blue = 6;
    EXPECT_EQ(chosen(), ColorMode::Recorded);
    EXPECT_EQ(colored(ColorMode::Recorded), (std::vector<Rgb>{{1, 0, 0}, {0, 0, 6}}));
    points[1].blue = 0x0600; // now it shows that the channels have 16 bits
    EXPECT_EQ(colored(ColorMode::Recorded), (std::vector<Rgb>{{0, 0, 0}, {0, 0, 6}}));
    points = {At(0), At(5)};
    fields.zeroIsAbsent = true;
    EXPECT_EQ(colored(ColorMode::Recorded), byElevation);
}

TEST(SceneColors, RampEndsAreThoseOfTheDataUnlessTheyAreSet) {
    std::vector<CloudPoint> points = {At(0), At(50), At(100)};
    points[1].intensity = 30.0F;
    points[2].intensity = 80.0F;
    const CloudTraits traits = TraitsOf(points, {.intensities = true});
    const auto colored = [&](const PointColoring& coloring) {
        return PointColors(traits, coloring).ColorOf(points[1]);
    };
    EXPECT_EQ(colored({}), ColorOfElevation(0.5, {0.0, 1.0}));
    EXPECT_EQ(colored({.elevationRamp = {50.0, {}}}), kElevationRamp.front());
    EXPECT_EQ(colored({.elevationRamp = {{}, 50.0}}), kElevationRamp.back());
    EXPECT_EQ(colored({.elevationRamp = {25.0, 125.0}}), ColorOfElevation(0.25, {0.0, 1.0}));
    const ElevationRange turned = RampEnds{70.0, 20.0}.Of(traits.elevations);
    EXPECT_EQ(turned.low, 70.0);
    EXPECT_EQ(turned.high, 70.0);
    EXPECT_EQ(colored({.mode = ColorMode::Intensity, .intensityRamp = {10.0, 30.0}}), (Rgb{255, 255, 255}));
    EXPECT_EQ(colored({.mode = ColorMode::Intensity, .intensityRamp = {30.0, 10.0}}), (Rgb{40, 40, 40}));
}

TEST(SceneColors, ClassesAreCountedAndHiddenByTheirNumbers) {
    std::vector<CloudPoint> points(7);
    points[2].classNumber = 2;
    points[3].classNumber = 2;
    points[4].classNumber = kNoClass;
    const CloudTraits traits = TraitsOf(points, {.classes = true});
    EXPECT_EQ(traits.classCounts[0], 4U);
    EXPECT_EQ(traits.classCounts[2], 2U);
    EXPECT_EQ(traits.classCounts[kNoClass], 1U);
    PointColoring coloring;
    coloring.hiddenClasses.set(2);
    coloring.hiddenClasses.set(kNoClass);
    const PointColors colors(traits, coloring);
    std::vector<bool> hidden;
    for (const CloudPoint& point : points) {
        hidden.push_back(colors.Hides(point));
    }
    EXPECT_EQ(hidden, (std::vector<bool>{false, false, true, true, true, false, false}));
}

// A file in which one point in ten is labelled and coloured, and the rest black, would show as a dark smear.
TEST(SceneColors, AttributesThatFewPointsHave_AreNotChosen) {
    std::vector<CloudPoint> points(10);
    points[3].red = 255;
    for (CloudPoint& point : points) {
        point.classNumber = kNoClass;
    }
    CloudFields fields{.colors = true, .classes = true, .classMeaning = ClassMeaning::Labels};
    EXPECT_EQ(ChooseColorMode(TraitsOf(points, fields)), ColorMode::Elevation);
    for (CloudPoint& point : points) {
        point.classNumber = 0;
    }
    EXPECT_EQ(ChooseColorMode(TraitsOf(points, fields)), ColorMode::Class);
    fields.classMeaning = ClassMeaning::Survey;
    EXPECT_EQ(ChooseColorMode(TraitsOf(points, fields)), ColorMode::Elevation)
        << "0 is what a survey writes before it is classified";
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
