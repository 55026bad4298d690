#pragma once

#include "../Export.h"
#include "../Framework.h"

#include <richedit.h>

namespace KTR {

/// The rich-edit description that a new font request carries: every attribute valid, default character set.
inline CHARFORMATW DefaultCharacterFormat(COLORREF textColor) {
    CHARFORMATW format = {};
    format.cbSize = sizeof(CHARFORMATW);
    format.dwMask = CFM_ALL;
    format.crTextColor = textColor;
    format.bCharSet = DEFAULT_CHARSET;
    const wchar_t face[] = L"arial";
    for (int index = 0; face[index] != 0; ++index) {
        format.szFaceName[index] = face[index];
    }
    return format;
}

/// One font request, copied by value between the view, the font manager and the atlas.
///
/// `logicalFont` is what identifies a font: two requests whose LOGFONTW agree in face name, height, weight, italic,
/// underline and strike-out ask for the same font, whatever the other fields say. Fill it, or the font that is there
/// counts as the one asked for. The cell and average fields are results of building the atlas.
struct FontParameters {
    CString faceName = L"arial"; ///< family, by which the font file is looked up
    CString styleName = L"Regular";
    unsigned char bold = 0;
    unsigned char italic = 0;
    unsigned char strikeout = 0;
    unsigned char underline = 0;
    unsigned char characterSet = DEFAULT_CHARSET;
    COLORREF textColor = 0xFFFFFFFF;
    int pixelHeight = 13; ///< at the screen's vertical DPI; CFTGLFontAtlas::SetUpNewFont takes it from `pointSize`
    int pointSize = 10;
    int weight = FW_NORMAL;
    int cellWidth = 0;           ///< pixels, the widest glyph
    int cellHeight = 0;          ///< pixels, the tallest glyph
    int averageWidthUnits = 0;   ///< font units, truncated
    int averageHeightUnits = 0;  ///< font units, truncated
    double averageWidthEm = 0.0; ///< fraction of the em
    double averageHeightEm = 0.0;
    CHARFORMATW characterFormat = DefaultCharacterFormat(0xFFFFFFFF); ///< for the host; the library does not read it
    LOGFONTW logicalFont = {};
    TEXTMETRICW textMetrics = {};
};

/// One cell of an atlas. Texture coordinates have t growing downwards, as the rows of the texture do.
struct FontAtlasGlyph {
    double advance;     ///< whole pixels from this pen position to the next
    double width;       ///< pixels
    double height;      ///< pixels
    double leftBearing; ///< pixels from the pen to the left edge
    double topBearing;  ///< pixels from the baseline up to the top edge
    double s0, s1;      ///< left and right, a hundredth of a texel outside the glyph, within 0 to 1
    double t0, t1;      ///< top and bottom, likewise
    double xOffset;     ///< the left bearing again
    double descent;     ///< bottom edge relative to the baseline in pixels; negative below it
};

/// What is known of a built atlas. Owned by its CFTGLFontAtlas.
struct FontAtlasGlyphMetrics {
    unsigned int boundTexture; ///< texture that strings were drawn with last; 0 after the build
    int ready;                 ///< 1 once the atlas is complete
    int faceIndex;             ///< of the face in its file
    int glyphCount;            ///< glyphs in the font file, drawable or not
    int renderedCharacters;    ///< elements of `glyphs`
    int constant;              ///< always 128
    int textureWidth;          ///< pixels
    int textureHeight;         ///< pixels
    int rows;
    int columns;
    int cellWidth;        ///< pixels
    int cellHeight;       ///< pixels
    double averageWidth;  ///< fraction of the em
    double averageHeight; ///< fraction of the em
    long long textureBytes;
    unsigned int textureName;           ///< what strings are drawn with, which upload its rows; 0 after the build
    unsigned int samplerName;           ///< for strings of their own size; 0 after the build
    unsigned short characterMap[65536]; ///< cell of each UTF-16 unit; 0, the first cell, for one that the font lacks
    FontAtlasGlyph* glyphs;             ///< malloc; one for each cell
};

} // namespace KTR
