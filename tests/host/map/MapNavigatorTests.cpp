#include "map/MapNavigator.h"

#include <gtest/gtest.h>

namespace {

using namespace OrrinViewer;

Extent Box(double left, double bottom, double right, double top) {
    Extent extent;
    extent.Include(Position{left, bottom, 0.0});
    extent.Include(Position{right, top, 0.0});
    return extent;
}

TEST(MapNavigator, FitShowsEverythingCentredAndUndistorted) {
    MapNavigator navigator;
    navigator.Resize(800, 400);
    navigator.Fit(Box(500'000, 4'500'000, 501'000, 4'502'000));
    const Extent area = navigator.VisibleArea();
    EXPECT_LT(area.low.y, 4'500'000);
    EXPECT_GT(area.high.y, 4'502'000);
    EXPECT_DOUBLE_EQ(area.Center().x, 500'500);
    EXPECT_DOUBLE_EQ(area.Center().y, 4'501'000);
    EXPECT_NEAR((area.high.x - area.low.x) / (area.high.y - area.low.y), 2.0, 1e-9);
}

TEST(MapNavigator, SinglePositionAndEmptyExtent_DoNoHarm) {
    MapNavigator navigator;
    navigator.Resize(0, -5);
    navigator.Fit(Extent{});
    navigator.Fit(Box(7, 8, 7, 8));
    EXPECT_DOUBLE_EQ(navigator.PositionAt(0.5, 0.5).x, 7);
    EXPECT_GT(navigator.UnitsPerPixel(), 0.0);
}

// The map must not slip away under the cursor while the wheel turns.
TEST(MapNavigator, ZoomKeepsThePositionUnderTheCursor) {
    MapNavigator navigator;
    navigator.Resize(1000, 700);
    navigator.Fit(Box(596'000, 243'000, 597'000, 244'000));
    const Position before = navigator.PositionAt(123, 456);
    for (int notch = 0; notch < 20; ++notch) {
        navigator.Zoom(1.25, 123, 456);
    }
    EXPECT_NEAR(navigator.PositionAt(123, 456).x, before.x, 1e-6);
    EXPECT_NEAR(navigator.PositionAt(123, 456).y, before.y, 1e-6);
    for (int notch = 0; notch < 2000; ++notch) {
        navigator.Zoom(1.25, 5, 5);
    }
    EXPECT_GT(navigator.UnitsPerPixel(), 0.0) << "zooming in has an end";
}

TEST(MapNavigator, PanMovesTheMapWithTheMouse) {
    MapNavigator navigator;
    navigator.Resize(100, 100);
    navigator.Fit(Box(0, 0, 100, 100));
    const Position grabbed = navigator.PositionAt(20, 30);
    navigator.Pan(15, -7);
    EXPECT_NEAR(navigator.PositionAt(35, 23).x, grabbed.x, 1e-9);
    EXPECT_NEAR(navigator.PositionAt(35, 23).y, grabbed.y, 1e-9);
    EXPECT_GT(navigator.PositionAt(0, 0).y, navigator.PositionAt(0, 99).y) << "north is up";
}

// Zooming by a drawn rectangle: all of it shows, in the middle, whatever its shape.
TEST(MapNavigator, ShownAreaFillsTheWindowInOneDirection) {
    MapNavigator navigator;
    navigator.Resize(300, 200);
    navigator.Fit(Box(0, 0, 1000, 1000));
    navigator.Show(Box(100, 100, 100, 100));
    EXPECT_DOUBLE_EQ(navigator.VisibleArea().Center().x, 500) << "a click is no rectangle";
    navigator.Show(Box(100, 100, 130, 200));
    EXPECT_DOUBLE_EQ(navigator.VisibleArea().low.y, 100);
    EXPECT_DOUBLE_EQ(navigator.VisibleArea().high.y, 200);
    EXPECT_DOUBLE_EQ(navigator.PixelAt({115, 150, 0}).x, 150);
    EXPECT_DOUBLE_EQ(navigator.PixelAt({115, 200, 0}).y, 0);
}

} // namespace
