#include "map/ViewScale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace OrrinViewer {
namespace {

constexpr ViewScale::Row kOne = {0, 0, 0, 1};
const Extent kBox = {{500'000, 4'500'000, 100}, {500'100, 4'500'100, 120}};

// A map of 1200 by 800 pixels, a unit two pixels wide: heights do not count there.
TEST(ViewScale, MapHasOneScaleEverywhere) {
    const ViewScale map({500'050, 4'500'050, 0}, {1.0 / 300, 0, 0, 0}, {0, 1.0 / 200, 0, 0}, kOne, 1200, 800);
    EXPECT_DOUBLE_EQ(map.FindPixels(kBox, 3.0, 1e6), 6.0);
    const ViewScale front({500'050, 4'500'050, 0}, {1.0 / 300, 0, 0, 0}, {0, 0, 10.0 / 200, 0}, kOne, 1200, 800);
    EXPECT_DOUBLE_EQ(front.FindPixels(kBox, 3.0, 0.0), 6.0);
    EXPECT_DOUBLE_EQ(front.FindPixels(kBox, 3.0, 1.0), 20.0) << "heights are drawn ten times as large";
    EXPECT_TRUE(std::isinf(map.FindPixels({}, 1.0, 0.0)));
}

// What is said to be invisible must be: wherever a place of the box is seen, and whichever way it is wrong.
TEST(ViewScale, NoPlaceInPerspectiveIsSeenFartherApart) {
    std::mt19937 random(3);
    const auto between = [&](double low, double high) {
        return low + (high - low) * static_cast<double>(random()) / 4294967295.0;
    };
    const Position eye = {500'050, 4'499'800, 250};
    // Looks north and 45 degrees down, 90 degrees wide: w is the distance along the line of sight.
    const double half = std::sqrt(0.5);
    const ViewScale::Row x = {1, 0, 0, 0};
    const ViewScale::Row y = {0, half, half, 0};
    const ViewScale::Row w = {0, half, -half, 0};
    const ViewScale scale(eye, x, y, w, 1000, 1000);
    const auto see = [&](const Position& place, const ViewScale::Row& row) {
        return row[0] * (place.x - eye.x) + row[1] * (place.y - eye.y) + row[2] * (place.z - eye.z);
    };
    double most = 0.0;
    int seen = 0;
    for (int index = 0; index < 20'000; ++index) {
        const Position one = {between(kBox.low.x, kBox.high.x), between(kBox.low.y, kBox.high.y),
                              between(kBox.low.z, kBox.high.z)};
        const double angle = between(0, 6.3);
        const Position other = {one.x + 0.5 * std::cos(angle), one.y + 0.5 * std::sin(angle),
                                one.z + between(-0.2, 0.2)};
        const double across = see(one, x) / see(one, w);
        const double up = see(one, y) / see(one, w);
        if (std::abs(across) <= 1.0 && std::abs(up) <= 1.0) {
            ++seen;
            most = std::max({most, std::abs(across - see(other, x) / see(other, w)) * 500,
                             std::abs(up - see(other, y) / see(other, w)) * 500});
        }
    }
    ASSERT_GT(seen, 1000);
    const double bound = scale.FindPixels(kBox, 0.5, 0.2);
    EXPECT_LE(most, bound);
    EXPECT_GT(most, bound * 0.3) << "and it is no idle bound";

    EXPECT_TRUE(std::isinf(scale.FindPixels({{500'000, 4'499'000, 100}, {500'100, 4'500'100, 120}}, 0.5, 0.2)))
        << "some of it is behind the eye";
    const Extent far = {{500'000, 4'510'000, 100}, {500'100, 4'510'100, 120}};
    EXPECT_LT(scale.FindPixels(far, 0.5, 0.2), bound / 20);
}

} // namespace
} // namespace OrrinViewer
