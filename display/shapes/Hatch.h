#pragma once

#include "PolygonFill.h"
#include "ShapeMesh.h"

namespace KTR {

/// Parallel lines over an area, in units of its points.
struct Hatch {
    double angleDegrees = 45.0;
    double spacing = 8.0;
    double width = 1.0;
    double fringe = 0.0;
    /// A line passes here, so that those of neighbours meet. At a distance of many lines only digits are lost.
    PointXY anchor;
    unsigned char paint = 0;
};

/// Adds the parts of the lines that lie in the area of the outlines. Their ends follow the outline. Of lines that are
/// too many to be told apart only each second, fourth, ... is there.
void AddHatch(std::span<const FillRing> rings, FillRule rule, const Hatch& hatch,
              const std::optional<PlaneBox>& visible, ShapeMesh& mesh);

} // namespace KTR
