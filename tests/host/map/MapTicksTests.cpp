#include "map/MapTicks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace OrrinViewer {
namespace {

TEST(MapTicks, StepsAreOneTwoAndFiveAtEveryScale) {
    const struct {
        double smallest, step;
        int decimals;
    } cases[] = {{1.0, 1.0, 0}, {1.1, 2.0, 0},  {2.1, 5.0, 0},      {5.1, 10.0, 0},  {999.0, 1000.0, 0}, {0.3, 0.5, 1},
                 {0.1, 0.1, 1}, {0.06, 0.1, 1}, {0.0015, 0.002, 3}, {2e-6, 2e-6, 6}, {3e6, 5e6, 0}};
    for (const auto& test : cases) {
        const double step = FindNiceStep(test.smallest);
        EXPECT_NEAR(step, test.step, test.step * 1e-12) << test.smallest;
        EXPECT_EQ(CountDecimals(step), test.decimals) << test.smallest;
    }
}

// A tick that comes and goes at the window's edge, or reads 499999.99, is what users of a map notice first.
TEST(MapTicks, TicksAreTheMultiplesInside_BothEndsIncluded) {
    EXPECT_EQ(FindTicks(499'990.0, 500'010.0, 10.0, 100), (std::vector<double>{499'990.0, 500'000.0, 500'010.0}));
    EXPECT_EQ(FindTicks(-0.25, 0.31, 0.1, 100).size(), 6U);
    EXPECT_TRUE(FindTicks(1.1, 1.9, 1.0, 100).empty());
    for (const double tick : FindTicks(-36.1, -35.9, 0.05, 100)) {
        EXPECT_EQ(FormatCoordinate(tick, 2).size(), 6U) << tick;
    }
    EXPECT_EQ(FormatCoordinate(FindTicks(-0.2, 0.0, 0.1, 100).back(), 1), "0.0");
    EXPECT_EQ(FormatCoordinate(-0.004, 2), "0.00");
    EXPECT_EQ(FormatCoordinate(-0.006, 2), "-0.01");
    EXPECT_EQ(FormatCoordinate(9'116'067.78, 1), "9116067.8");
}

// Where a coordinate is so large that a step is less than what a number tells apart, counting never ended.
TEST(MapTicks, TicksAreBoundedWhateverTheMapShows) {
    EXPECT_TRUE(FindTicks(1e300, 1.1e300, 1.0, 1000).empty());
    EXPECT_TRUE(FindTicks(1e17, 1e17 + 1000.0, 0.5, 100).empty());
    EXPECT_TRUE(FindTicks(0.0, 1e6, 1.0, 1000).empty());
    EXPECT_TRUE(FindTicks(std::nan(""), 1.0, 1.0, 1000).empty());
    EXPECT_TRUE(FindTicks(0.0, std::numeric_limits<double>::infinity(), 1.0, 1000).empty());
    EXPECT_EQ(FindNiceStep(std::numeric_limits<double>::infinity()), 1.0);
    EXPECT_EQ(FindNiceStep(0.0), 1.0);
    EXPECT_LE(CountDecimals(1e-300), 12);
}

TEST(MapTicks, LengthsAndScaleBarsAreRound) {
    EXPECT_EQ(FormatLength(0.0), "0 m");
    EXPECT_EQ(FormatLength(0.25), "0.25 m");
    EXPECT_EQ(FormatLength(249.6), "250 m");
    EXPECT_EQ(FormatLength(12'345.0), "12.3 km");
    EXPECT_EQ(FormatLength(2'000'000.0), "2000 km");
    const struct {
        double metresPerPixel, longest;
        const char* text;
        double pixels;
    } cases[] = {{1.0, 150.0, "100 m", 100.0},
                 {1.0, 200.0, "200 m", 200.0},
                 {37.0, 150.0, "5 km", 5000.0 / 37.0},
                 {0.001, 100.0, "0.1 m", 100.0}};
    for (const auto& test : cases) {
        const ScaleBar bar = FindScaleBar(test.metresPerPixel, test.longest);
        EXPECT_EQ(bar.text, test.text);
        EXPECT_NEAR(bar.lengthPixels, test.pixels, 1e-6);
    }
}

// Reference lengths of the WGS 84 ellipsoid. A sphere is wrong by half a percent: 500 m in a hundred kilometres.
TEST(MapTicks, DistancesInDegrees_AreThoseOfTheEllipsoid) {
    const struct {
        double fromX, fromY, toX, toY, metres, tolerance;
    } cases[] = {{10, 0, 11, 0, 111'319.491, 0.001},
                 {10, 0, 10, 1, 110'574.389, 0.001},
                 {10, 50, 10, 51, 111'238.681, 0.001},
                 {179.5, 60, -179.5, 60, 55'799.47, 0.1},
                 {-3.5, 55.9, 2.3, 48.85, 880'000.0, 20'000.0},
                 {0, 0, 180, 0, 20'003'931.459, 1.0},
                 {0, 30, 179.9, -30, 20'003'931.0, 20'000.0},
                 {7, 8, 7, 8, 0.0, 0.0}};
    for (const auto& test : cases) {
        EXPECT_NEAR(DistanceInMetres(MapUnits::Degrees, test.fromX, test.fromY, test.toX, test.toY), test.metres,
                    test.tolerance);
    }
    EXPECT_NEAR(MetresPerUnit(MapUnits::Degrees, 60.0), 55'800.0, 1.0);
    EXPECT_DOUBLE_EQ(DistanceInMetres(MapUnits::Metres, 500'000, 4'500'000, 500'003, 4'500'004), 5.0);
}

// A hundred feet were called 100 m.
TEST(MapTicks, FeetAreShorterThanMetres) {
    EXPECT_DOUBLE_EQ(DistanceInMetres(MapUnits::Feet, 0, 0, 300, 400), 152.4);
    EXPECT_NEAR(DistanceInMetres(MapUnits::UsSurveyFeet, 2'000'000, 0, 0, 0), 609'601.219, 0.001);
    EXPECT_NEAR(FindHeightScale(MapUnits::UsSurveyFeet, 1.0, 0.0), 3937.0 / 1200.0, 1e-12) << "heights in metres";
    EXPECT_EQ(FindHeightScale(MapUnits::Feet, std::nullopt, 0.0), 1.0);
    EXPECT_NEAR(FindHeightScale(MapUnits::Degrees, std::nullopt, 0.0), 1.0 / 110'946.0, 1e-9);
}

} // namespace
} // namespace OrrinViewer
