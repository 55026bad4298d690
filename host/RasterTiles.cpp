#include "RasterTiles.h"

#include <algorithm>

namespace OrrinViewer {

namespace {

constexpr std::size_t g_bytesPerPixel = 4;

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
    const auto rowBytes = static_cast<std::size_t>(tile.textureColumns) * g_bytesPerPixel;
    std::vector<std::uint8_t> pixels;
    pixels.reserve(rowBytes * static_cast<std::size_t>(tile.textureRows));
    for (int row = tile.textureRow; row < tile.textureRow + tile.textureRows; ++row) {
        const std::size_t first = (static_cast<std::size_t>(row) * static_cast<std::size_t>(image.width) +
                                   static_cast<std::size_t>(tile.textureColumn)) *
                                  g_bytesPerPixel;
        const auto begin = image.rgba.begin() + static_cast<std::ptrdiff_t>(first);
        pixels.insert(pixels.end(), begin, begin + static_cast<std::ptrdiff_t>(rowBytes));
    }
    return pixels;
}

} // namespace OrrinViewer
