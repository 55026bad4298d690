#pragma once

#include "data/ElevationGrid.h"
#include "data/Raster.h"

#include <cstdint>
#include <vector>

namespace OrrinViewer {

/// Where the cells of a grid lie as pixels; the grid's coordinates are its cells' centres.
PixelToMap PlaceCells(const ElevationGrid& grid);

/// The elevations as a raster of values, upper row first, no number where nothing was measured.
std::vector<float> ElevationValues(const ElevationGrid& grid);

/// How light the ground is under a sun in the north west, two bytes a cell: 255 is as light as level ground, and the
/// second byte is 0 where nothing was measured. To multiply colours with. `exaggeration` multiplies heights.
std::vector<std::uint8_t> MakeHillshade(const ElevationGrid& grid, double exaggeration);

} // namespace OrrinViewer
