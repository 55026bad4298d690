#include "overlay/TileMask.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace KTR;

int Covers(const std::vector<PixelRectangle>& rectangles, int x, int y) {
    int count = 0;
    for (const PixelRectangle& rectangle : rectangles) {
        count += x >= rectangle.left && x < rectangle.right && y >= rectangle.top && y < rectangle.bottom ? 1 : 0;
    }
    return count;
}

double DistanceToSegment(double x, double y, double x0, double y0, double x1, double y1) {
    const double dx = x1 - x0;
    const double dy = y1 - y0;
    const double length = dx * dx + dy * dy;
    const double along = length > 0.0 ? std::fmin(std::fmax(((x - x0) * dx + (y - y0) * dy) / length, 0.0), 1.0) : 0.0;
    return std::hypot(x - x0 - along * dx, y - y0 - along * dy);
}

// Whatever a line reaches is covered, once, and an oblique line does not take the box around it.
TEST(TileMask, CoversWhatSegmentsReachAndLittleElse) {
    constexpr int width = 517;
    constexpr int height = 333;
    unsigned int seed = 5;
    const auto next = [&seed](int range) {
        seed = seed * 1664525U + 1013904223U;
        return static_cast<double>((seed >> 8) % static_cast<unsigned int>(range)) - 60.0;
    };
    for (int round = 0; round < 40; ++round) {
        TileMask mask;
        mask.Resize(width, height);
        const double x0 = next(width + 120);
        const double y0 = round % 5 == 0 ? 100.0 : next(height + 120);
        const double x1 = round % 7 == 0 ? x0 : next(width + 120);
        const double y1 = round % 5 == 0 ? 100.0 : next(height + 120);
        mask.AddSegment(x0, y0, x1, y1, 3.0);
        const std::vector<PixelRectangle> rectangles = mask.Rectangles();
        constexpr double farthest = 3.0 + 1.5 * TileMask::kTilePixels;
        for (int y = 0; y < height; y += 3) {
            for (int x = 0; x < width; x += 3) {
                const double distance = DistanceToSegment(x + 0.5, y + 0.5, x0, y0, x1, y1);
                const int covers = Covers(rectangles, x, y);
                ASSERT_LE(covers, 1);
                ASSERT_TRUE(distance > 3.0 || covers == 1) << x << ", " << y << " in round " << round;
                ASSERT_TRUE(distance < farthest || covers == 0) << x << ", " << y << " in round " << round;
            }
        }
    }
}

TEST(TileMask, RectanglesStayInsideAndJoin) {
    TileMask mask;
    mask.Resize(100, 70);
    EXPECT_TRUE(mask.IsEmpty());
    mask.AddRectangle(-50.0, -50.0, 500.0, 500.0);
    EXPECT_EQ(mask.Rectangles(), (std::vector<PixelRectangle>{{0, 0, 100, 70}}));
    mask.Clear();
    mask.AddRectangle(100.0, 5.0, 120.0, 9.0);
    mask.AddRectangle(5.0, 70.0, 6.0, 90.0);
    mask.AddRectangle(-9.0, 5.0, -1.0, 9.0);
    mask.AddRectangle(std::numeric_limits<double>::quiet_NaN(), 0.0, 5.0, 5.0);
    mask.AddSegment(std::numeric_limits<double>::infinity(), 0.0, 5.0, 5.0, 1.0);
    EXPECT_TRUE(mask.IsEmpty());
    TileMask other;
    other.Resize(100, 70);
    other.AddRectangle(99.0, 69.0, 99.0, 69.0);
    mask.Add(other);
    EXPECT_EQ(mask.Rectangles(), (std::vector<PixelRectangle>{{96, 64, 100, 70}}));
    TileMask empty;
    empty.Resize(0, -5);
    empty.AddAll();
    empty.AddRectangle(0.0, 0.0, 1.0, 1.0);
    EXPECT_TRUE(empty.Rectangles().empty());
}

} // namespace
