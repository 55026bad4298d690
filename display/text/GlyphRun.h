#pragma once

// How a string becomes quads: the pen's way along the glyphs, and the six records of a quad in the batch.

#include "../pipeline/VertexBatch.h"
#include "../view/OpenGLView.h"
#include "KerningCache.h"

#include <glm/vec2.hpp>

#include <algorithm>
#include <cstring>

namespace KTR {

inline constexpr int kGlyphVertices = 6;

/// One glyph as it goes into the batch: corners relative to its origin, texture coordinates with t growing downwards.
struct GlyphQuad {
    glm::vec2 lowerLeft;
    glm::vec2 lowerRight;
    glm::vec2 upperLeft;
    glm::vec2 upperRight;
    float z;
    float s0, s1, t0, t1;
};

/// What a string covered, in its own pixels from its place.
struct TextExtent {
    double right = 0.0; ///< end of the last quad
    double lowest = 0.0;
    double highest = 0.0;

    void Include(double quadRight, double bottom, double top) {
        right = quadRight;
        lowest = std::min(lowest, bottom);
        highest = std::max(highest, top);
    }
};

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

/// The coordinates go out in pairs: the stores are what a glyph costs.
inline void StoreGlyphVertex(GLDrawGeometry& record, const glm::vec2& corner, float z, const glm::vec2& texture) {
    static_assert(sizeof(glm::vec2) == 2 * sizeof(float));
    std::memcpy(&record.x, &corner, sizeof(corner));
    record.z = z;
    std::memcpy(&record.s, &texture, sizeof(texture));
}

/// The two triangles of a quad.
inline void StoreGlyphQuad(GLDrawGeometry* records, const GlyphQuad& quad) {
    const glm::vec2 lowerRight(quad.s1, quad.t1);
    const glm::vec2 upperLeft(quad.s0, quad.t0);
    StoreGlyphVertex(records[0], quad.lowerLeft, quad.z, {quad.s0, quad.t1});
    StoreGlyphVertex(records[1], quad.lowerRight, quad.z, lowerRight);
    StoreGlyphVertex(records[2], quad.upperLeft, quad.z, upperLeft);
    StoreGlyphVertex(records[3], quad.lowerRight, quad.z, lowerRight);
    StoreGlyphVertex(records[4], quad.upperLeft, quad.z, upperLeft);
    StoreGlyphVertex(records[5], quad.upperRight, quad.z, {quad.s1, quad.t0});
}

/// Adds a quad to the open batch of triangles. Where the batch ends within it, its first triangle is drawn with this
/// batch and the second with the next: a full batch holds whole triangles, so that nothing of the glyph is lost.
inline void AddGlyphQuad(COpenGLView& view, VertexBatchState& batch, const GlyphQuad& quad) {
    static_assert(kBatchRecords % 3 == 0, "a full batch must end with a whole triangle");
    const int slot = batch.batchVertexCount;
    if (slot <= kBatchRecords - kGlyphVertices) {
        StoreGlyphQuad(batch.batchVertexPointer + slot, quad);
        batch.batchVertexCount = slot + kGlyphVertices;
        return;
    }
    GLDrawGeometry vertices[kGlyphVertices];
    StoreGlyphQuad(vertices, quad);
    for (const GLDrawGeometry& vertex : vertices) {
        if (batch.batchVertexCount > kBatchCapacity) {
            view.FlushArrays();
        }
        StoreGlyphVertex(batch.batchVertexPointer[batch.batchVertexCount++], {vertex.x, vertex.y}, vertex.z,
                         {vertex.s, vertex.t});
    }
}

/// Calls `place(glyph, left, bottom)` for each character, with the lower left corner of its quad in pixels from the
/// start of the string. Returns where the pen ends.
template <typename Place>
double WalkGlyphs(const FontAtlasGlyphMetrics& font, KerningCache* kerning, const wchar_t* text, Place place) {
    double pen = 0.0;
    unsigned short previous = 0;
    for (const wchar_t* character = text; *character != L'\0'; ++character) {
        const auto code = static_cast<unsigned short>(*character);
        if (kerning && previous != 0) {
            pen += kerning->PixelsBetween(previous, code);
        }
        previous = code;
        const FontAtlasGlyph& glyph = font.glyphs[font.characterMap[code]];
        place(glyph, pen + glyph.xOffset, glyph.descent);
        pen += glyph.advance;
    }
    return pen;
}

} // namespace KTR
