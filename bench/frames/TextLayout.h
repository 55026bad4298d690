#pragma once

#include <OrrinDisplay.h>
#include <text/FontAtlas.h>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <array>
#include <cmath>
#include <string>

namespace Frames {

/// Lays strings out in the library's current font as a host's own loop does it: the kerning of the characters that it
/// draws stands in a table.
class TextLayout {
public:
    struct Quad {
        float left, bottom, right, top;
        float s0, s1, t0, t1;
    };

    TextLayout() : m_font(*KTR::COpenGLView::m_gFontManager.GetCurrentFontAtlasMetrics()) {
        const FT_Face face = KTR::COpenGLView::m_gFontManager.GetCurrentFontFace();
        for (std::size_t pair = kCharacters; pair < m_kerning.size(); ++pair) {
            FT_Vector kerning = {};
            FT_Get_Kerning(face, FT_Get_Char_Index(face, static_cast<FT_ULong>(pair / kCharacters)),
                           FT_Get_Char_Index(face, static_cast<FT_ULong>(pair % kCharacters)), FT_KERNING_DEFAULT,
                           &kerning);
            m_kerning[pair] = static_cast<signed char>(kerning.x >> 6);
        }
    }

    /// Calls `place(quad)` for each character of an ASCII text whose baseline begins at whole pixels.
    template <typename Place> void Walk(const std::wstring& text, double x, double y, Place place) const {
        double pen = x;
        std::size_t previous = 0;
        for (const wchar_t character : text) {
            const std::size_t code = static_cast<std::size_t>(character) % kCharacters;
            pen += m_kerning[previous * kCharacters + code];
            previous = code;
            const KTR::FontAtlasGlyph& glyph = m_font.glyphs[m_font.characterMap[code]];
            const double left = pen + glyph.xOffset;
            const double bottom = y + glyph.descent;
            place(Quad{static_cast<float>(left), static_cast<float>(bottom), static_cast<float>(left + glyph.width),
                       static_cast<float>(bottom + glyph.height), static_cast<float>(glyph.s0),
                       static_cast<float>(glyph.s1), static_cast<float>(glyph.t0), static_cast<float>(glyph.t1)});
            pen += glyph.advance;
        }
    }

private:
    static constexpr std::size_t kCharacters = 128;

    const KTR::FontAtlasGlyphMetrics& m_font;
    std::array<signed char, kCharacters * kCharacters> m_kerning{}; ///< whole pixels; none for the character 0
};

/// The six records of a glyph, as the text program reads them.
inline KTR::GLDrawGeometry* StoreGlyph(KTR::GLDrawGeometry* record, const TextLayout::Quad& quad) {
    const auto store = [&record](float x, float y, float s, float t) {
        record->x = x;
        record->y = y;
        record->z = 0.0F;
        record->s = s;
        record->t = t;
        ++record;
    };
    store(quad.left, quad.bottom, quad.s0, quad.t1);
    store(quad.right, quad.bottom, quad.s1, quad.t1);
    store(quad.left, quad.top, quad.s0, quad.t0);
    store(quad.right, quad.bottom, quad.s1, quad.t1);
    store(quad.left, quad.top, quad.s0, quad.t0);
    store(quad.right, quad.top, quad.s1, quad.t0);
    return record;
}

} // namespace Frames
