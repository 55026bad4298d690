#pragma once

#include "data/Raster.h"
#include "systems/MapTransformation.h"

#include <images/RasterLayer.h>

#include <functional>

namespace OrrinViewer {

/// A raster in its own coordinate system.
struct WarpSource {
    KTR::GLRasterReader reader;
    int width = 0; ///< pixels
    int height = 0;
    PixelToMap place;
    bool hasValues = false; ///< in floating point; otherwise colours with opacity
};

/// A reader of the raster in another system, where its pixels are placed as `place` says; `backward` leads from there
/// to the raster's own. Each pixel is the nearest one of the source; beside it there is nothing.
KTR::GLRasterReader MakeWarpedReader(WarpSource source, const PixelToMap& place,
                                     std::function<Position(const Position&)> backward);

} // namespace OrrinViewer
