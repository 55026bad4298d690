#pragma once

#include "data/ElevationGrid.h"

#include <filesystem>
#include <string_view>

namespace OrrinViewer {

/// True for text that an ESRI ASCII grid can begin with.
bool BeginsLikeAsciiGrid(std::string_view beginning);

/// Reads an ESRI ASCII grid: a header of names and numbers, then the elevations row by row from the north, wrapped into
/// lines in any way. Cells with the header's NODATA_value, those that are not finite and those beyond any coordinate
/// have no elevation. Throws FileError.
ElevationGrid ReadAsciiGridFile(const std::filesystem::path& path);

} // namespace OrrinViewer
