#pragma once

#include "RasterTypes.h"

#include <glm/mat4x4.hpp>

#include <compare>
#include <cstddef>
#include <set>
#include <utility>
#include <vector>

namespace KTR {

/// Pixels that a tile shows each way. With its neighbours' outermost pixels around it a tile's texture has sides of a
/// power of two, which every driver takes.
inline constexpr int kTileSide = 254;

/// A square of one level of a raster. The tile at (column, row) of a level covers the four at (2 column, 2 row) and up
/// of the level below it.
struct RasterTile {
    int level = 0;
    int column = 0;
    int row = 0;
    // The tool takes the zero that the compiler compares with for a pointer.
    auto operator<=>(const RasterTile&) const = default; // NOLINT(modernize-use-nullptr)

    RasterTile Parent() const { return {level + 1, column / 2, row / 2}; }
};

/// A rectangle in pixels of the raster, from its upper left corner.
struct RasterArea {
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
};

/// The levels and tiles of a raster of a size. Level 0 is the raster; each further one has half as many pixels each
/// way, rounded up, and each of its pixels stands for 2 × 2 below. The last level is a single tile.
class RasterGrid {
public:
    /// Sizes are positive.
    RasterGrid(int width, int height);

    int LevelCount() const { return m_levelCount; }
    int LevelWidth(int level) const { return SizeAt(m_width, level); }
    int LevelHeight(int level) const { return SizeAt(m_height, level); }
    RasterTile Root() const { return {m_levelCount - 1, 0, 0}; }
    bool Contains(const RasterTile& tile) const;
    /// What of the raster a tile shows.
    RasterArea AreaOf(const RasterTile& tile) const;
    /// What its texture holds: its pixels, and one more on each side where the level goes on, so that a smoothing
    /// filter finds at its edge what its neighbour has there.
    GLRasterWindow WindowOf(const RasterTile& tile) const;

private:
    static int SizeAt(int size, int level);

    int m_width;
    int m_height;
    int m_levelCount = 1;
};

/// From where a raster is seen.
struct RasterCamera {
    GLRasterPlacement placement;
    double z = 0.0;
    glm::dmat4 modelToClip{1.0};
    double widthPixels = 0.0;
    double heightPixels = 0.0;

    PointXYZ PlaceOf(double column, double row) const {
        return {placement.originX + placement.columnX * column + placement.rowX * row,
                placement.originY + placement.columnY * column + placement.rowY * row, z};
    }
};

/// The tiles that cover what is seen of a raster, none of them twice, each of the last level whose pixels are no larger
/// than the window's; what is nearest to the window's middle comes first. Where these were more than `maximum`, coarser
/// ones.
std::vector<RasterTile> SelectTiles(const RasterGrid& grid, const RasterCamera& camera, std::size_t maximum);

/// These tiles and coarser ones above them, every second level and the last: what to read, in this order. The coarse
/// ones are few and soon there, to stand in for the others.
std::vector<RasterTile> ReadingOrder(const RasterGrid& grid, const std::vector<RasterTile>& tiles);

/// The corners of tiles that lie beside each other, in pixels of the raster. Where tiles of different levels meet,
/// those of the finer ones are corners of the coarser one too: edges that are the same are drawn the same, and no pixel
/// falls between them.
class TileOutlines {
public:
    TileOutlines(const RasterGrid& grid, const std::vector<RasterTile>& tiles);

    /// From the upper left corner on, clockwise.
    std::vector<PointXY> OutlineOf(const RasterTile& tile) const;

private:
    const RasterGrid& m_grid;
    bool m_mixed = false; ///< of more than one level
    std::set<std::pair<double, double>> m_byColumn;
    std::set<std::pair<double, double>> m_byRow;
};

/// A corner of a piece that two rasters share, in pixels of each.
struct SharedCorner {
    double firstColumn = 0.0;
    double firstRow = 0.0;
    double secondColumn = 0.0;
    double secondRow = 0.0;
};

/// A piece of one raster's tile under one tile of a second raster.
struct SharedPiece {
    std::vector<SharedCorner> corners; ///< of a convex polygon, in order
    bool isShared = false;             ///< the second raster is there
    RasterTile second;                 ///< where it is
};

/// Cuts the outline of a raster's tile along the tiles `secondTiles` of another one. What lies beside that, or where
/// the second raster has none of these tiles, comes out as pieces of the first alone.
std::vector<SharedPiece> CutAlongTiles(const std::vector<PointXY>& outline, const GLRasterPlacement& first,
                                       const RasterGrid& secondGrid, const GLRasterPlacement& second,
                                       const std::vector<RasterTile>& secondTiles);

} // namespace KTR
