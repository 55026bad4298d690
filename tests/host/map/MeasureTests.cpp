#include "map/Measure.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace OrrinViewer {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

TEST(Measure, AreaOfAParcelIsExactAtGridCoordinates) {
    const std::vector<Position> parcel = {{500'000.0, 4'500'000.0, kNone},
                                          {500'120.5, 4'500'000.0, kNone},
                                          {500'120.5, 4'500'080.0, kNone},
                                          {500'000.0, 4'500'080.0, kNone}};
    EXPECT_NEAR(AreaInSquareMetres(MapUnits::Metres, parcel), 9640.0, 1e-6);
    EXPECT_EQ(DescribeArea(MapUnits::Metres, parcel), "9640 m\xC2\xB2, around 401 m");
    const std::vector<Position> reversed(parcel.rbegin(), parcel.rend());
    EXPECT_NEAR(AreaInSquareMetres(MapUnits::Metres, reversed), 9640.0, 1e-6);
    EXPECT_EQ(AreaInSquareMetres(MapUnits::Metres, std::span(parcel).first(2)), 0.0);
}

// An eighth of the globe, and a degree at the equator.
TEST(Measure, AreaOfDegreesIsThatOfTheEllipsoid) {
    constexpr double kEllipsoid = 510'065'621'724'089.0;
    const std::vector<Position> octant = {
        {0.0, 0.0, kNone}, {90.0, 0.0, kNone}, {90.0, 90.0, kNone}, {0.0, 90.0, kNone}};
    EXPECT_NEAR(AreaInSquareMetres(MapUnits::Degrees, octant) / kEllipsoid, 0.125, 1e-9);
    const std::vector<Position> degree = {
        {10.0, -0.5, kNone}, {11.0, -0.5, kNone}, {11.0, 0.5, kNone}, {10.0, 0.5, kNone}};
    EXPECT_NEAR(AreaInSquareMetres(MapUnits::Degrees, degree), 111'319.49 * 110'574.39, 1e6);
}

TEST(Measure, TextsSayWhatThereIs) {
    const std::vector<Position> path = {{0.0, 0.0, 100.0}, {30.0, 40.0, kNone}, {30.0, 140.0, 87.5}};
    EXPECT_EQ(DescribePath(MapUnits::Metres, path), "150 m, height -12.50");
    EXPECT_EQ(DescribePath(MapUnits::Metres, std::span(path).first(2)), "50 m") << "one end has no height";
    EXPECT_EQ(FormatArea(0.0), "0 m\xC2\xB2");
    EXPECT_EQ(FormatArea(12'500.0), "1.25 ha");
    EXPECT_EQ(FormatArea(3.456e9), "3456 km\xC2\xB2");
}

} // namespace
} // namespace OrrinViewer
