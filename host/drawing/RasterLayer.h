#pragma once

#include "RasterTiles.h"
#include "data/Raster.h"

#include <OrrinDisplay.h>

#include <string>
#include <vector>

namespace OrrinViewer {

/// A raster on the map. Its textures live in the library's cache, where all windows find them by name.
class RasterLayer {
public:
    /// `name` tells it from all other rasters of the process. `smooth` blends between pixels; without it each pixel is
    /// a square of one colour, as cells of a grid are.
    RasterLayer(Raster raster, std::wstring name, bool smooth);

    Extent FindExtent() const { return m_levels.front().FindExtent(); }
    std::size_t CountPixels() const { return m_levels.front().image.rgba.size() / 4; }
    /// Draws it at height z, relative to the origin. `unitsPerPixel` is the scale of the map; 0 draws all pixels.
    void Draw(KTR::COpenGLView& view, const Position& origin, double z, double unitsPerPixel) const;

private:
    KTR::TexturedQuadrilateral Place(std::size_t level, const RasterTile& tile, const Position& origin, double z) const;
    bool FindTexture(KTR::COpenGLView& view, std::size_t level, const RasterTile& tile, unsigned int& texture,
                     unsigned int& sampler) const;

    std::vector<Raster> m_levels; ///< of its pyramid, the raster itself first
    std::wstring m_name;
    bool m_smooth;
};

} // namespace OrrinViewer
