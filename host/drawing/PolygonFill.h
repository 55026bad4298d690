#pragma once

#include "data/VectorLayer.h"

#include <OrrinDisplay.h>

#include <cstdint>
#include <functional>

namespace OrrinViewer {

/// Where a position of a layer is drawn: relative to the origin, on the ground.
using GroundPosition = std::function<Position(const Position&)>;

/// Fills the areas of a layer, holes left open, in colours that tell neighbours apart. `area` is the part of the map to
/// draw (features outside are left out), `opacity` 255 hides what is below.
void FillPolygons(KTR::COpenGLView& view, const VectorLayer& layer, const Extent& area, std::uint8_t opacity,
                  const GroundPosition& onTheGround);

} // namespace OrrinViewer
