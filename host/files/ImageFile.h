#pragma once

#include "data/Raster.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace OrrinViewer {

/// True for what a PNG or JPEG file begins with.
bool BeginsLikeImage(std::string_view beginning);

/// Reads a PNG or JPEG image. Grey becomes colour, 16 bits per channel become 8, an image without opacity is opaque.
/// Throws FileError.
RasterImage ReadImageFile(const std::filesystem::path& path);

/// The bytes of a PNG file that shows `height` × `width` × 3 bytes of red, green and blue, the upper row first. Empty
/// when they cannot be encoded.
std::string EncodePng(int width, int height, std::span<const std::uint8_t> rgb);

} // namespace OrrinViewer
