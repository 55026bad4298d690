#include "data/ElevationGrid.h"

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

} // namespace
} // namespace OrrinViewer
