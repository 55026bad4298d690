#include "map/OrbitNavigator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

using namespace OrrinViewer;

Extent Box(double width, double depth, double height) {
    Extent extent;
    extent.Include(Position{500'000, 4'500'000, 10});
    extent.Include(Position{500'000 + width, 4'500'000 + depth, 10 + height});
    return extent;
}

double Length(const Position& position) {
    return std::hypot(position.x, position.y, position.z);
}

// Whatever the shape of scene and window, no corner may be outside the frame, and the scene should nearly fill it.
TEST(OrbitNavigator, FitShowsAllCornersAndNotMuchMore) {
    for (const auto& [width, height] : {std::pair{800, 400}, {300, 900}}) {
        for (const Extent& extent : {Box(1000, 1000, 50), Box(10, 3000, 5), Box(20, 10, 400)}) {
            OrbitNavigator navigator;
            navigator.Resize(width, height);
            navigator.Fit(extent, 2.0);
            const Position eye = navigator.Eye();
            const double distance = Length(eye);
            const Position ahead{-eye.x / distance, -eye.y / distance, -eye.z / distance};
            const double level = std::hypot(ahead.x, ahead.y);
            const Position right{ahead.y / level, -ahead.x / level, 0.0};
            const double halfTangent = std::tan(OrbitNavigator::kFieldOfViewDegrees * std::numbers::pi / 360.0);
            double farthestOut = 0.0;
            for (int corner = 0; corner < 8; ++corner) {
                const Position center = extent.Center();
                const double x = ((corner & 1) ? extent.high.x : extent.low.x) - center.x - eye.x;
                const double y = ((corner & 2) ? extent.high.y : extent.low.y) - center.y - eye.y;
                const double z = (((corner & 4) ? extent.high.z : extent.low.z) - center.z) * 2.0 - eye.z;
                const double along = x * ahead.x + y * ahead.y + z * ahead.z;
                const double across = x * right.x + y * right.y;
                const double up = std::sqrt(std::max(0.0, x * x + y * y + z * z - along * along - across * across));
                EXPECT_GE(along, navigator.NearDistance());
                EXPECT_LE(along, navigator.FarDistance());
                farthestOut = std::max(farthestOut, up / along / halfTangent);
                farthestOut = std::max(farthestOut, std::abs(across) / along / halfTangent * height / width);
            }
            EXPECT_LE(farthestOut, 1.0);
            EXPECT_GE(farthestOut, 0.85);
        }
    }
}

TEST(OrbitNavigator, DraggingRotatesAndNeverTipsOver) {
    OrbitNavigator navigator;
    navigator.Resize(800, 600);
    navigator.Fit(Box(1000, 1000, 50), 1.0);
    const double distance = Length(navigator.Eye());
    EXPECT_LT(navigator.Eye().y, 0.0) << "first seen from the south";
    navigator.Orbit(450, 0);
    EXPECT_GT(navigator.Eye().y, 0.0) << "half a turn";
    navigator.Orbit(-10'000, 10'000);
    EXPECT_GE(navigator.AzimuthDegrees(), 0.0);
    EXPECT_LT(navigator.ElevationDegrees(), 90.0);
    EXPECT_GT(std::hypot(navigator.Eye().x, navigator.Eye().y), 0.0) << "north keeps a direction";
    navigator.Orbit(0, -10'000);
    EXPECT_GT(navigator.Eye().z, 0.0) << "not below the ground";
    EXPECT_NEAR(Length(navigator.Eye()), distance, distance * 1e-12) << "turning alone comes no closer";
}

TEST(OrbitNavigator, ZoomHasLimitsAndDepthsStayUsable) {
    OrbitNavigator navigator;
    navigator.Resize(0, -1);
    navigator.Fit(Extent{}, 1.0);
    navigator.Fit(Box(0, 0, 0), 1.0);
    for (const double factor : {1.25, 0.8}) {
        for (int notch = 0; notch < 500; ++notch) {
            navigator.Zoom(factor);
        }
        EXPECT_GT(navigator.NearDistance(), 0.0);
        EXPECT_LT(navigator.NearDistance(), navigator.FarDistance());
        EXPECT_LT(navigator.FarDistance() / navigator.NearDistance(), 5000.0);
        EXPECT_TRUE(std::isfinite(Length(navigator.Eye())));
    }
}

} // namespace
