#pragma once

// How a string becomes quads in the batch.

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <algorithm>

namespace KTR {

class CFTGLFontAtlas;
class COpenGLView;

/// Where a string's own pixels lie in model coordinates.
struct TextFrame {
    glm::dvec3 place{0.0};      ///< left end of the baseline
    glm::dvec2 along{1.0, 0.0}; ///< one pixel to the right
    glm::dvec2 up{0.0, 1.0};    ///< one pixel up
    bool plain = true;          ///< a pixel of the string is a unit of the model, and `place` a whole one

    /// A point of the string relative to an origin; the difference is formed in double precision.
    glm::dvec2 At(double x, double y, const glm::dvec3& origin) const {
        return glm::dvec2(place - origin) + x * along + y * up;
    }
};

/// What the glyphs of a string come to, in its own pixels from its place.
struct GlyphRun {
    double right = 0.0; ///< end of the last quad
    double lowest = 0.0;
    double highest = 0.0;
    double advance = 0.0; ///< where the pen ends

    void Include(double quadRight, double bottom, double top) {
        right = quadRight;
        lowest = std::min(lowest, bottom);
        highest = std::max(highest, top);
    }
};

/// One glyph as it goes into the batch: corners relative to its origin, texture coordinates with t growing downwards.
struct GlyphQuad {
    glm::vec2 lowerLeft;
    glm::vec2 lowerRight;
    glm::vec2 upperLeft;
    glm::vec2 upperRight;
    float z;
    float s0, s1, t0, t1;
};

/// How far the quad of a rotated glyph reaches beyond its pixels, in pixels: half of one, over which the filter lets
/// the edge fade.
inline constexpr double kFade = 0.5;

/// Adds the two triangles of a quad to the open batch of triangles.
void AddGlyph(COpenGLView& view, const GlyphQuad& quad);

/// Adds the quads of a string to the open batch of triangles; `start` is its place relative to the batch's origin.
GlyphRun AddGlyphs(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text, const TextFrame& frame,
                   const glm::dvec3& start);

} // namespace KTR
