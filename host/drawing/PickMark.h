#pragma once

#include "data/VectorLayer.h"
#include "map/FeaturePicking.h"

#include <OrrinDisplay.h>

namespace OrrinViewer {

/// A window and how it shows positions.
struct MarkedWindow {
    PickCamera camera;  ///< in pixels of a usual screen
    double scale = 1.0; ///< the window's own pixels for one of those
    int widthPixels = 1;
    int heightPixels = 1;
};

/// Marks a feature: a bright line with a dark edge along its lines and outlines, rings around its points. The mark is
/// as wide from all sides, so it is drawn in pixels.
void DrawFeatureMark(KTR::COpenGLView& view, const VectorFeature& feature, const PickHeights& heights,
                     const MarkedWindow& window);

/// A ring around a place.
void DrawPointMark(KTR::COpenGLView& view, const Position& place, const MarkedWindow& window);

} // namespace OrrinViewer
