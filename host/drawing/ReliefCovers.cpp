#include "ReliefCovers.h"

#include "data/ReadingProgress.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace OrrinViewer {

namespace {

/// Between two looks at whether anybody still wants it.
constexpr std::size_t kTrianglesPerStep = 1U << 16;

bool IsOpaque(const RasterImage& image) {
    for (std::size_t alpha = 3; alpha < image.rgba.size(); alpha += 4) {
        if (image.rgba[alpha] != 255) {
            return false;
        }
    }
    return true;
}

void FillTransparentPixels(Raster& image, const ElevationGrid& grid, const ElevationRange& range) {
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    const auto width = static_cast<std::size_t>(image.image.width);
    for (std::size_t pixel = 0; 4 * pixel + 3 < image.image.rgba.size(); ++pixel) {
        std::uint8_t* rgba = &image.image.rgba[4 * pixel];
        if (pixel % width == 0) {
            progress->Reach(pixel, image.image.rgba.size() / 4);
        }
        if (rgba[3] == 255) {
            continue;
        }
        const std::size_t column = pixel % width;
        const std::size_t row = pixel / width;
        const Position place = image.pixelToMap.At(static_cast<double>(column) + 0.5, static_cast<double>(row) + 0.5);
        const double elevation = grid.ElevationAt(place.x, place.y);
        const Rgb ground = ColorOfElevation(std::isnan(elevation) ? range.low : elevation, range);
        const auto blend = [opacity = rgba[3]](int above, int below) {
            return static_cast<std::uint8_t>((above * opacity + below * (255 - opacity)) / 255);
        };
        rgba[0] = blend(rgba[0], ground.red);
        rgba[1] = blend(rgba[1], ground.green);
        rgba[2] = blend(rgba[2], ground.blue);
        rgba[3] = 255;
    }
}

} // namespace

bool ReliefShape::Reaches(const Raster& image) const {
    const Extent extent = image.FindExtent();
    const double margin = grid.cellSize;
    const double east = grid.westX + static_cast<double>(grid.columns) * grid.cellSize;
    const double south = grid.northY - static_cast<double>(grid.rows) * grid.cellSize;
    return extent.low.x >= grid.westX - margin && extent.high.x <= east + margin && extent.low.y >= south - margin &&
           extent.high.y <= grid.northY + margin;
}

void ReliefCovers::Add(const ReliefShape& shape, const ElevationRange& range,
                       const std::shared_ptr<const Raster>& image, std::wstring name) {
    if (m_covers.size() == std::numeric_limits<std::uint16_t>::max()) {
        return;
    }
    const PixelToMap& place = image->pixelToMap;
    const auto isCovered = [&](const GridCorner& corner) {
        const Position position = shape.grid.PositionAt(corner.column, corner.row);
        const PixelPosition pixel = place.PixelAt(position.x, position.y);
        return pixel.column >= 0.0 && pixel.row >= 0.0 && pixel.column <= image->image.width &&
               pixel.row <= image->image.height;
    };
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    const auto number = static_cast<std::uint16_t>(m_covers.size() + 1);
    std::vector<std::uint16_t> numbers = m_numbers;
    numbers.resize(shape.triangles.size());
    bool coversSome = false;
    for (std::size_t triangle = 0; triangle < shape.triangles.size(); ++triangle) {
        if (triangle % kTrianglesPerStep == 0) {
            progress->Reach(triangle, shape.triangles.size());
        }
        const std::array<GridCorner, 3>& corners = shape.triangles[triangle];
        if (numbers[triangle] == 0 && std::all_of(corners.begin(), corners.end(), isCovered)) {
            numbers[triangle] = number;
            coversSome = true;
        }
    }
    if (!coversSome) {
        return;
    }
    std::shared_ptr<const Raster> opaque = image;
    if (!IsOpaque(image->image)) {
        const auto filled = std::make_shared<Raster>(*image);
        FillTransparentPixels(*filled, shape.grid, range);
        opaque = filled;
    }
    m_covers.push_back(std::make_shared<const ReliefCover>(ReliefCover{std::move(opaque), std::move(name)}));
    m_numbers = std::move(numbers);
}

} // namespace OrrinViewer
