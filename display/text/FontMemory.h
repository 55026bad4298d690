#pragma once

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

} // namespace KTR
