#pragma once

#include "FeatureStyle.h"
#include "PolygonFill.h"
#include "data/VectorLayer.h"

#include <OrrinDisplay.h>

namespace OrrinViewer {

/// Draws the lines of a layer as roads, the borders of its areas and its points as the style says. The casings of all
/// roads lie below all roads, so that they open at crossings. Without a colour each of them has that of its kind. All
/// of it is larger by `scale` than the style says. `onTheGround` gives true coordinates. Where an area is given,
/// features outside it are left out.
void DrawStyledFeatures(KTR::COpenGLView& view, const VectorLayer& layer, const std::optional<Extent>& area,
                        const FeatureStyle& style, const std::optional<Rgb>& color, std::uint8_t opacity, double scale,
                        const GroundPosition& onTheGround);

} // namespace OrrinViewer
