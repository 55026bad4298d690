#pragma once

// Pictures of a font's glyphs, drawn when a string first needs them: the glyphs that no character has alone (ligatures,
// joined forms), smooth ones for letters that are turned, and halos. The font's atlas has none of these.

#include "GlyphHalo.h"
#include "TextLayout.h"

#include <deque>
#include <memory>
#include <unordered_map>

struct FT_FaceRec_;

namespace KTR {

struct FontAtlasGlyphMetrics;
class TextShaper;

/// What is shown of a glyph.
struct GlyphLook {
    unsigned int glyph = 0; ///< the font's own number
    bool smooth = false;    ///< in shades, for letters that do not stand on the pixels
    int haloQuarters = 0;   ///< width of its halo in quarters of a pixel; 0 for the glyph itself
};

/// A picture in the sheet, and where it lies about the pen, in pixels.
struct SheetGlyph {
    int x = 0; ///< of its upper left in the sheet
    int y = 0;
    int width = 0; ///< 0 when there is nothing to draw
    int height = 0;
    double left = 0.0; ///< from the pen
    double bottom = 0.0;
};

/// Knows nothing of OpenGL. Pictures lie in rows, with an empty pixel around each, in one 8-bit texture that grows
/// downwards. When the largest one is full, all of them go, and what strings still need is drawn again.
class GlyphSheet {
public:
    /// The face has to outlive this and keep its size.
    GlyphSheet(FT_FaceRec_* face, int maximumTextureSize);
    ~GlyphSheet();
    GlyphSheet(const GlyphSheet&) = delete;
    GlyphSheet& operator=(const GlyphSheet&) = delete;

    /// The picture, drawn now if it is new. Null when there is no room: call Clear and start over. Throws when there is
    /// no memory.
    const SheetGlyph* Find(const GlyphLook& look);
    /// A spot that is all ink, for lines. Null as above.
    const SheetGlyph* FindInk();
    void Clear();
    /// Height in pixels of the glyph's picture, as the atlas has it, whether there is room for that or not. Throws when
    /// there is no memory.
    int HeightOf(unsigned int glyph);

    /// The glyphs of the string's characters, each by itself, with the font's kerning, as the atlas would be drawn
    /// with. Good until the next one.
    const TextLayout& LayOutPlain(const FontAtlasGlyphMetrics& font, class KerningCache* kerning, const wchar_t* text);
    /// As HarfBuzz joins and places them. Kept, since maps draw the same names again and again.
    const TextLayout& LayOutShaped(const wchar_t* text);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    const unsigned char* Pixels() const { return m_pixels.data(); }
    /// Changes whenever places in the texture do, its size included.
    unsigned int Generation() const { return m_generation; }
    /// Pictures in the order in which they were drawn.
    const std::vector<SheetGlyph>& Drawn() const { return m_drawn; }

    /// For who draws a string: its pictures and those of its halos. Kept here so that they are not allocated for each.
    struct Scratch {
        std::vector<const SheetGlyph*> letters;
        std::vector<const SheetGlyph*> halos;
    };
    Scratch& DrawingScratch() { return m_scratch; }

private:
    /// The pictures of one look, by glyph; null where there is none yet.
    struct LookTable {
        bool smooth = false;
        int haloQuarters = 0;
        std::vector<const SheetGlyph*> glyphs;
    };

    LookTable& TableOf(const GlyphLook& look);
    const SheetGlyph* Draw(const GlyphLook& look, LookTable& table);
    bool Place(const GlyphImage& image, SheetGlyph& glyph);
    bool Grow();
    unsigned int GlyphOf(const FontAtlasGlyphMetrics& font, wchar_t character);

    FT_FaceRec_* m_face;
    int m_width;
    int m_height = 0;
    int m_maximumHeight;
    int m_rowX = 0; ///< the open row of pictures
    int m_rowY = 0;
    int m_rowHeight = 0;
    unsigned int m_generation = 1;
    std::vector<unsigned char> m_pixels;
    std::vector<SheetGlyph> m_drawn;
    std::deque<SheetGlyph> m_pictures; ///< what the tables point to
    std::vector<LookTable> m_tables;
    std::vector<int> m_heights; ///< by glyph; -1 where not asked yet
    const SheetGlyph* m_ink = nullptr;
    TextLayout m_plain;
    std::vector<unsigned int> m_glyphsOfCharacters; ///< for each UTF-16 unit; all bits where not asked yet
    std::unordered_map<std::wstring, TextLayout> m_layouts;
    std::unique_ptr<TextShaper> m_shaper;
    Scratch m_scratch;
};

} // namespace KTR
