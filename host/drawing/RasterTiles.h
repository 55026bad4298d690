#pragma once

#include "data/Raster.h"

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

/// The image at half its size, each pixel the mean of four; what is transparent does not count. A last odd row or
/// column stays on its own. Both sizes become 1 at least.
RasterImage HalveImage(const RasterImage& image);

/// The pyramid of a raster: itself, then coarser and coarser levels in the same place, each half as many pixels wide
/// and high, down to a few. Drawn from far away, the right level does not flicker as the full one would, of which most
/// pixels are passed over.
std::vector<Raster> BuildPyramid(Raster raster);

/// Which level to draw where a pixel of the window stands for `unitsPerPixel`: the last whose pixels are no larger than
/// the window's. 0 asks for the first.
std::size_t ChoosePyramidLevel(const std::vector<Raster>& levels, double unitsPerPixel);

} // namespace OrrinViewer
