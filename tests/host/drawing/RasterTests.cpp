#include "drawing/ElevationRaster.h"
#include "drawing/RasterTiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace OrrinViewer {
namespace {

// A pixel that two tiles show, or none, is a seam across every large raster.
TEST(RasterTiles, EachPixelIsShownOnce_AndTexturesHoldTheNeighbours) {
    const struct {
        int width, height, largest;
        std::size_t tiles;
    } cases[] = {{5, 4, 5, 1}, {6, 4, 5, 2}, {23, 17, 7, 20}, {3, 9, 3, 9}};
    for (const auto& test : cases) {
        RasterImage image{test.width, test.height, {}};
        for (int pixel = 0; pixel < test.width * test.height; ++pixel) {
            const auto low = static_cast<std::uint8_t>(pixel % 256);
            image.rgba.insert(image.rgba.end(), {low, static_cast<std::uint8_t>(pixel / 256), 0, 255});
        }
        std::vector<int> shown(image.rgba.size() / 4, 0);
        const std::vector<RasterTile> tiles = SplitIntoTiles(test.width, test.height, test.largest);
        EXPECT_EQ(tiles.size(), test.tiles);
        for (const RasterTile& tile : tiles) {
            EXPECT_LE(std::max(tile.textureColumns, tile.textureRows), test.largest);
            EXPECT_EQ(tile.textureColumn, std::max(tile.column - (tiles.size() > 1 ? 1 : 0), 0));
            const std::vector<std::uint8_t> pixels = CopyTile(image, tile);
            ASSERT_EQ(pixels.size(), static_cast<std::size_t>(tile.textureColumns * tile.textureRows * 4));
            for (int row = tile.row; row < tile.row + tile.rows; ++row) {
                for (int column = tile.column; column < tile.column + tile.columns; ++column) {
                    const int pixel = row * test.width + column;
                    const int inTile = (row - tile.textureRow) * tile.textureColumns + column - tile.textureColumn;
                    ++shown[static_cast<std::size_t>(pixel)];
                    EXPECT_EQ(pixels[static_cast<std::size_t>(inTile) * 4], pixel % 256);
                }
            }
        }
        EXPECT_EQ(shown, std::vector<int>(shown.size(), 1)) << test.width;
    }
}

// Seen from far away: the raster stays in its place, and neither its edge nor its holes bleed.
TEST(RasterTiles, PyramidLevelsStayInPlaceAndDoNotBleed) {
    const RasterImage image{3, 2, {200, 0, 0, 255, 100, 0, 0, 255, 9, 9, 9, 255, 0, 0, 0, 0, 0, 0, 0, 0, 9, 9, 9, 255}};
    const RasterImage half = HalveImage(image);
    EXPECT_EQ(half.width, 2);
    EXPECT_EQ(half.height, 1);
    EXPECT_EQ(half.rgba, (std::vector<std::uint8_t>{150, 0, 0, 128, 9, 9, 9, 255}));

    Raster raster{{1001, 300, std::vector<std::uint8_t>(1001 * 300 * 4, 50)}, {2, 0, 0, -2, 500'000, 4'500'000}};
    const Extent extent = raster.FindExtent();
    const std::vector<Raster> levels = BuildPyramid(std::move(raster));
    ASSERT_EQ(levels.size(), 3U);
    for (const Raster& level : levels) {
        EXPECT_NEAR(level.FindExtent().high.x, extent.high.x, 1e-6);
        EXPECT_NEAR(level.FindExtent().low.y, extent.low.y, 1e-6);
    }
    EXPECT_EQ(ChoosePyramidLevel(levels, 0.0), 0U);
    EXPECT_EQ(ChoosePyramidLevel(levels, 3.0), 0U);
    EXPECT_EQ(ChoosePyramidLevel(levels, 4.0), 1U);
    EXPECT_EQ(ChoosePyramidLevel(levels, 1000.0), 2U);
}

// Cells without data must show what lies below, not the colour of elevation 0.
TEST(ElevationRaster, GridBecomesPixels_TransparentWhereNothingWasMeasured) {
    ElevationGrid grid;
    grid.columns = 3;
    grid.rows = 1;
    grid.cellSize = 10.0;
    grid.westX = 105.0;
    grid.northY = 205.0;
    grid.elevations = {0.0, kNoElevation, 50.0};
    const Raster raster = MakeElevationRaster(grid);
    EXPECT_EQ(raster.Corners()[0], (Position{100, 210, 0}));
    EXPECT_EQ(raster.Corners()[2], (Position{130, 200, 0}));
    ASSERT_EQ(raster.image.rgba.size(), 12U);
    EXPECT_EQ(raster.image.rgba[3], 255);
    EXPECT_EQ(raster.image.rgba[7], 0);
    EXPECT_LT(raster.image.rgba[0], raster.image.rgba[8]) << "higher ground is lighter";
}

} // namespace
} // namespace OrrinViewer
