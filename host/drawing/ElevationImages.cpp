#include "ElevationImages.h"

#include <algorithm>
#include <cmath>

namespace OrrinViewer {

namespace {

/// Towards the sun, of length one: from the north west, as maps are shaded, 45 degrees high.
constexpr Position kSun{-0.5, 0.5, 0.70710678118654752};

std::uint8_t LightOn(const Position& normal, double exaggeration) {
    const double eastward = normal.x * exaggeration;
    const double northward = normal.y * exaggeration;
    const double length = std::hypot(eastward, northward, normal.z);
    const double light = (eastward * kSun.x + northward * kSun.y + normal.z * kSun.z) / length;
    return static_cast<std::uint8_t>(std::lround(std::clamp(light / kSun.z, 0.0, 1.0) * 255.0));
}

} // namespace

PixelToMap PlaceCells(const ElevationGrid& grid) {
    const double half = grid.cellSize * 0.5;
    return {grid.cellSize, 0.0, 0.0, -grid.cellSize, grid.westX - half, grid.northY + half};
}

std::vector<float> ElevationValues(const ElevationGrid& grid) {
    std::vector<float> values;
    values.reserve(grid.elevations.size());
    for (const double elevation : grid.elevations) {
        values.push_back(static_cast<float>(elevation));
    }
    return values;
}

std::vector<std::uint8_t> MakeHillshade(const ElevationGrid& grid, double exaggeration) {
    std::vector<std::uint8_t> shade;
    shade.reserve(grid.elevations.size() * 2);
    for (std::size_t row = 0; row < grid.rows; ++row) {
        for (std::size_t column = 0; column < grid.columns; ++column) {
            const bool isMeasured = grid.HasData(column, row);
            const std::uint8_t light =
                isMeasured ? LightOn(FindNormal(grid, column, row), exaggeration) : std::uint8_t{255};
            shade.insert(shade.end(), {light, static_cast<std::uint8_t>(isMeasured ? 255 : 0)});
        }
    }
    return shade;
}

} // namespace OrrinViewer
