#include "GlyphRun.h"

#include "../view/ViewAccess.h"
#include "FontAtlas.h"
#include "KerningCache.h"

#include <cstring>

namespace KTR {

namespace {

constexpr int kGlyphVertices = 6;

/// The coordinates go out in pairs: the stores are what a glyph costs.
inline void StoreGlyphVertex(GLDrawGeometry& record, const glm::vec2& corner, float z, const glm::vec2& texture) {
    static_assert(sizeof(glm::vec2) == 2 * sizeof(float));
    std::memcpy(&record.x, &corner, sizeof(corner));
    record.z = z;
    std::memcpy(&record.s, &texture, sizeof(texture));
}

/// The two triangles of a quad. NOTE: GCC inlines this only as it is declared; as a call it costs a fifth of the time.
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

/// The sides of a cell whose neighbour has ink right behind them, where a quad must not reach over.
struct GlyphMargins {
    double left = 0.0;
    double right = 0.0;
    double below = 0.0;
    double above = 0.0;
};

GlyphMargins MarginsOf(const FontAtlasGlyphMetrics& font, const FontAtlasGlyph& glyph) {
    const auto cell = static_cast<int>(&glyph - font.glyphs);
    const bool inkOnTheLeft = cell % font.columns != 0 && (&glyph)[-1].width >= font.cellWidth;
    const bool inkAbove = cell >= font.columns && (&glyph)[-font.columns].height >= font.cellHeight;
    return {inkOnTheLeft ? 0.0 : kFade, glyph.width >= font.cellWidth ? 0.0 : kFade,
            glyph.height >= font.cellHeight ? 0.0 : kFade, inkAbove ? 0.0 : kFade};
}

/// Adds a quad within which the batch ends: its first triangle is drawn with this batch and the second with the next. A
/// full batch holds whole triangles, so that nothing of the glyph is lost.
void AddSplitGlyphQuad(COpenGLView& view, VertexBatchState& batch, const GlyphQuad& quad) {
    static_assert(kBatchRecords % 3 == 0, "a full batch must end with a whole triangle");
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

/// Adds a quad to the open batch of triangles.
inline void AddGlyphQuad(COpenGLView& view, VertexBatchState& batch, const GlyphQuad& quad) {
    const int slot = batch.batchVertexCount;
    if (slot > kBatchRecords - kGlyphVertices) {
        AddSplitGlyphQuad(view, batch, quad);
        return;
    }
    StoreGlyphQuad(batch.batchVertexPointer + slot, quad);
    batch.batchVertexCount = slot + kGlyphVertices;
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

/// Strings along the axes in their own size: map labels by the thousands, so nothing is multiplied here.
GlyphRun AddUprightGlyphs(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text, const glm::dvec3& start) {
    VertexBatchState& batch = ViewAccess::Batch(view);
    const double x0 = start.x;
    const double y0 = start.y;
    const auto z = static_cast<float>(start.z);
    GlyphRun run;
    const double end = WalkGlyphs(*atlas.GetAtlasMetrics(), atlas.GetKerning(), text,
                                  [&](const FontAtlasGlyph& glyph, double left, double bottom) {
                                      const double right = left + glyph.width;
                                      const double top = bottom + glyph.height;
                                      run.Include(right, bottom, top);
                                      const glm::vec2 lower(x0 + left, y0 + bottom);
                                      const glm::vec2 upper(x0 + right, y0 + top);
                                      AddGlyphQuad(view, batch,
                                                   {lower,
                                                    {upper.x, lower.y},
                                                    {lower.x, upper.y},
                                                    upper,
                                                    z,
                                                    static_cast<float>(glyph.s0),
                                                    static_cast<float>(glyph.s1),
                                                    static_cast<float>(glyph.t0),
                                                    static_cast<float>(glyph.t1)});
                                  });
    return {run.right, run.lowest, run.highest, end};
}

/// Any other string. Characters without pixels are left out: a quad that reaches beyond its glyph would show the
/// neighbours' ink.
GlyphRun AddRotatedGlyphs(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text, const TextFrame& frame,
                          const glm::dvec3& start) {
    const FontAtlasGlyphMetrics& font = *atlas.GetAtlasMetrics();
    VertexBatchState& batch = ViewAccess::Batch(view);
    const glm::dvec2 corner(start);
    const auto z = static_cast<float>(start.z);
    const glm::dvec2 along = frame.along;
    const glm::dvec2 up = frame.up;
    const bool plain = frame.plain;
    const double texelWidth = 1.0 / font.textureWidth;
    const double texelHeight = 1.0 / font.textureHeight;
    const auto at = [&](double x, double y) { return glm::vec2(corner + x * along + y * up); };
    GlyphRun run;
    const double end = WalkGlyphs(font, atlas.GetKerning(), text, [&](const FontAtlasGlyph& glyph, double x, double y) {
        const double right = x + glyph.width;
        const double top = y + glyph.height;
        run.Include(right, y, top);
        if (glyph.width == 0.0 || glyph.height == 0.0) {
            return;
        }
        const GlyphMargins margins = plain ? GlyphMargins{} : MarginsOf(font, glyph);
        AddGlyphQuad(view, batch,
                     {at(x - margins.left, y - margins.below), at(right + margins.right, y - margins.below),
                      at(x - margins.left, top + margins.above), at(right + margins.right, top + margins.above), z,
                      static_cast<float>(glyph.s0 - margins.left * texelWidth),
                      static_cast<float>(glyph.s1 + margins.right * texelWidth),
                      static_cast<float>(glyph.t0 - margins.above * texelHeight),
                      static_cast<float>(glyph.t1 + margins.below * texelHeight)});
    });
    return {run.right, run.lowest, run.highest, end};
}

} // namespace

void AddGlyph(COpenGLView& view, const GlyphQuad& quad) {
    AddGlyphQuad(view, ViewAccess::Batch(view), quad);
}

GlyphRun AddGlyphs(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text, const TextFrame& frame,
                   const glm::dvec3& start) {
    const bool upright = frame.along == glm::dvec2(1.0, 0.0) && frame.up == glm::dvec2(0.0, 1.0);
    return upright ? AddUprightGlyphs(view, atlas, text, start) : AddRotatedGlyphs(view, atlas, text, frame, start);
}

} // namespace KTR
