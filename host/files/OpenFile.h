#pragma once

#include "data/CloudReader.h"
#include "data/ElevationGrid.h"
#include "data/Mesh.h"
#include "data/PointCloud.h"
#include "data/Raster.h"
#include "data/VectorLayer.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace OrrinViewer {

enum class FileKind {
    Unknown,
    Las,
    Ply,
    GeoJson,
    AsciiGrid,
    Image,
    PointText,
    ShapeFile,
    Tiff,
    GeoPackage,
    Project, ///< of the viewer's own: other files and how they are shown
};

/// What "format" is in a project.
inline constexpr char kProjectFormat[] = "OrrinViewer project";

/// Which kind of file this is, by how it begins. Where that says nothing, by the ending of its name, so that a damaged
/// file still goes to the reader that can say what is wrong with it. Throws FileError for a file that is missing, empty
/// or cannot be opened.
FileKind DetectKind(const std::filesystem::path& path);

/// Opens a point cloud of any kind to be read point by point. Throws FileError, also for a file of another kind.
std::unique_ptr<CloudReader> OpenCloudReader(const std::filesystem::path& path);

/// Reads a point cloud of any kind. Throws FileError, also for a file of another kind.
PointCloud OpenPointCloud(const std::filesystem::path& path);

/// Reads a mesh of any kind; none where the file has points only. Throws FileError, also for a file of another kind.
std::optional<Mesh> OpenMesh(const std::filesystem::path& path);

/// True for the kinds that OpenVectorLayers reads.
bool IsVectorKind(FileKind kind);

/// Reads all layers of vectors that a file of any kind has. Throws FileError, also for a file of another kind.
std::vector<VectorLayer> OpenVectorLayers(const std::filesystem::path& path);

/// Reads a grid of elevations of any kind. Throws FileError, also for a file of another kind.
ElevationGrid OpenElevationGrid(const std::filesystem::path& path);

/// Reads an image and the world file beside it. Throws FileError, also for a file of another kind.
Raster OpenRaster(const std::filesystem::path& path);

} // namespace OrrinViewer
