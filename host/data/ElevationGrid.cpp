#include "ElevationGrid.h"

#include "Outliers.h"
#include "ReadingProgress.h"

#include <algorithm>
#include <memory>

namespace OrrinViewer {

namespace {

constexpr double kMostCells = 1e7;

/// The slope at the middle of three elevations in a row, from those that there are.
double FindSlope(double before, double middle, double after, double distance) {
    if (std::isnan(before) && std::isnan(after)) {
        return 0.0;
    }
    if (std::isnan(before)) {
        return (after - middle) / distance;
    }
    if (std::isnan(after)) {
        return (middle - before) / distance;
    }
    return (after - before) / (2.0 * distance);
}

/// At least one, at most as many as a grid may have in all.
std::size_t CountCellsAlong(double length, double cellSize) {
    const double count = std::floor(length / cellSize) + 1.0;
    return count >= 1.0 ? static_cast<std::size_t>(std::min(count, kMostCells)) : 1; // not for NaN
}

} // namespace

std::size_t ElevationGrid::CountCellsWithData() const {
    return static_cast<std::size_t>(
        std::count_if(elevations.begin(), elevations.end(), [](double elevation) { return !std::isnan(elevation); }));
}

double ElevationGrid::ElevationAt(double x, double y) const {
    const double column = std::floor((x - westX) / cellSize + 0.5);
    const double row = std::floor((northY - y) / cellSize + 0.5);
    const bool isInside =
        column >= 0.0 && row >= 0.0 && column < static_cast<double>(columns) && row < static_cast<double>(rows);
    return isInside ? At(static_cast<std::size_t>(column), static_cast<std::size_t>(row)) : kNoElevation;
}

double ElevationGrid::InterpolatedAt(double x, double y) const {
    if (std::isnan(ElevationAt(x, y))) {
        return kNoElevation;
    }
    const double column = std::clamp((x - westX) / cellSize, 0.0, static_cast<double>(columns - 1));
    const double row = std::clamp((northY - y) / cellSize, 0.0, static_cast<double>(rows - 1));
    const auto west = static_cast<std::size_t>(column);
    const auto north = static_cast<std::size_t>(row);
    const std::size_t east = std::min(west + 1, columns - 1);
    const std::size_t south = std::min(north + 1, rows - 1);
    const double eastShare = column - std::floor(column);
    const double southShare = row - std::floor(row);
    // std::lerp does not hand on what is not a number.
    const auto between = [](double from, double to, double share) { return from * (1.0 - share) + to * share; };
    const double elevation = between(between(At(west, north), At(east, north), eastShare),
                                     between(At(west, south), At(east, south), eastShare), southShare);
    return std::isnan(elevation) ? ElevationAt(x, y) : elevation;
}

Extent ElevationGrid::FindExtent() const {
    Extent extent;
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            if (HasData(column, row)) {
                extent.Include(PositionAt(column, row));
            }
        }
    }
    return extent;
}

std::vector<double> ElevationsWithData(const ElevationGrid& grid) {
    std::vector<double> elevations;
    for (const double elevation : grid.elevations) {
        if (!std::isnan(elevation)) {
            elevations.push_back(elevation);
        }
    }
    return elevations;
}

Position FindNormal(const ElevationGrid& grid, std::size_t column, std::size_t row) {
    const double middle = grid.At(column, row);
    const double west = column > 0 ? grid.At(column - 1, row) : kNoElevation;
    const double east = column + 1 < grid.columns ? grid.At(column + 1, row) : kNoElevation;
    const double north = row > 0 ? grid.At(column, row - 1) : kNoElevation;
    const double south = row + 1 < grid.rows ? grid.At(column, row + 1) : kNoElevation;
    const double eastward = FindSlope(west, middle, east, grid.cellSize);
    const double northward = FindSlope(south, middle, north, grid.cellSize);
    const double length = std::hypot(eastward, northward, 1.0);
    return {-eastward / length, -northward / length, 1.0 / length};
}

std::vector<std::array<GridCorner, 3>> FindTriangles(const ElevationGrid& grid) {
    std::vector<std::array<GridCorner, 3>> triangles;
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("making triangles");
    for (std::size_t row = 0; row + 1 < grid.rows; ++row) {
        progress->Reach(row, grid.rows);
        for (std::size_t column = 0; column + 1 < grid.columns; ++column) {
            // From the south-west, counter-clockwise.
            const std::array<GridCorner, 4> around = {
                {{column, row + 1}, {column + 1, row + 1}, {column + 1, row}, {column, row}}};
            std::array<GridCorner, 4> present;
            const auto end =
                std::copy_if(around.begin(), around.end(), present.begin(),
                             [&grid](const GridCorner& corner) { return grid.HasData(corner.column, corner.row); });
            const auto count = static_cast<std::size_t>(end - present.begin());
            for (std::size_t last = 2; last < count; ++last) {
                triangles.push_back({present[0], present[last - 1], present[last]});
            }
        }
    }
    return triangles;
}

ElevationGrid GridPoints(const PointCloud& cloud, double cellSize) {
    OutlierFinder outliers;
    for (const Position& position : cloud.positions) {
        outliers.Add(position);
    }
    // A stray point would make one cell of all others.
    const Extent extent = outliers.Find().extent;
    ElevationGrid grid;
    const double width = extent.high.x - extent.low.x;
    const double height = extent.high.y - extent.low.y;
    if (extent.IsEmpty() || !std::isfinite(width) || !std::isfinite(height)) {
        return grid;
    }
    const double finest =
        std::max(std::sqrt(width) * std::sqrt(height / kMostCells), std::max(width, height) / kMostCells);
    grid.cellSize = std::max(cellSize, finest);
    grid.columns = CountCellsAlong(width, grid.cellSize);
    grid.rows = CountCellsAlong(height, grid.cellSize);
    grid.westX = extent.low.x + grid.cellSize * 0.5;
    grid.northY = extent.high.y - grid.cellSize * 0.5;
    grid.elevations.assign(grid.columns * grid.rows, 0.0);
    std::vector<std::size_t> counts(grid.elevations.size(), 0);
    for (const Position& position : cloud.positions) {
        const bool isInside = position.x >= extent.low.x && position.x <= extent.high.x && position.y >= extent.low.y &&
                              position.y <= extent.high.y && position.z >= extent.low.z && position.z <= extent.high.z;
        if (!isInside) {
            continue;
        }
        const std::size_t column =
            std::min(CountCellsAlong(position.x - extent.low.x, grid.cellSize), grid.columns) - 1;
        const std::size_t row = std::min(CountCellsAlong(extent.high.y - position.y, grid.cellSize), grid.rows) - 1;
        grid.elevations[row * grid.columns + column] += position.z;
        ++counts[row * grid.columns + column];
    }
    for (std::size_t cell = 0; cell < counts.size(); ++cell) {
        grid.elevations[cell] =
            counts[cell] > 0 ? grid.elevations[cell] / static_cast<double>(counts[cell]) : kNoElevation;
    }
    return grid;
}

} // namespace OrrinViewer
