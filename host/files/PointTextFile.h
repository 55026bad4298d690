#pragma once

#include "data/CloudReader.h"

#include <filesystem>
#include <string_view>

namespace OrrinViewer {

/// True for text whose first lines are points, one a line, with or without the names of their columns before them.
bool BeginsLikePointText(std::string_view beginning);

/// Opens a text of points (XYZ, CSV, PTS) to be read line by line. Throws FileError.
///
/// Values are separated by commas, semicolons, tabs or blanks; between semicolons and tabs a number may have a decimal
/// comma. Names in the first line, which may be a comment, tell what the columns are: x and y (or easting and northing,
/// longitude and latitude), z, red, green, blue, intensity, classification. Without names the order is x, y, z; further
/// columns are taken for an intensity and for colours where the first lines look like that. A line whose coordinates
/// are not numbers is left out and counted as skipped.
std::unique_ptr<CloudReader> OpenPointTextFile(const std::filesystem::path& path);

} // namespace OrrinViewer
