#pragma once

#include "data/VectorLayer.h"

#include <filesystem>
#include <string_view>

namespace OrrinViewer {

/// True for what the main file of a shapefile begins with, and its index.
bool BeginsLikeShapeFile(std::string_view beginning);

/// Reads a shapefile's points, multipoints, polylines and polygons, also those with elevations or measures, which are
/// passed over, and from the files of the same name beside it the table (.dbf, in the code page of .cpg) and the
/// coordinate system (.prj). A shape that is null is skipped. Throws FileError with the record's number.
VectorLayer ReadShapeFile(const std::filesystem::path& path);

} // namespace OrrinViewer
