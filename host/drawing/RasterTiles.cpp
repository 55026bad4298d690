#include "RasterTiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr std::size_t kBytesPerPixel = 4;

/// One direction of a tile.
struct Span {
    int first = 0;
    int count = 0;
    int textureFirst = 0;
    int textureCount = 0;
};

std::vector<Span> SplitSide(int length, int largestSide) {
    if (length <= largestSide) {
        return {{0, length, 0, length}};
    }
    std::vector<Span> spans;
    const int shown = largestSide - 2;
    for (int first = 0; first < length; first += shown) {
        const int count = std::min(shown, length - first);
        const int textureFirst = std::max(first - 1, 0);
        const int textureEnd = std::min(first + count + 1, length);
        spans.push_back({first, count, textureFirst, textureEnd - textureFirst});
    }
    return spans;
}

/// Rasters of fewer pixels each way need no coarser level.
constexpr int kLargestTopLevel = 256;

std::size_t PixelOffset(const RasterImage& image, int column, int row) {
    return (static_cast<std::size_t>(row) * static_cast<std::size_t>(image.width) + static_cast<std::size_t>(column)) *
           kBytesPerPixel;
}

/// Appends the mean of the four pixels from (column, row) on, or of as many as the image has there.
void AppendMean(const RasterImage& image, int column, int row, std::vector<std::uint8_t>& rgba) {
    unsigned int count = 0;
    unsigned int opacity = 0;
    std::array<unsigned int, 3> sums{};
    for (int y = row; y < std::min(row + 2, image.height); ++y) {
        for (int x = column; x < std::min(column + 2, image.width); ++x) {
            const std::uint8_t* pixel = image.rgba.data() + PixelOffset(image, x, y);
            for (std::size_t channel = 0; channel < sums.size(); ++channel) {
                sums[channel] += unsigned{pixel[channel]} * pixel[3];
            }
            opacity += pixel[3];
            ++count;
        }
    }
    for (const unsigned int sum : sums) {
        rgba.push_back(static_cast<std::uint8_t>(opacity > 0 ? (sum + opacity / 2) / opacity : 0));
    }
    rgba.push_back(static_cast<std::uint8_t>((opacity + count / 2) / count));
}

/// The length of a step from one column to the next on the map.
double FindPixelSize(const Raster& raster) {
    return std::hypot(raster.pixelToMap.columnX, raster.pixelToMap.columnY);
}

} // namespace

std::vector<RasterTile> SplitIntoTiles(int width, int height, int largestSide) {
    std::vector<RasterTile> tiles;
    const std::vector<Span> across = SplitSide(width, largestSide);
    for (const Span& down : SplitSide(height, largestSide)) {
        for (const Span& span : across) {
            tiles.push_back({span.first, down.first, span.count, down.count, span.textureFirst, down.textureFirst,
                             span.textureCount, down.textureCount});
        }
    }
    return tiles;
}

std::vector<std::uint8_t> CopyTile(const RasterImage& image, const RasterTile& tile) {
    const auto rowBytes = static_cast<std::size_t>(tile.textureColumns) * kBytesPerPixel;
    std::vector<std::uint8_t> pixels;
    pixels.reserve(rowBytes * static_cast<std::size_t>(tile.textureRows));
    for (int row = tile.textureRow; row < tile.textureRow + tile.textureRows; ++row) {
        const std::size_t first = PixelOffset(image, tile.textureColumn, row);
        const auto begin = image.rgba.begin() + static_cast<std::ptrdiff_t>(first);
        pixels.insert(pixels.end(), begin, begin + static_cast<std::ptrdiff_t>(rowBytes));
    }
    return pixels;
}

RasterImage HalveImage(const RasterImage& image) {
    RasterImage half{(image.width + 1) / 2, (image.height + 1) / 2, {}};
    half.rgba.reserve(PixelOffset(half, 0, half.height));
    for (int row = 0; row < half.height; ++row) {
        for (int column = 0; column < half.width; ++column) {
            AppendMean(image, column * 2, row * 2, half.rgba);
        }
    }
    return half;
}

std::vector<Raster> BuildPyramid(Raster raster) {
    std::vector<Raster> levels;
    levels.push_back(std::move(raster));
    while (std::max(levels.back().image.width, levels.back().image.height) > kLargestTopLevel) {
        const Raster& last = levels.back();
        Raster next{HalveImage(last.image), last.pixelToMap};
        // Not quite two where the size is odd, so that the corners stay where they are.
        const double across = static_cast<double>(last.image.width) / next.image.width;
        const double down = static_cast<double>(last.image.height) / next.image.height;
        next.pixelToMap.columnX *= across;
        next.pixelToMap.columnY *= across;
        next.pixelToMap.rowX *= down;
        next.pixelToMap.rowY *= down;
        levels.push_back(std::move(next));
    }
    return levels;
}

std::size_t ChoosePyramidLevel(const std::vector<Raster>& levels, double unitsPerPixel) {
    // Odd sizes make the steps from level to level a little smaller or larger than two.
    constexpr double kSlack = 1.01;
    std::size_t level = 0;
    while (level + 1 < levels.size() && FindPixelSize(levels[level + 1]) <= unitsPerPixel * kSlack) {
        ++level;
    }
    return level;
}

} // namespace OrrinViewer
