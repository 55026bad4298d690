#pragma once

#include "Extent.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrrinViewer {

/// Pixels of 8 bits per channel: red, green, blue, opacity.
struct RasterImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba; ///< height × width × 4 bytes, the upper row first; opacity 0 where there is nothing
};

/// A place in an image, counted from the outer corner of the upper left pixel.
struct PixelPosition {
    double column = 0.0;
    double row = 0.0;
};

/// The affine transform from pixels to the map: column and row, counted from the outer corner of the upper left pixel,
/// are multiplied by these steps.
struct PixelToMap {
    double columnX = 1.0; ///< what x gains from one column to the next
    double columnY = 0.0;
    double rowX = 0.0;
    double rowY = -1.0; ///< rows go south in images that have north above
    double originX = 0.0;
    double originY = 0.0;

    Position At(double column, double row) const {
        return {originX + columnX * column + rowX * row, originY + columnY * column + rowY * row, 0.0};
    }
    /// The other way round. The steps span an area.
    PixelPosition PixelAt(double x, double y) const {
        const double area = columnX * rowY - columnY * rowX;
        return {((x - originX) * rowY - (y - originY) * rowX) / area,
                ((y - originY) * columnX - (x - originX) * columnY) / area};
    }
};

/// An image with its place on the map.
struct Raster {
    RasterImage image;
    PixelToMap pixelToMap;

    /// Upper left, upper right, lower right and lower left as the image has them; on the map it may be rotated.
    std::array<Position, 4> Corners() const {
        const double width = image.width;
        const double height = image.height;
        return {pixelToMap.At(0.0, 0.0), pixelToMap.At(width, 0.0), pixelToMap.At(width, height),
                pixelToMap.At(0.0, height)};
    }
    Extent FindExtent() const {
        Extent extent;
        for (const Position& corner : Corners()) {
            extent.Include(corner);
        }
        return extent;
    }
};

} // namespace OrrinViewer
