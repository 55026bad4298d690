#pragma once

#include "MapTransformation.h"
#include "SystemRegister.h"
#include "data/CloudReader.h"
#include "data/ElevationGrid.h"
#include "data/VectorLayer.h"

#include <memory>

namespace OrrinViewer {

/// Brings a layer into another system. Features with a place that is not there are skipped.
void Transform(VectorLayer& layer, const MapTransformation& transformation);

/// The grid in another system, with cells as large as they were on the ground: the elevation of each comes from the
/// place that it was.
ElevationGrid Transform(const ElevationGrid& grid, const MapTransformation& transformation);

/// The box in which a box of the other system lies; of places along its edges and inside.
Extent TransformExtent(const Extent& extent, const MapTransformation& transformation);

/// Reads a cloud in another system. Points that are not there are skipped.
std::unique_ptr<CloudReader> TransformCloud(std::unique_ptr<CloudReader> reader, MapTransformation transformation,
                                            CoordinateSystem system);

} // namespace OrrinViewer
