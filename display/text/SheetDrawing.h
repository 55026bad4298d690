#pragma once

// Strings from the font's glyph sheet: with halos, shaped, and letter by letter. On a 4.x context they share draws with
// others as all strings do; fixed functions draw each by itself, from the same pictures.

#include "TextLayout.h"

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <span>

namespace KTR {

class CFTGLFontAtlas;
class COpenGLView;
struct TextFrame;

/// One glyph of a string with its own place and direction.
struct PlacedLetter {
    unsigned int glyph = 0;
    glm::dvec3 pen{0.0};
    glm::dvec2 along{1.0, 0.0}; ///< one pixel of the letter to the right
    glm::dvec2 up{0.0, 1.0};
};

/// Whether the view's strings have to come from the sheet.
bool NeedsSheet(COpenGLView& view);

/// The string's glyphs. `own` receives those that the sheet does not keep. Null when there is no memory.
const TextLayout* LayOut(CFTGLFontAtlas& atlas, const wchar_t* text, bool shaping, TextLayout& own);

/// As DrawString.
long DrawSheetString(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text, const TextFrame& frame,
                     double* advance);

/// Draws letters that are turned one by one; a pixel of theirs is a unit of the model.
long DrawLetters(COpenGLView& view, CFTGLFontAtlas& atlas, std::span<const PlacedLetter> letters);

/// Measures a string as it is shaped: pixels to the next one, and of its tallest glyph.
long MeasureShaped(CFTGLFontAtlas& atlas, const wchar_t* text, double& width, double& height);

} // namespace KTR
