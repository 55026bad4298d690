#pragma once

#include "data/VectorLayer.h"

#include <OrrinDisplay.h>

#include <cstdint>
#include <functional>

namespace OrrinViewer {

/// Where a position of a layer is drawn: relative to the origin, on the ground.
using GroundPosition = std::function<Position(const Position&)>;

/// Fills the areas of a feature, holes left open, in the colour of the feature number `index`, which tells neighbours
/// apart. `opacity` 255 hides what is below.
void FillPolygons(KTR::GLTesselator& tesselator, const VectorFeature& feature, std::size_t index, std::uint8_t opacity,
                  const GroundPosition& onTheGround);

} // namespace OrrinViewer
