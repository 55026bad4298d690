#pragma once

#include "data/CloudReader.h"
#include "data/ElevationGrid.h"
#include "data/PointCloud.h"
#include "data/Raster.h"
#include "data/VectorLayer.h"

#include <filesystem>

namespace OrrinViewer {

enum class FileKind {
    Unknown,
    Las,
    Ply,
    GeoJson,
    AsciiGrid,
    Image,
};

/// Which kind of file this is, by how it begins. Where that says nothing, by the ending of its name, so that a damaged
/// file still goes to the reader that can say what is wrong with it. Throws FileError for a file that is missing, empty
/// or cannot be opened.
FileKind DetectKind(const std::filesystem::path& path);

/// Opens a point cloud of any kind to be read point by point. Throws FileError, also for a file of another kind.
std::unique_ptr<CloudReader> OpenCloudReader(const std::filesystem::path& path);

/// Reads a point cloud of any kind. Throws FileError, also for a file of another kind.
PointCloud OpenPointCloud(const std::filesystem::path& path);

/// Reads a layer of vectors of any kind. Throws FileError, also for a file of another kind.
VectorLayer OpenVectorLayer(const std::filesystem::path& path);

/// Reads a grid of elevations of any kind. Throws FileError, also for a file of another kind.
ElevationGrid OpenElevationGrid(const std::filesystem::path& path);

/// Reads an image and the world file beside it. Throws FileError, also for a file of another kind.
Raster OpenRaster(const std::filesystem::path& path);

} // namespace OrrinViewer
