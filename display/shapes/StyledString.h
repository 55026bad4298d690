#pragma once

#include "../values/BasicTypes.h"
#include "ShapeStyles.h"

#include <span>

namespace KTR {

class COpenGLView;
class ShapeScope;

/// Adds a line string to the shapes of a view: its casing, and over that the line with its dashes. One whose last point
/// repeats the first is a ring.
void DrawStyledString(COpenGLView& view, std::span<const PointXYZ> points, const GLLineStyle& style);
/// The same beside its places, `offset` to the left.
void DrawStyledOffsetString(COpenGLView& view, std::span<const PointXYZ> points, double offset,
                            const GLLineStyle& style);

/// A style's value within its bounds; what is no number becomes `otherwise`.
double ClampedValue(double value, double low, double high, double otherwise);
/// A style's colour, or the current one, thinned by an opacity.
GLRGBAColor ResolvedColor(const std::optional<GLRGBAColor>& color, const GLRGBAColor& current, double opacity);

} // namespace KTR
