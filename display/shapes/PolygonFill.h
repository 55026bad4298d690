#pragma once

#include "MonotoneTriangles.h"
#include "StringCutter.h"

#include <span>

namespace KTR {

/// One outline of an area: its points, the last joined to the first.
struct FillRing {
    std::span<const PointXYZ> points;
    int layer = 0; ///< 0 or 1
};

/// What of two layers of outlines belongs to the area. A place is in a layer where its outlines go around it a number
/// of times that is not zero.
enum class FillRule { First, Both, FirstWithoutSecond };

/// Triangulates the area of any outlines, crossing or not. Points that are not finite are left out of their ring. On a
/// grid of 2 to the power of -40 of the largest coordinate the result is exact.
///
/// Outlines that cross themselves more often than some tens of thousands of times are filled in steps of 1/2048 of
/// their extent, or of what of it lies in `visible`: the time stays below a second, and what is lost is hardly to be
/// seen.
TriangulatedArea FillRings(std::span<const FillRing> rings, FillRule rule,
                           const std::optional<PlaneBox>& visible = std::nullopt);

/// Whether the winding numbers of a place's two layers belong to the area.
inline bool IsInside(FillRule rule, const std::array<int, 2>& winding) {
    switch (rule) {
    case FillRule::Both:
        return winding[0] != 0 && winding[1] != 0;
    case FillRule::FirstWithoutSecond:
        return winding[0] != 0 && winding[1] == 0;
    case FillRule::First:
        break;
    }
    return winding[0] != 0;
}

/// The fill in steps: the area as rectangles, each as wide as a step at least.
TriangulatedArea FillInSteps(std::span<const FillRing> rings, FillRule rule, const std::optional<PlaneBox>& visible);

} // namespace KTR
