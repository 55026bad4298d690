#pragma once

#include "data/Extent.h"

#include <functional>

namespace OrrinViewer {

/// A place in the window, in pixels from its upper left, as Windows counts.
struct PixelPlace {
    double x = 0.0;
    double y = 0.0;
};

/// The part of the map that the window shows, north up: what there is to know for what is laid out around and over it.
struct MapFrame {
    int widthPixels = 1;
    int heightPixels = 1;
    double unitsPerPixel = 1.0;
    Extent area; ///< its z range says nothing
    /// Where a position of the map is in the window, or outside.
    std::function<PixelPlace(const Position&)> placeOf;
};

} // namespace OrrinViewer
