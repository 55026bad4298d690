#pragma once

// The one way of strings into the batch, upright or rotated, with the lines under and through them. Strings are drawn
// in the manager's current font and the view's current colour.

#include "GlyphRun.h"

namespace KTR {

/// A place rounded to whole units, half upwards, and the string's pixels as units of the model.
TextFrame PlainFrame(double x, double y, double z);
/// Scaled, then rotated against the clock about its place. A string of its own size along the axes is plain.
TextFrame RotatedFrame(const glm::dvec3& place, double scaleX, double scaleY, double angleDegrees);

/// E_INVALIDARG without a current font. `advance` receives the pixels from the string's place to that of the next.
long DrawString(COpenGLView& view, const wchar_t* text, const TextFrame& frame, double* advance = nullptr);

/// The manager's current font, built or not; null without one.
CFTGLFontAtlas* CurrentAtlas();

/// Whether strings of a fixed-function context come from the current font: lists have no characters that shaping could
/// join.
bool ShapesFromAtlas(COpenGLView& view);

/// Whether one unit of the model is one pixel, with x to the right and y upwards.
bool MapsToPixels(const COpenGLView& view);

/// A texture of glyphs, and what reads it where they land on the pixels as they are.
struct GlyphTexture {
    unsigned int texture = 0;
    unsigned int sampler = 0;
};

/// Opens the batch for a string and returns the origin of its positions there. On a 4.x context it goes on behind the
/// strings that wait there, when they look alike.
glm::dvec3 OpenTextBatch(COpenGLView& view, const GlyphTexture& glyphs, const TextFrame& frame);
/// Ends a string. Within a run it stays in the batch for others to join.
void CloseTextBatch(COpenGLView& view, bool mayWait);

/// Draws the strings that are pending, and gives the text program the matrices that hold for everybody else.
void FlushStrings(COpenGLView& view);
/// Gives the text program the matrices that hold for everybody else, after strings were drawn relative to their origin.
void ReturnTextMatrix(COpenGLView& view);

/// Binds the current font, for strings of their own size. False when there is none and no default font to take its
/// place.
bool BindCurrentFont(COpenGLView& view);

} // namespace KTR
