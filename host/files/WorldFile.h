#pragma once

#include "data/Raster.h"

#include <filesystem>

namespace OrrinViewer {

/// The world file beside an image: "photo.pgw", "photo.pngw" or "photo.wld" for "photo.png", and so for other kinds.
/// Throws FileError about the image when there is none.
std::filesystem::path FindWorldFile(const std::filesystem::path& image);

/// Reads a world file: six lines with a number each, which say how x and y change along a row and down a column, and
/// where the centre of the upper left pixel is. Throws FileError.
PixelToMap ReadWorldFile(const std::filesystem::path& path);

} // namespace OrrinViewer
