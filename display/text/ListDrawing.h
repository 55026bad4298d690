#pragma once

// Strings from display lists, the fonts of fixed-function contexts.

#include "../values/TextLists.h"
#include "SheetDrawing.h"

#include <glm/vec3.hpp>

#include <span>

namespace KTR {

class COpenGLView;

/// A string from the outline lists made last, scaled and rotated against the clock about its place; where there are
/// none from the raster lists, upright and in their own size. E_INVALIDARG without any: list base 0 would run whatever
/// lists the host has there.
long DrawStringFromLists(COpenGLView& view, const char* text, const glm::dvec3& place, const glm::dvec3& scale,
                         double angleDegrees);

/// Draws a string of the current font as bitmaps are drawn, in pixels of the window from the pixel that the raster
/// position lies in, and moves that to the string's end. Behind the eye it lies nowhere.
void DrawStringAtRasterPosition(COpenGLView& view, const wchar_t* text);

/// The characters of a string that is drawn from outline lists, at scale 1.
TextLayout LayOutOutlines(const TextLists& lists, const wchar_t* text);
/// Draws such characters one by one, each turned as its letter says.
void DrawOutlineLetters(COpenGLView& view, std::span<const PlacedLetter> letters);

/// Measures a string as the lists made last draw it, bitmaps rather than outlines: pixels to the next one, and of its
/// tallest character.
void MeasureLists(const TextLists& lists, const wchar_t* text, double& width, double& height);

/// Pixels that a string takes in the outline font at scale 1; 0 for a null one.
double WidthFromOutlines(const TextLists& lists, const wchar_t* text);

} // namespace KTR
