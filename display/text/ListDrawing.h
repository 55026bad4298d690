#pragma once

// Strings from display lists, the fonts of fixed-function contexts.

#include "../values/TextLists.h"

#include <glm/vec3.hpp>

namespace KTR {

class COpenGLView;

/// A string from the outline lists made last, scaled and rotated against the clock about its place; where there are
/// none from the raster lists, upright and in their own size. E_INVALIDARG without any: list base 0 would run whatever
/// lists the host has there.
long DrawStringFromLists(COpenGLView& view, const char* text, const glm::dvec3& place, const glm::dvec3& scale,
                         double angleDegrees);

/// Pixels that a string takes in the outline font at scale 1; 0 for a null one.
double WidthFromOutlines(const TextLists& lists, const wchar_t* text);

} // namespace KTR
