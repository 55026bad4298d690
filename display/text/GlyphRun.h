#pragma once

// How a string becomes quads: the pen's way along the glyphs, and the six records of a quad in the batch. Shared by the
// upright and the turned strings.

#include "../pipeline/VertexBatch.h"
#include "../view/OpenGLView.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <glm/vec2.hpp>

#include <algorithm>

namespace KTR {

inline constexpr int kGlyphVertices = 6;

/// One glyph as it goes into the batch: corners in model coordinates, texture coordinates with t growing downwards.
struct GlyphQuad {
    glm::dvec2 lowerLeft;
    glm::dvec2 lowerRight;
    glm::dvec2 upperLeft;
    glm::dvec2 upperRight;
    double z;
    double s0, s1, t0, t1;
};

/// What a string covered, relative to its place.
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
    glm::dvec2 origin{0.0};
    glm::dvec2 along{1.0, 0.0}; ///< one pixel to the right
    glm::dvec2 up{0.0, 1.0};    ///< one pixel up
    double z = 0.0;

    glm::dvec2 At(double x, double y) const { return origin + x * along + y * up; }
};

inline void StoreGlyphVertex(GLDrawGeometry& record, const glm::dvec2& corner, double z, double s, double t) {
    BatchDetail::StorePosition(record, corner.x, corner.y, z);
    BatchDetail::StoreTexCoords(record, s, t);
}

/// Vertex `number` of the two triangles of a quad.
inline void StoreGlyphVertex(GLDrawGeometry& record, const GlyphQuad& quad, int number) {
    switch (number) {
    case 0:
        return StoreGlyphVertex(record, quad.lowerLeft, quad.z, quad.s0, quad.t1);
    case 1:
    case 3:
        return StoreGlyphVertex(record, quad.lowerRight, quad.z, quad.s1, quad.t1);
    case 2:
    case 4:
        return StoreGlyphVertex(record, quad.upperLeft, quad.z, quad.s0, quad.t0);
    default:
        return StoreGlyphVertex(record, quad.upperRight, quad.z, quad.s1, quad.t0);
    }
}

/// Adds a quad to the open batch of triangles. Where the batch ends within it, its first triangle is drawn with this
/// batch and the second with the next: a full batch holds whole triangles, so that nothing of the glyph is lost.
inline void AddGlyphQuad(COpenGLView& view, VertexBatchState& batch, const GlyphQuad& quad) {
    static_assert(kBatchRecords % 3 == 0, "a full batch must end with a whole triangle");
    const int slot = batch.batchVertexCount;
    if (slot <= kBatchRecords - kGlyphVertices) {
        GLDrawGeometry* records = batch.batchVertexPointer + slot;
        for (int number = 0; number < kGlyphVertices; ++number) {
            StoreGlyphVertex(records[number], quad, number);
        }
        batch.batchVertexCount = slot + kGlyphVertices;
        return;
    }
    for (int number = 0; number < kGlyphVertices; ++number) {
        if (batch.batchVertexCount > kBatchCapacity) {
            view.FlushArrays();
        }
        StoreGlyphVertex(batch.batchVertexPointer[batch.batchVertexCount++], quad, number);
    }
}

/// Calls `place(glyph, left, bottom)` for each character, with the lower left corner of its quad in pixels from the
/// start of the string.
template <typename Place>
void WalkGlyphs(const FontAtlasGlyphMetrics& font, FT_Face face, const wchar_t* text, Place place) {
    const bool kerning = FT_HAS_KERNING(face);
    double pen = 0.0;
    FT_UInt previous = 0;
    for (const wchar_t* character = text; *character != L'\0'; ++character) {
        const auto code = static_cast<unsigned short>(*character);
        if (kerning) {
            const FT_UInt index = FT_Get_Char_Index(face, code);
            FT_Vector distance = {};
            if (character != text && FT_Get_Kerning(face, previous, index, FT_KERNING_DEFAULT, &distance) == 0) {
                pen += static_cast<double>(distance.x >> 6);
            }
            previous = index;
        }
        const FontAtlasGlyph& glyph = font.glyphs[font.characterMap[code]];
        place(glyph, pen + glyph.xOffset, glyph.descent);
        pen += glyph.advance;
    }
}

} // namespace KTR
