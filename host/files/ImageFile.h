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

/// True for names that end as those of images that can be written: .png, .jpg or .jpeg.
bool IsImageName(const std::filesystem::path& path);

/// The bytes of an image file of the kind that the name's ending says, of such pixels as EncodePng takes. Empty when
/// they cannot be encoded.
std::string EncodeImage(const std::filesystem::path& name, int width, int height, std::span<const std::uint8_t> rgb);

/// The bytes of a PNG file that shows `height` × `width` × 3 bytes of red, green and blue, the upper row first. Empty
/// when they cannot be encoded.
std::string EncodePng(int width, int height, std::span<const std::uint8_t> rgb);

} // namespace OrrinViewer
