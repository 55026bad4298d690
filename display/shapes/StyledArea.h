#pragma once

#include "../values/BasicTypes.h"
#include "ShapeStyles.h"

#include <span>
#include <vector>

namespace KTR {

class COpenGLView;

/// Adds a polygon to the shapes of a view: its fill, its hatch over that, its outline over both.
void DrawStyledPolygon(COpenGLView& view, std::span<const std::vector<PointXYZ>> rings, const GLPolygonStyle& style);

/// Adds a symbol.
void DrawStyledSymbol(COpenGLView& view, GLSymbolKind kind, const PointXYZ& place, const GLSymbolStyle& style);

} // namespace KTR
