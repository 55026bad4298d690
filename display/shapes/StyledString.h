#pragma once

#include "../values/BasicTypes.h"
#include "ShapeStyles.h"
#include "StringCutter.h"

#include <span>

namespace KTR {

class COpenGLView;
class ShapeScope;

/// Dashes and gaps that strings of one shape may still have; what there are too many of is solid. Transparent dashes
/// are merged, which takes longer.
struct DashesLeft {
    double opaque = DashPattern::kMostDashes;
    double transparent = 50'000.0;
};

/// Adds a line string to the shapes of a view: its casing, and over that the line with its dashes. One whose last point
/// repeats the first is a ring.
void DrawStyledString(COpenGLView& view, std::span<const PointXYZ> points, const GLLineStyle& style);
/// One of the strings of a shape.
void DrawStyledString(COpenGLView& view, std::span<const PointXYZ> points, const GLLineStyle& style, DashesLeft& left);
/// The same beside its places, `offset` to the left.
void DrawStyledOffsetString(COpenGLView& view, std::span<const PointXYZ> points, double offset,
                            const GLLineStyle& style);
void DrawStyledOffsetString(COpenGLView& view, std::span<const PointXYZ> points, double offset,
                            const GLLineStyle& style, DashesLeft& left);

/// A style's value within its bounds; what is no number becomes `otherwise`.
double ClampedValue(double value, double low, double high, double otherwise);
/// A style's colour, or the current one, thinned by an opacity.
GLRGBAColor ResolvedColor(const std::optional<GLRGBAColor>& color, const GLRGBAColor& current, double opacity);

} // namespace KTR
