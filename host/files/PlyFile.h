#pragma once

#include "data/CloudReader.h"
#include "data/Mesh.h"

#include <filesystem>
#include <optional>

namespace OrrinViewer {

/// Opens a PLY file to be read point by point, as ReadPlyFile does. What comes before the points is read at once.
/// Throws FileError.
std::unique_ptr<CloudReader> OpenPlyFile(const std::filesystem::path& path);

/// Reads the vertices of a PLY 1.0 file, ASCII or binary in either byte order, as points; all else is passed over.
///
/// x, y and z are required, of any type and in any place. Taken where they are: colours (`red green blue` or `r g b`;
/// fractions count as 0 to 1), `intensity`, and a class (`class`, `label` or `classification`), each also with
/// "scalar_" before its name and in any case. A point whose position is not finite, as scanners record where nothing
/// came back, is left out and counted as skipped. Throws FileError.
PointCloud ReadPlyFile(const std::filesystem::path& path);

/// Reads the faces of such a file, as triangles between its vertices; none where it has no faces. A polygon becomes a
/// fan of triangles around its first corner. Faces at a vertex whose position is not finite are left out. Throws
/// FileError, also for a face with a vertex that there is not.
std::optional<Mesh> ReadPlyMesh(const std::filesystem::path& path);

} // namespace OrrinViewer
