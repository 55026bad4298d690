#pragma once

struct FT_FaceRec_;
struct FT_LibraryRec_;

namespace KTR {

/// The memory of one FreeType library.
///
/// NOTE: FreeType 2.12 does not look at the answer to some of its requests (the machine that hints TrueType outlines is
/// one) and crashes where there was none. So a request that the system refuses is served from a reserve that the
/// library was made with. Who has called FreeType asks afterwards whether that was touched, and then gives up.
struct FontMemory;

/// A library with all of FreeType's modules, and its memory. Null for both when there is none.
FT_LibraryRec_* MakeFontLibrary(FontMemory*& memory);
/// Both are null afterwards.
void DeleteFontLibrary(FT_LibraryRec_*& library, FontMemory*& memory);
/// Whether a request was refused since the library was made: what FreeType has loaded may be incomplete.
bool IsExhausted(const FontMemory& memory);

/// FT_Load_Glyph for faces of such a library, the only way that glyphs are loaded. FreeType's errors.
///
/// NOTE: FreeType 2.12 follows glyphs that are made of others to any depth. Thirty, each made of four times the one
/// before, would take it longer than the world is old. Each part of a glyph asks for memory, so a glyph that asks too
/// often gets none.
int LoadGlyph(FT_FaceRec_* face, unsigned int glyph, int flags);

} // namespace KTR
