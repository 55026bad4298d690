#pragma once

#include "PointCloud.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace OrrinViewer {

/// What a cell without a measured elevation holds.
constexpr double kNoElevation = std::numeric_limits<double>::quiet_NaN();

/// Elevations of square cells, north up. Each holds for the centre of its cell.
struct ElevationGrid {
    std::size_t columns = 0;
    std::size_t rows = 0;
    double cellSize = 1.0;          ///< in the units of the coordinates
    double westX = 0.0;             ///< centre of the first column
    double northY = 0.0;            ///< centre of the first row
    std::vector<double> elevations; ///< rows × columns, the northern row first

    double At(std::size_t column, std::size_t row) const { return elevations[row * columns + column]; }
    bool HasData(std::size_t column, std::size_t row) const { return !std::isnan(At(column, row)); }
    Position PositionAt(std::size_t column, std::size_t row) const {
        return {westX + static_cast<double>(column) * cellSize, northY - static_cast<double>(row) * cellSize,
                At(column, row)};
    }
    std::size_t CountCellsWithData() const;
    /// Whether cells are so small that they are fractions of a degree.
    bool MaybeInDegrees() const { return cellSize < 0.02; }
    /// The elevation of the cell at (x, y); none outside the grid.
    double ElevationAt(double x, double y) const;
    /// The elevation at (x, y) of the surface through the centres of the cells, to whose outer edges the outermost
    /// centres' elevations hold. Beside cells without data the
    /// elevation of the cell itself; none in such a cell and outside the grid.
    double InterpolatedAt(double x, double y) const;
    /// The box around the centres of all cells with data.
    Extent FindExtent() const;
};

/// The elevations of all cells that have one.
std::vector<double> ElevationsWithData(const ElevationGrid& grid);

/// Upward normal of the surface through the centres of the cells, of length one. Neighbours without data leave the
/// slope to those on the other side.
Position FindNormal(const ElevationGrid& grid, std::size_t column, std::size_t row);

/// One corner of a triangle, by its cell.
struct GridCorner {
    std::size_t column = 0;
    std::size_t row = 0;

    bool operator==(const GridCorner&) const = default;
};

/// The triangles between the centres of neighbouring cells, counter-clockwise from above. Cells without data leave a
/// hole no larger than it must be: where one corner of four is missing, the other three still make a triangle.
std::vector<std::array<GridCorner, 3>> FindTriangles(const ElevationGrid& grid);

/// The mean elevation of a cloud's points in each cell; a cell without points has no elevation. `cellSize` is enlarged
/// where the grid would have more than some ten million cells. Points far outside are left out. Without points, or with
/// an extent that no number holds, the grid is empty.
ElevationGrid GridPoints(const PointCloud& cloud, double cellSize);

} // namespace OrrinViewer
