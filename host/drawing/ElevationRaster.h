#pragma once

#include "data/ElevationGrid.h"
#include "data/Raster.h"

namespace OrrinViewer {

/// A grid as a raster: one pixel per cell, coloured from low to high, and transparent where no elevation was
/// measured.
Raster MakeElevationRaster(const ElevationGrid& grid);

} // namespace OrrinViewer
