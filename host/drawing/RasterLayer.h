#pragma once

#include "data/ElevationGrid.h"
#include "data/Raster.h"

#include <OrrinDisplay.h>
#include <images/RasterLayer.h>

#include <string>

namespace OrrinViewer {

/// A raster on the map: the library's layer, with where it lies. `name` tells it from all other rasters of the process;
/// all windows find its tiles by that.
class RasterLayer {
public:
    /// An image, blended between its pixels.
    static RasterLayer ForImage(Raster raster, const std::wstring& name);
    /// Elevations: each cell a square, coloured from low to high, transparent where nothing was measured.
    static RasterLayer ForElevations(const ElevationGrid& grid, const std::wstring& name);
    /// A relief that is computed where it is looked at, `side` pixels each way, one of them a unit, around a place.
    static RasterLayer ForComputedRelief(int side, const Position& middle);
    /// The light on elevations, to shade other rasters with.
    static RasterLayer ForHillshade(const ElevationGrid& grid, double exaggeration, const std::wstring& name);

    const Extent& FindExtent() const { return m_extent; }
    std::size_t CountPixels() const { return m_pixels; }
    /// Reads whatever a frame shows, however long that takes; otherwise a few milliseconds' worth.
    void ReadAtOnce();

    /// Draws it at height z, relative to the origin. False when more is to be read: another frame will show it finer.
    bool Draw(KTR::COpenGLView& view, const Position& origin, double z);
    /// The same, shaded by another one; how strongly is 0 to 1.
    bool DrawShaded(KTR::COpenGLView& view, RasterLayer& shade, double strength, const Position& origin, double z);

private:
    RasterLayer(const KTR::GLRasterDescription& description, const PixelToMap& pixelToMap, KTR::GLRasterReader reader);
    void PlaceAround(const Position& origin);

    KTR::CRasterLayer m_layer;
    PixelToMap m_pixelToMap;
    Extent m_extent;
    std::size_t m_pixels;
};

} // namespace OrrinViewer
