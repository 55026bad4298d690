#pragma once

#include "data/VectorLayer.h"

#include <filesystem>
#include <string_view>
#include <vector>

namespace OrrinViewer {

/// True for what an SQLite database begins with.
bool BeginsLikeGeoPackage(std::string_view beginning);

/// Reads all layers of features of a GeoPackage, with their attributes and the definitions of their coordinate systems.
/// The file is never written to, nor is any put beside it. A feature without a shape is skipped. Throws FileError, with
/// the layer and the row where it is theirs.
std::vector<VectorLayer> ReadGeoPackageFile(const std::filesystem::path& path);

} // namespace OrrinViewer
