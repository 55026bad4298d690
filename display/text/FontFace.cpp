#include "FontFace.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace KTR {

namespace {

constexpr UINT kWesternEurope = 1252;

/// Row `row` from the top. With a negative pitch the bottom row comes first in memory.
const unsigned char* RowOf(const FT_Bitmap& bitmap, int row) {
    const int rows = static_cast<int>(bitmap.rows);
    return bitmap.buffer +
           static_cast<std::ptrdiff_t>(bitmap.pitch < 0 ? rows - 1 - row : row) * std::abs(bitmap.pitch);
}

} // namespace

void CopyBitmap(const FT_Bitmap& bitmap, unsigned char* target, std::size_t stride, int width, int height) {
    const int columns = std::min(static_cast<int>(bitmap.width), width);
    const int rows = std::min(static_cast<int>(bitmap.rows), height);
    for (int y = 0; y < rows; ++y, target += stride) {
        const unsigned char* row = RowOf(bitmap, y);
        if (bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) {
            std::memcpy(target, row, static_cast<std::size_t>(columns));
        } else if (bitmap.pixel_mode == FT_PIXEL_MODE_MONO) {
            for (int x = 0; x < columns; ++x) {
                target[x] = (row[x >> 3] & (0x80 >> (x & 7))) ? 0xFF : 0x00;
            }
        }
    }
}

void SelectCharacterMap(FT_Face face) {
    // FreeType chooses a Unicode map by itself, and none where there is none.
    if (!face->charmap) {
        FT_Select_Charmap(face, FT_ENCODING_MS_SYMBOL);
    }
}

wchar_t NameOfSymbol(int byte) {
    const char character = static_cast<char>(byte);
    wchar_t name = L'\0';
    MultiByteToWideChar(kWesternEurope, 0, &character, 1, &name, 1);
    return name;
}

FT_UInt GlyphOfCharacter(FT_Face face, FT_ULong character) {
    const FT_UInt glyph = FT_Get_Char_Index(face, character);
    if (glyph != 0 || !HasSymbols(face) || character >= kFirstSymbol) {
        return glyph;
    }
    const auto name = static_cast<wchar_t>(character);
    char byte = '\0';
    BOOL lacking = FALSE;
    const int size = WideCharToMultiByte(kWesternEurope, WC_NO_BEST_FIT_CHARS, &name, 1, &byte, 1, nullptr, &lacking);
    return size == 1 && !lacking ? FT_Get_Char_Index(face, kFirstSymbol + static_cast<unsigned char>(byte)) : 0;
}

} // namespace KTR
