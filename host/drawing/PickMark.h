#pragma once

#include "data/VectorLayer.h"
#include "map/FeaturePicking.h"

#include <OrrinDisplay.h>

namespace OrrinViewer {

/// Marks a feature on the map: a bright line with a dark edge along its lines and outlines, rings around its points.
/// The camera is the view's; of shapes with very many positions those are left out that fall into one pixel.
void DrawFeatureMark(KTR::COpenGLView& view, const VectorFeature& feature, const PickHeights& heights,
                     const PickCamera& camera);

/// A ring around a place.
void DrawPointMark(KTR::COpenGLView& view, const Position& place);

} // namespace OrrinViewer
