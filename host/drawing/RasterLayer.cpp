#include "RasterLayer.h"

#include <algorithm>
#include <utility>

namespace OrrinViewer {

namespace {

/// Small enough for every driver, and for a part of a raster to be evicted from the cache on its own.
constexpr int kLargestTile = 2048;
constexpr int kBytesPerPixel = 4;
constexpr unsigned int kTextureUnit = 0x84C0; // GL_TEXTURE0, which Windows' own header is too old for

} // namespace

RasterLayer::RasterLayer(Raster raster, std::wstring name, bool smooth) : m_name(std::move(name)), m_smooth(smooth) {
    if (smooth) {
        m_levels = BuildPyramid(std::move(raster));
    } else {
        m_levels.push_back(std::move(raster));
    }
}

void RasterLayer::Draw(KTR::COpenGLView& view, const Position& origin, double z, double unitsPerPixel) const {
    const int largestSide = std::min(kLargestTile, view.GetContextMaxTextureSize());
    const std::size_t level = ChoosePyramidLevel(m_levels, unitsPerPixel);
    const RasterImage& image = m_levels[level].image;
    std::vector<KTR::TexturedQuadrilateral> quadrilaterals;
    for (const RasterTile& tile : SplitIntoTiles(image.width, image.height, largestSide)) {
        KTR::TexturedQuadrilateral quadrilateral = Place(level, tile, origin, z);
        if (FindTexture(view, level, tile, quadrilateral.texture, quadrilateral.sampler)) {
            quadrilaterals.push_back(quadrilateral);
        }
    }
    view.DrawTexturedQuadrilaterals(quadrilaterals.data(), quadrilaterals.size());
}

/// Where a tile lies, without its texture. That has the image's upper row first, so that t grows downwards like the
/// rows.
KTR::TexturedQuadrilateral RasterLayer::Place(std::size_t level, const RasterTile& tile, const Position& origin,
                                              double z) const {
    const std::array<std::array<int, 2>, 4> pixels = {{{tile.column, tile.row},
                                                       {tile.column + tile.columns, tile.row},
                                                       {tile.column + tile.columns, tile.row + tile.rows},
                                                       {tile.column, tile.row + tile.rows}}};
    KTR::TexturedQuadrilateral quadrilateral;
    for (std::size_t index = 0; index < pixels.size(); ++index) {
        const auto [column, row] = pixels[index];
        const Position place = m_levels[level].pixelToMap.At(column, row);
        quadrilateral.corners[index] = {place.x - origin.x, place.y - origin.y, z};
        quadrilateral.coordinates[index] = {static_cast<double>(column - tile.textureColumn) / tile.textureColumns,
                                            static_cast<double>(row - tile.textureRow) / tile.textureRows};
    }
    return quadrilateral;
}

/// From the cache, where another window or an earlier frame may have put it; otherwise it is loaded and put there.
/// False when the driver does not take it.
bool RasterLayer::FindTexture(KTR::COpenGLView& view, std::size_t level, const RasterTile& tile, unsigned int& texture,
                              unsigned int& sampler) const {
    const RasterImage& image = m_levels[level].image;
    const std::wstring name =
        m_name + L"#" + std::to_wstring(level) + L"," + std::to_wstring(tile.column) + L"," + std::to_wstring(tile.row);
    KTR::GLTextureObject* entry = nullptr;
    const bool isThere = view.RequestTextureFromCache(
        name.c_str(), image.width, image.height, 1, kBytesPerPixel, tile.textureColumns, tile.textureRows,
        tile.textureColumn, tile.textureRow, tile.textureColumn + tile.textureColumns - 1,
        tile.textureRow + tile.textureRows - 1, 1.0, 0.0, 0.0, true, true, false, true, true, &entry);
    if (isThere) {
        texture = entry->texture;
        sampler = entry->sampler;
        return true;
    }
    const std::vector<std::uint8_t> pixels = CopyTile(image, tile);
    const unsigned int filter = m_smooth ? GL_LINEAR : GL_NEAREST;
    if (FAILED(view.LoadGLImage(kTextureUnit, GL_RGBA, tile.textureColumns, tile.textureRows, kBytesPerPixel, filter,
                                pixels.data(), texture, sampler))) {
        return false;
    }
    view.AddRequestedTexture(texture, sampler, &entry);
    return true;
}

} // namespace OrrinViewer
