#pragma once

#include "data/VectorLayer.h"

#include <filesystem>

namespace OrrinViewer {

/// Reads a GeoJSON file: a FeatureCollection, a Feature or a bare geometry of any type.
///
/// A geometry that is null or without coordinates is skipped, and so is a feature that has nothing else. Coordinates
/// are taken as they stand; the "crs" member of older files names their system. The document is held in memory while it
/// is read. Throws FileError with the path in the document, such as /features/3/geometry/coordinates/0.
VectorLayer ReadGeoJsonFile(const std::filesystem::path& path);

} // namespace OrrinViewer
