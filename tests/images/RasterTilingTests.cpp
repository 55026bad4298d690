#include "images/RasterTiling.h"

#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace {

using namespace KTR;

constexpr int kLarge = 100'000;
constexpr std::size_t kAny = 1'000;

/// A map of so many model units around a point, in a window of 800 × 600 pixels.
RasterCamera Map(double x, double y, double widthUnits, double rotationDegrees = 0.0) {
    RasterCamera camera;
    camera.widthPixels = 800.0;
    camera.heightPixels = 600.0;
    const double halfWidth = widthUnits / 2.0;
    const double halfHeight = halfWidth * 0.75;
    camera.modelToClip = glm::ortho(-halfWidth, halfWidth, -halfHeight, halfHeight, -1.0, 1.0) *
                         glm::rotate(glm::dmat4(1.0), glm::radians(rotationDegrees), glm::dvec3(0.0, 0.0, 1.0)) *
                         glm::translate(glm::dmat4(1.0), glm::dvec3(-x, -y, 0.0));
    return camera;
}

/// The place of a window's pixel in the raster.
std::pair<double, double> PixelOfRaster(const RasterCamera& camera, double x, double y) {
    const glm::dvec4 model = glm::inverse(camera.modelToClip) * glm::dvec4(x / 400.0 - 1.0, y / 300.0 - 1.0, 0.0, 1.0);
    const GLRasterPlacement& p = camera.placement;
    const double determinant = p.columnX * p.rowY - p.rowX * p.columnY;
    const double dx = model.x - p.originX;
    const double dy = model.y - p.originY;
    return {(p.rowY * dx - p.rowX * dy) / determinant, (p.columnX * dy - p.columnY * dx) / determinant};
}

/// How many of the tiles hold a place of the raster.
int CountAt(const RasterGrid& grid, const std::vector<RasterTile>& tiles, double column, double row) {
    return static_cast<int>(std::count_if(tiles.begin(), tiles.end(), [&](const RasterTile& tile) {
        const RasterArea area = grid.AreaOf(tile);
        return column >= area.left && column < area.right && row >= area.top && row < area.bottom;
    }));
}

TEST(RasterGrid, LevelsHalveUpToOneTile) {
    const RasterGrid grid(kLarge, 1001);
    EXPECT_EQ(grid.LevelCount(), 10);
    EXPECT_EQ(grid.LevelWidth(1), 50'000);
    EXPECT_EQ(grid.LevelHeight(1), 501);
    EXPECT_EQ(grid.LevelWidth(9), 196);
    EXPECT_EQ(grid.Root(), (RasterTile{9, 0, 0}));
    EXPECT_EQ(RasterGrid(254, 1).LevelCount(), 1);
    EXPECT_EQ(RasterGrid(255, 1).LevelCount(), 2);
    const RasterGrid largest(std::numeric_limits<int>::max(), 1);
    EXPECT_EQ(largest.LevelCount(), 25);
    const RasterTile last{0, (std::numeric_limits<int>::max() - 1) / kTileSide, 0};
    ASSERT_TRUE(largest.Contains(last));
    EXPECT_EQ(largest.WindowOf(last).x + largest.WindowOf(last).width, std::numeric_limits<int>::max());
}

// A seam between tiles would show as a line across the map.
TEST(RasterGrid, WindowsHoldTheTileAndItsNeighboursPixels) {
    const RasterGrid grid(600, 300);
    EXPECT_EQ(grid.WindowOf({0, 0, 0}), (GLRasterWindow{0, 0, 0, 255, 255}));
    EXPECT_EQ(grid.WindowOf({0, 1, 0}), (GLRasterWindow{0, 253, 0, 256, 255}));
    EXPECT_EQ(grid.WindowOf({0, 2, 1}), (GLRasterWindow{0, 507, 253, 93, 47}));
    EXPECT_EQ(grid.WindowOf({1, 1, 0}), (GLRasterWindow{1, 253, 0, 47, 150}));
    const RasterArea area = grid.AreaOf({1, 1, 0});
    EXPECT_EQ(area.left, 508.0);
    EXPECT_EQ(area.right, 600.0);
    EXPECT_EQ(area.bottom, 300.0);
    EXPECT_FALSE(grid.Contains({0, 3, 0}));
    EXPECT_FALSE(grid.Contains({2, 1, 0}));
}

struct SceneCase {
    const char* name;
    RasterCamera camera;
    int level; ///< of all tiles; -1 where they differ
    std::size_t most;
};

RasterCamera Placed(RasterCamera camera, const GLRasterPlacement& placement) {
    camera.placement = placement;
    return camera;
}

class SeenTiles : public testing::TestWithParam<SceneCase> {};

// Each pixel of the window finds one tile, whose pixels are no larger than it and no smaller than half of it.
TEST_P(SeenTiles, CoverTheWindowOnceAtTheLevelThatItNeeds) {
    const RasterCamera& camera = GetParam().camera;
    const RasterGrid grid(kLarge, kLarge);
    const std::vector<RasterTile> tiles = SelectTiles(grid, camera, kAny);
    EXPECT_LE(tiles.size(), GetParam().most);
    EXPECT_GE(tiles.size(), 1U);
    for (const RasterTile& tile : tiles) {
        EXPECT_TRUE(grid.Contains(tile));
        EXPECT_TRUE(GetParam().level < 0 || tile.level == GetParam().level) << tile.level;
    }
    for (int x = 1; x < 800; x += 37) {
        for (int y = 1; y < 600; y += 41) {
            const auto [column, row] = PixelOfRaster(camera, x, y);
            const bool inside = column >= 0.0 && row >= 0.0 && column < kLarge && row < kLarge;
            ASSERT_EQ(CountAt(grid, tiles, column, row), inside ? 1 : 0) << column << ", " << row;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Views, SeenTiles,
    testing::Values(SceneCase{"All", Map(50'000, -50'000, 210'000), 8, 4}, SceneCase{"Corner", Map(0, 0, 800), 0, 4},
                    SceneCase{"OneToOne", Map(50'123.4, -60'000.7, 800), 0, 20},
                    SceneCase{"Enlarged", Map(50'123.4, -60'000.7, 8), 0, 1},
                    SceneCase{"HalfScale", Map(50'123.4, -60'000.7, 1'600), 1, 20},
                    SceneCase{"AlmostHalfScale", Map(50'123.4, -60'000.7, 1'560), 0, 48},
                    SceneCase{"RotatedView", Map(30'000, -30'000, 3'200, 33.0), 2, 30},
                    SceneCase{"RotatedRaster",
                              Placed(Map(500'000, 4'500'000, 400), {0.3, 0.4, 0.4, -0.3, 480'000, 4'500'000}), 0, 30},
                    SceneCase{"UprightRaster",
                              Placed(Map(500'000, 4'500'000, 4'000), {2.0, 0.0, 0.0, 2.0, 480'000, 4'480'000}), 1, 30},
                    SceneCase{"FlatPixels", Placed(Map(30'000, -3'000, 800), {1.0, 0.0, 0.0, -0.1, 0, 0}), 0, 200}),
    [](const auto& test) { return test.param.name; });

TEST(RasterTiles, NothingIsSeenBesideTheRaster) {
    const RasterGrid grid(kLarge, kLarge);
    EXPECT_TRUE(SelectTiles(grid, Map(-5'000, 0, 800), kAny).empty());
    RasterCamera camera = Map(500, -500, 800);
    camera.z = 5.0; // beyond the far plane
    EXPECT_TRUE(SelectTiles(grid, camera, kAny).empty());
    camera = Map(500, -500, 800);
    camera.modelToClip[0][0] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(SelectTiles(grid, camera, kAny).empty());
    camera = Map(500, -500, 800);
    camera.modelToClip = glm::dmat4(0.0);
    EXPECT_LE(SelectTiles(grid, camera, kAny).size(), kAny);
}

// Looking to the horizon: near tiles are fine, far ones coarse, and all of them few.
TEST(RasterTiles, PerspectiveTakesCoarserTilesFarAway) {
    RasterCamera camera;
    camera.widthPixels = 800.0;
    camera.heightPixels = 600.0;
    camera.modelToClip =
        glm::perspective(glm::radians(45.0), 4.0 / 3.0, 1.0, 200'000.0) *
        glm::lookAt(glm::dvec3(50'000, -90'000, 300), glm::dvec3(50'000, -88'000, 0), glm::dvec3(0.0, 0.0, 1.0));
    const RasterGrid grid(kLarge, kLarge);
    const std::vector<RasterTile> tiles = SelectTiles(grid, camera, kAny);
    std::set<int> levels;
    for (const RasterTile& tile : tiles) {
        levels.insert(tile.level);
    }
    EXPECT_TRUE(levels.contains(0));
    EXPECT_GE(*levels.rbegin(), 4);
    EXPECT_LE(tiles.size(), 400U);
    EXPECT_EQ(CountAt(grid, tiles, 50'000, 89'000), 1);
    EXPECT_EQ(CountAt(grid, tiles, 50'000, 20'000), 1);
}

// Where a coarse tile meets finer ones its edge has their corners; a corner in the middle of another's edge leaves
// gaps.
TEST(RasterTiles, OutlinesOfNeighboursHaveTheSameCorners) {
    const RasterGrid grid(1'500, 1'300);
    const std::vector<RasterTile> tiles = {{1, 1, 0}, {1, 0, 1}, {1, 1, 1}, {1, 2, 1}, {0, 0, 0}, {0, 1, 0},
                                           {0, 0, 1}, {0, 1, 1}, {0, 4, 0}, {0, 5, 0}, {0, 4, 1}, {0, 5, 1}};
    const TileOutlines outlines(grid, tiles);
    std::map<std::pair<double, double>, int> corners;
    for (const RasterTile& tile : tiles) {
        for (const PointXY& corner : outlines.OutlineOf(tile)) {
            ++corners[{corner.x, corner.y}];
        }
    }
    for (const auto& [corner, count] : corners) {
        int touching = 0;
        for (const RasterTile& tile : tiles) {
            const RasterArea area = grid.AreaOf(tile);
            touching += corner.first >= area.left && corner.first <= area.right && corner.second >= area.top &&
                                corner.second <= area.bottom
                            ? 1
                            : 0;
        }
        EXPECT_EQ(count, touching) << corner.first << ", " << corner.second;
    }
    EXPECT_EQ(outlines.OutlineOf({1, 1, 0}).size(), 6U) << "finer ones on both sides";
    EXPECT_EQ(TileOutlines(grid, {{0, 0, 0}, {0, 1, 0}}).OutlineOf({0, 0, 0}).size(), 4U);
}

TEST(RasterTiles, AreNoMoreThanThereIsRoomFor) {
    const RasterGrid grid(kLarge, kLarge);
    const RasterCamera camera = Map(50'123.4, -60'000.7, 800);
    for (const std::size_t maximum : {16U, 5U, 1U, 0U}) {
        const std::vector<RasterTile> tiles = SelectTiles(grid, camera, maximum);
        EXPECT_LE(tiles.size(), std::max<std::size_t>(maximum, 1));
        const auto [column, row] = PixelOfRaster(camera, 700, 500);
        EXPECT_EQ(CountAt(grid, tiles, column, row), 1) << maximum;
    }
}

// What is in the middle is read first, and before that a few coarse tiles that can stand in for everything.
TEST(RasterTiles, AreReadCoarseOnesFirstThenFromTheMiddle) {
    const RasterGrid grid(kLarge, kLarge);
    const std::vector<RasterTile> tiles = SelectTiles(grid, Map(50'000, -50'000, 800), kAny);
    const std::vector<RasterTile> order = ReadingOrder(grid, tiles);
    EXPECT_EQ(order.front(), grid.Root());
    EXPECT_LE(order.size(), tiles.size() + 15);
    EXPECT_TRUE(std::equal(tiles.begin(), tiles.end(), order.end() - static_cast<std::ptrdiff_t>(tiles.size())));
    const RasterArea first = grid.AreaOf(tiles.front());
    EXPECT_TRUE(first.left <= 50'000 && first.right >= 50'000 && first.top <= 50'000 && first.bottom >= 50'000);
    EXPECT_EQ(std::set<RasterTile>(order.begin(), order.end()).size(), order.size());
}

double AreaOf(const std::vector<SharedCorner>& corners) {
    double twice = 0.0;
    for (std::size_t index = 0; index < corners.size(); ++index) {
        const SharedCorner& one = corners[index];
        const SharedCorner& next = corners[(index + 1) % corners.size()];
        twice += one.firstColumn * next.firstRow - next.firstColumn * one.firstRow;
    }
    return twice / 2.0;
}

// A hillshade of another grid over an image: the pieces fill the image's tile, and each lies in one tile of the other.
TEST(SharedPieces, FillTheTileAndLieInOneTileEach) {
    const RasterGrid second(5'000, 4'000);
    const GLRasterPlacement first{2.0, 0.0, 0.0, -2.0, 500'000, 4'500'000};
    // A corner of a finer neighbour lies on the upper edge.
    const std::vector<PointXY> outline = {
        {254.0, 508.0}, {381.0, 508.0}, {508.0, 508.0}, {508.0, 762.0}, {254.0, 762.0}};
    const struct {
        const char* name;
        GLRasterPlacement placement;
        double share; ///< of the tile that the second raster covers
    } cases[] = {{"Same", first, 1.0},
                 {"Finer", {0.3, 0.0, 0.0, -0.3, 500'000, 4'500'000}, 0.362},
                 {"Rotated", {1.1, 0.9, 0.8, -1.2, 499'000, 4'499'000}, 1.0},
                 {"HalfBeside", {2.0, 0.0, 0.0, -2.0, 500'762, 4'500'000}, 0.5},
                 {"FarAway", {2.0, 0.0, 0.0, -2.0, 900'000, 4'500'000}, 0.0},
                 {"WithoutArea", {1.0, 1.0, 1.0, 1.0, 0.0, 0.0}, 0.0}};
    for (const auto& test : cases) {
        // One of the tiles of level 2 in finer ones, and one of those in finer ones still.
        std::vector<RasterTile> tiles = {{1, 0, 0}, {1, 1, 0}, {1, 1, 1}, {0, 0, 2}, {0, 1, 2}, {0, 0, 3}, {0, 1, 3}};
        for (int tile = 1; tile < 20; ++tile) {
            tiles.push_back({2, tile % 5, tile / 5});
        }
        double all = 0.0;
        double shared = 0.0;
        for (const SharedPiece& piece : CutAlongTiles(outline, first, second, test.placement, tiles)) {
            const double pieceArea = AreaOf(piece.corners);
            EXPECT_GE(pieceArea, 0.0) << test.name;
            all += pieceArea;
            if (!piece.isShared) {
                continue;
            }
            shared += pieceArea;
            const RasterArea there = second.AreaOf(piece.second);
            for (const SharedCorner& corner : piece.corners) {
                EXPECT_GE(corner.secondColumn, there.left - 1e-6) << test.name;
                EXPECT_LE(corner.secondColumn, there.right + 1e-6) << test.name;
                EXPECT_GE(corner.secondRow, there.top - 1e-6) << test.name;
                EXPECT_LE(corner.secondRow, there.bottom + 1e-6) << test.name;
                const auto x = [&](const GLRasterPlacement& p, double column, double row) {
                    return p.originX + p.columnX * column + p.rowX * row;
                };
                EXPECT_NEAR(x(first, corner.firstColumn, corner.firstRow),
                            x(test.placement, corner.secondColumn, corner.secondRow), 1e-5)
                    << test.name;
            }
        }
        EXPECT_NEAR(all, 254.0 * 254.0, 1e-3) << test.name;
        EXPECT_NEAR(shared / all, test.share, 0.01) << test.name;
    }
    EXPECT_EQ(CutAlongTiles(outline, first, second, first, {}).size(), 1U) << "none of its tiles is seen";
}

} // namespace
