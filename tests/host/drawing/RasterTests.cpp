#include "drawing/ComputedRelief.h"
#include "drawing/ElevationImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace OrrinViewer {
namespace {

ElevationGrid Grid(std::size_t columns, std::size_t rows, std::vector<double> elevations) {
    ElevationGrid grid;
    grid.columns = columns;
    grid.rows = rows;
    grid.cellSize = 10.0;
    grid.westX = 105.0;
    grid.northY = 205.0;
    grid.elevations = std::move(elevations);
    return grid;
}

// Cells without data must show what lies below, not the colour of elevation 0, and stand where they were measured.
TEST(ElevationImages, ValuesLieWhereTheCellsAre) {
    const ElevationGrid grid = Grid(3, 1, {0.0, kNoElevation, 50.0});
    const PixelToMap place = PlaceCells(grid);
    EXPECT_EQ(place.At(0, 0), (Position{100, 210, 0}));
    EXPECT_EQ(place.At(3, 1), (Position{130, 200, 0}));
    const std::vector<float> values = ElevationValues(grid);
    ASSERT_EQ(values.size(), 3U);
    EXPECT_EQ(values[2], 50.0F);
    EXPECT_TRUE(std::isnan(values[1]));
}

// Lit from below a hill looks like a hole.
TEST(ElevationImages, HillshadeIsLitFromTheNorthWest) {
    const std::vector<std::uint8_t> flat = MakeHillshade(Grid(2, 2, {7, 7, 7, 7}), 3.0);
    EXPECT_EQ(flat, (std::vector<std::uint8_t>{255, 255, 255, 255, 255, 255, 255, 255})) << "as it is";
    // A ridge from south west to north east; the last cell was not measured.
    const std::vector<std::uint8_t> ridge = MakeHillshade(Grid(3, 3, {0, 5, 10, 5, 10, 5, 10, 5, kNoElevation}), 1.0);
    EXPECT_EQ(ridge[0], 255) << "towards the sun";
    EXPECT_LT(ridge[(1 * 3 + 2) * 2], 200) << "away from it";
    EXPECT_EQ(ridge[8 * 2 + 1], 0);
    EXPECT_LT(MakeHillshade(Grid(3, 3, {0, 5, 10, 5, 10, 5, 10, 5, 0}), 3.0)[10], ridge[10]) << "heights exaggerated";
}

// Zoomed out, the relief must be the mean of what it is near by, or it flickers as one moves.
TEST(ComputedRelief, CoarserLevelsAreTheMeansOfFinerOnes) {
    constexpr int kSide = 40;
    for (int level = 0; level < 14; level += 3) {
        std::vector<float> fine(4 * kSide * kSide);
        std::vector<float> coarse(kSide * kSide);
        ComputeRelief(level, 2 * 700, 2 * 300, 2 * kSide, 2 * kSide, fine.data());
        ComputeRelief(level + 1, 700, 300, kSide, kSide, coarse.data());
        float lowest = coarse.front();
        float highest = coarse.front();
        for (std::size_t index = 0; index < coarse.size(); ++index) {
            const std::size_t first = index / kSide * 4 * kSide + index % kSide * 2;
            const float mean =
                (fine[first] + fine[first + 1] + fine[first + 2 * kSide] + fine[first + 2 * kSide + 1]) / 4.0F;
            ASSERT_NEAR(coarse[index], mean, 0.01F) << level;
            lowest = std::fmin(lowest, coarse[index]);
            highest = std::fmax(highest, coarse[index]);
        }
        EXPECT_GT(highest - lowest, 5.0F);
        EXPECT_GE(lowest, kComputedLow);
        EXPECT_LE(highest, kComputedHigh);
    }
}

} // namespace
} // namespace OrrinViewer
