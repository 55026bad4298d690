#pragma once

#include "ShapeMesh.h"
#include "ShapeStyles.h"

namespace KTR {

inline constexpr unsigned char kSymbolFill = 0;
inline constexpr unsigned char kSymbolOutline = 1;

/// Adds a symbol around (0, 0), in pixels, its edge fading over one. Of the style size, angle and outline width count,
/// and must be in range. An unknown kind is a circle. No place is covered twice.
void AddSymbol(GLSymbolKind kind, const GLSymbolStyle& style, ShapeMesh& mesh);

} // namespace KTR
