#pragma once

#include "Raster.h"
#include "RasterTiles.h"

#include <OrrinDisplay.h>

#include <string>
#include <vector>

namespace OrrinViewer {

/// A picture on the map. Its textures live in the library's cache, where all windows find them by name.
class RasterLayer {
public:
    /// `name` tells it from all other pictures of the process. `smooth` blends between pixels; without it each pixel is
    /// a square of one colour, as cells of a grid are.
    RasterLayer(Raster raster, std::wstring name, bool smooth);

    Extent FindExtent() const { return m_raster.FindExtent(); }
    std::size_t CountPixels() const { return m_raster.image.rgba.size() / 4; }
    /// Draws it at height z, relative to the origin.
    void Draw(KTR::COpenGLView& view, const Position& origin, double z) const;

private:
    void DrawTile(KTR::COpenGLView& view, const RasterTile& tile, const Position& origin, double z) const;
    bool FindTexture(KTR::COpenGLView& view, const RasterTile& tile, unsigned int& texture,
                     unsigned int& sampler) const;

    Raster m_raster;
    std::wstring m_name;
    bool m_smooth;
};

} // namespace OrrinViewer
