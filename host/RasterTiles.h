#pragma once

#include "Raster.h"

#include <vector>

namespace OrrinViewer {

/// A part of an image that is one texture. It shows the pixels from `column` and `row` on, and holds one more on each
/// side where the image goes on: a smoothing filter then finds at its edge what its neighbour has there, and no seam
/// shows.
struct RasterTile {
    int column = 0;
    int row = 0;
    int columns = 0;
    int rows = 0;
    int textureColumn = 0; ///< first column that the texture holds
    int textureRow = 0;
    int textureColumns = 0;
    int textureRows = 0;

    bool operator==(const RasterTile&) const = default;
};

/// Tiles that show each pixel once. No texture is larger than `largestSide` (at least 3) pixels each way.
std::vector<RasterTile> SplitIntoTiles(int width, int height, int largestSide);

/// The pixels that the texture of a tile holds, upper row first, 4 bytes each.
std::vector<std::uint8_t> CopyTile(const RasterImage& image, const RasterTile& tile);

} // namespace OrrinViewer
