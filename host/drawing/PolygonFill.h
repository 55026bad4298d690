#pragma once

#include "data/PointCloud.h"
#include "data/VectorLayer.h"

#include <OrrinDisplay.h>

#include <cstdint>
#include <functional>
#include <optional>

namespace OrrinViewer {

/// Where a position of a layer is drawn: relative to the origin, on the ground.
using GroundPosition = std::function<Position(const Position&)>;

/// How areas are filled.
struct AreaLook {
    std::optional<Rgb> color;   ///< not set: one that tells a feature from its neighbours
    std::uint8_t opacity = 255; ///< 255 hides what is below

    bool operator==(const AreaLook&) const = default;
};

/// Fills the areas of the feature number `index`, holes left open.
void FillPolygons(KTR::GLTesselator& tesselator, const VectorFeature& feature, std::size_t index, const AreaLook& look,
                  const GroundPosition& onTheGround);

} // namespace OrrinViewer
