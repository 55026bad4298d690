#include "RasterLayer.h"

#include "ComputedRelief.h"
#include "ElevationImages.h"
#include "SceneColors.h"

#include <limits>
#include <utility>

namespace OrrinViewer {

namespace {

/// Of all rasters in all windows; the library's cache keeps to it.
constexpr unsigned long long kTextureMemory = 256ULL << 20;

KTR::GLRasterDescription Describe(const std::wstring& name, int width, int height, unsigned int pixels) {
    KTR::GLRasterDescription description;
    description.name = name;
    description.width = width;
    description.height = height;
    description.pixels = pixels;
    return description;
}

/// From the lowest to the highest elevation; a level plain takes the colour in the middle.
KTR::GLDataStyle ElevationStyle(const ElevationRange& range) {
    KTR::GLDataStyle style;
    const double margin = range.low < range.high ? 0.0 : 1.0;
    style.low = range.low - margin;
    style.high = range.high + margin;
    for (std::size_t index = 0; index < kElevationRamp.size(); ++index) {
        const Rgb& color = kElevationRamp[index];
        const double position = static_cast<double>(index) / (kElevationRamp.size() - 1);
        style.stops.push_back({position, {color.red, color.green, color.blue, 255}});
    }
    return style;
}

} // namespace

RasterLayer RasterLayer::ForImage(Raster raster, const std::wstring& name) {
    RasterImage& image = raster.image;
    return {Describe(name, image.width, image.height, GL_RGBA), raster.pixelToMap,
            KTR::MakeImageReader(GL_RGBA, image.width, image.height, std::move(image.rgba))};
}

RasterLayer RasterLayer::ForElevations(const ElevationGrid& grid, const std::wstring& name) {
    const int width = static_cast<int>(grid.columns);
    const int height = static_cast<int>(grid.rows);
    KTR::GLRasterDescription description = Describe(name, width, height, GL_FLOAT);
    description.style = ElevationStyle(FindElevationRange(ElevationsWithData(grid)));
    description.smooth = false;
    return {std::move(description), PlaceCells(grid), KTR::MakeValueReader(width, height, ElevationValues(grid))};
}

RasterLayer RasterLayer::ForComputedRelief(int side, const Position& middle) {
    KTR::GLRasterDescription description = Describe(L"computed relief", side, side, GL_FLOAT);
    description.style = ElevationStyle({kComputedLow, kComputedHigh});
    const double half = side * 0.5;
    const auto read = [](const KTR::GLRasterWindow& window, void* pixels) {
        ComputeRelief(window.level, window.x, window.y, window.width, window.height, static_cast<float*>(pixels));
        return KTR::GLRasterReadDone;
    };
    return {description, {1.0, 0.0, 0.0, -1.0, middle.x - half, middle.y + half}, read};
}

RasterLayer RasterLayer::ForHillshade(const ElevationGrid& grid, double exaggeration, const std::wstring& name) {
    const int width = static_cast<int>(grid.columns);
    const int height = static_cast<int>(grid.rows);
    return {Describe(name + L" hillshade", width, height, GL_LUMINANCE_ALPHA), PlaceCells(grid),
            KTR::MakeImageReader(GL_LUMINANCE_ALPHA, width, height, MakeHillshade(grid, exaggeration))};
}

RasterLayer::RasterLayer(const KTR::GLRasterDescription& description, const PixelToMap& pixelToMap,
                         KTR::GLRasterReader reader)
    : m_layer(description, std::move(reader)), m_pixelToMap(pixelToMap),
      m_pixels(static_cast<std::size_t>(description.width) * static_cast<std::size_t>(description.height)) {
    for (const int column : {0, description.width}) {
        for (const int row : {0, description.height}) {
            m_extent.Include(pixelToMap.At(column, row));
        }
    }
    m_layer.SetCacheLimit(kTextureMemory);
}

void RasterLayer::ReadAtOnce() {
    m_layer.SetReadingTime(std::numeric_limits<double>::infinity());
}

bool RasterLayer::Draw(KTR::COpenGLView& view, const Position& origin, double z) {
    PlaceAround(origin);
    return m_layer.Draw(view, z) != S_FALSE;
}

bool RasterLayer::DrawShaded(KTR::COpenGLView& view, RasterLayer& shade, double strength, const Position& origin,
                             double z) {
    PlaceAround(origin);
    shade.PlaceAround(origin);
    return m_layer.DrawFused(view, shade.m_layer, KTR::GLFusionMultiply, strength, z) != S_FALSE;
}

void RasterLayer::PlaceAround(const Position& origin) {
    m_layer.SetPlacement({m_pixelToMap.columnX, m_pixelToMap.columnY, m_pixelToMap.rowX, m_pixelToMap.rowY,
                          m_pixelToMap.originX - origin.x, m_pixelToMap.originY - origin.y});
}

} // namespace OrrinViewer
