#pragma once

#include "data/CloudReader.h"

#include <filesystem>

namespace OrrinViewer {

/// Opens a LAS file to be read point by point, as ReadLasFile does. The header is judged at once. Throws FileError.
std::unique_ptr<CloudReader> OpenLasFile(const std::filesystem::path& path);

/// Reads a LAS file, versions 1.0 to 1.4, point formats 0 to 10, uncompressed.
///
/// A file that was cut off gives the points that it has, with a warning; a point beyond any coordinate is refused with
/// its number. The coordinate system is taken from the keys or the well-known text before the points.
///
/// Points flagged as withheld are left out and counted as skipped. Colours, classes and intensities that every point
/// leaves at zero were never filled in, and are dropped. Throws FileError.
PointCloud ReadLasFile(const std::filesystem::path& path);

} // namespace OrrinViewer
