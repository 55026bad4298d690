#pragma once

// FreeType as the library draws with it.

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstddef>

namespace KTR {

/// How the atlas draws glyphs: each pixel on or off.
inline constexpr FT_Int32 kAtlasLoadFlags = FT_LOAD_RENDER | FT_LOAD_FORCE_AUTOHINT | FT_LOAD_TARGET_MONO;

inline constexpr int kFractionBits = 6; ///< FreeType's pixels are fixed-point numbers

inline double WholePixels(FT_Pos fixed) {
    return static_cast<double>(fixed >> kFractionBits);
}

/// Copies a glyph, black and white or in shades, to an 8-bit texture, as far as it lies within `width` and `height`.
void CopyBitmap(const FT_Bitmap& bitmap, unsigned char* target, std::size_t stride, int width, int height);

/// Has a font without a Unicode map show its symbols.
void SelectCharacterMap(FT_Face face);
/// The characters of Windows' symbol fonts begin here. Programs and users name them by their last byte alone.
inline constexpr FT_ULong kFirstSymbol = 0xF000;
/// Whether the face's characters are those of a symbol font.
inline bool HasSymbols(FT_Face face) {
    return face->charmap && face->charmap->encoding == FT_ENCODING_MS_SYMBOL;
}
/// The UTF-16 unit by which a user names the symbol kFirstSymbol + `byte`: the character that the byte stands for in
/// the code page of Western Europe.
wchar_t NameOfSymbol(int byte);
/// The glyph of a UTF-16 unit, symbols by either of their names; 0 when the font has none.
FT_UInt GlyphOfCharacter(FT_Face face, FT_ULong character);

} // namespace KTR
