#include "data/ElevationGrid.h"
#include "data/Outliers.h"

#include <gtest/gtest.h>

#include <cmath>

namespace OrrinViewer {
namespace {

TEST(ElevationGrid, NormalsOfAPlane_AreItsOwnUpToTheEdges) {
    // z = 2x + y: the normal of every cell is (-2, -1, 1), at the edges too.
    const ElevationGrid grid{3, 2, 10.0, 500'005.0, 4'500'015.0, {10, 30, 50, 0, 20, 40}};
    for (std::size_t cell = 0; cell < 6; ++cell) {
        const Position normal = FindNormal(grid, cell % 3, cell / 3);
        EXPECT_NEAR(normal.x, -2 / std::sqrt(6.0), 1e-12);
        EXPECT_NEAR(normal.y, -1 / std::sqrt(6.0), 1e-12);
    }
}

TEST(ElevationGrid, PointsOfACell_AreAveraged) {
    PointCloud cloud;
    cloud.positions = {{100, 195, 1}, {101, 195, 3}, {125, 200, 7}, {130, 220, 9}};
    for (const Position& position : cloud.positions) {
        cloud.extent.Include(position);
    }
    const ElevationGrid grid = GridPoints(cloud, 10);
    EXPECT_EQ(grid.columns, 4U);
    EXPECT_EQ(grid.rows, 3U);
    EXPECT_EQ(grid.ElevationAt(104, 196), 2) << "the mean of two";
    EXPECT_EQ(grid.ElevationAt(125, 200), 7);
    EXPECT_EQ(grid.ElevationAt(130, 220), 9) << "the point on the outermost edge";
    EXPECT_EQ(grid.CountCellsWithData(), 3U);
}

// A cell of no size, an extent that no number holds: once a crash behind the end of the cells.
TEST(ElevationGrid, AbsurdExtentsMakeNoGridOrACoarseOne) {
    PointCloud cloud;
    cloud.positions = {{-1.7e308, 0, 1}, {1.7e308, 1, 2}};
    EXPECT_EQ(GridPoints(cloud, 1.0).elevations.size(), 0U);
    cloud.positions = {{-1e12, -1e12, 1}, {1e12, 1e12, 2}};
    const ElevationGrid grid = GridPoints(cloud, 1e-300);
    EXPECT_LT(grid.elevations.size(), 20'000'000U);
    EXPECT_EQ(grid.CountCellsWithData(), 2U);
}

TEST(ElevationGrid, HeightsBetweenCentresAreInterpolated) {
    const ElevationGrid grid{3, 2, 10.0, 5.0, 15.0, {10, 20, kNoElevation, 30, 40, 50}};
    EXPECT_EQ(grid.InterpolatedAt(5, 15), 10);
    EXPECT_EQ(grid.InterpolatedAt(10, 10), 25);
    EXPECT_EQ(grid.InterpolatedAt(1, 19), 10) << "the outer half of a cell";
    EXPECT_EQ(grid.InterpolatedAt(18, 14), 20) << "beside a cell without data";
    EXPECT_TRUE(std::isnan(grid.InterpolatedAt(26, 16)));
    EXPECT_TRUE(std::isnan(grid.InterpolatedAt(31, 10)));
}

/// A hundred thousand points of a square kilometre, by now and then one somewhere else.
CoreExtent FindCore(const std::vector<Position>& strays, int count = 110'000) {
    OutlierFinder finder;
    for (int index = 0; index < count; ++index) {
        finder.Add({500'000.0 + index % 331, 4'500'000.0 + index / 331, 100.0 + index % 7});
        if (index % 500 == 250 && static_cast<std::size_t>(index / 500) < strays.size()) {
            finder.Add(strays[static_cast<std::size_t>(index / 500)]);
        }
    }
    return finder.Find();
}

// One echo from a cloud, or a record of zeros, made a dot of everything else.
TEST(Outliers, FewFarAwayAreCountedAndLeftOut) {
    const CoreExtent core = FindCore({{0, 0, 0}, {500'100, 4'500'100, 90'000}, {900'000, 4'500'000, 100}});
    EXPECT_EQ(core.outside, 3U);
    EXPECT_EQ(core.extent.low, (Position{500'000, 4'500'000, 100}));
    EXPECT_EQ(core.extent.high, (Position{500'330, 4'500'332, 106}));
    // Where they are many they are a place of their own.
    EXPECT_EQ(FindCore(std::vector<Position>(109, {0, 0, 0})).outside, 109U);
    EXPECT_EQ(FindCore(std::vector<Position>(40, {0, 0, 0}), 40'000).outside, 40U);
    const CoreExtent two = FindCore(std::vector<Position>(30, {0, 0, 0}), 20'000);
    EXPECT_EQ(two.outside, 0U);
    EXPECT_EQ(two.extent.low.x, 0.0);
    EXPECT_EQ(FindCore({{500'100, 4'502'000, 150}}).outside, 0U) << "a tower, and a village nearby";
}

} // namespace
} // namespace OrrinViewer
