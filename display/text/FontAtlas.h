#pragma once

#include "../Export.h"
#include "FontParameters.h"

#include <cstddef>

struct FT_LibraryRec_;
struct FT_FaceRec_;

namespace KTR {

class FontClock;
struct FontMemory;
class GlyphSheet;
class KerningCache;
class PackedCells;

/// Result for a file that the look-up found but that is no font.
inline constexpr long kNotAFontFile = static_cast<long>(0x80548204UL);

/// How the cells of an atlas lie in its texture: equal cells without padding, filled row by row.
struct FontGrid {
    long long columns = 0;
    long long rows = 0;
    long long textureWidth = 0;  ///< pixels
    long long textureHeight = 0; ///< pixels
    long long textureBytes = 0;  ///< one byte for each pixel
    bool fits = false;           ///< neither side exceeds the largest texture
};

/// Lays out `characters` cells of `cellWidth` × `cellHeight` pixels in a texture whose sides may have
/// `maximumTextureSize` pixels. Without cells, or without pixels in them, the grid is empty and does not fit.
ORRIN_DISPLAY_API FontGrid LayOutFontGrid(int characters, int cellWidth, int cellHeight, int maximumTextureSize);

/// Every character of one font at one size, drawn side by side into an 8-bit coverage texture (0 or 255), with the
/// measures that text is laid out by. The atlas finds the font file, opens it with FreeType at the screen's DPI and
/// keeps the face open for kerning.
///
/// Results are HRESULTs: S_OK, E_INVALIDARG, E_FAIL, E_OUTOFMEMORY, or kNotAFontFile. After a failed build there
/// is no record and no texture. Not locked; used by the thread that draws. Needs no current context.
class ORRIN_DISPLAY_API CFTGLFontAtlas {
public:
    /// An empty atlas. Where the names of the default request find no memory it has none.
    CFTGLFontAtlas();
    ~CFTGLFontAtlas();
    CFTGLFontAtlas(const CFTGLFontAtlas&) = delete;
    CFTGLFontAtlas& operator=(const CFTGLFontAtlas&) = delete;

    /// Forgets (does not free) what the atlas owns and restores the default request, as far as its names find memory.
    /// Call FreeDataStructures first.
    void InitializeObject();
    /// Frees everything: face, library, record and texture bytes.
    void FreeDataStructures();
    /// Closes the face and FreeType. Text that is measured afterwards has no kerning.
    void ReleaseFontLibrary();
    /// Frees the texture bytes. Strings do not miss them.
    void ReleaseRawTexture();
    /// Frees the record and the texture bytes. The GL names in the record are the drawer's to delete, before.
    void ReleaseFontAtlas();

    /// Whether the request's LOGFONTW names the font that was last asked for, built or not.
    bool IsFontRequestSameAsCurrentFont(const FontParameters& request) const;
    /// Builds the atlas for `request`, whose pixel height it fills from the point size. The font that is there already
    /// is kept (S_OK), even when its build had failed.
    long SetUpNewFont(FontParameters& request);
    /// Makes the GDI font and reads back what the system made of it. `height` is in pixels; null `face` is refused.
    long BuildFontAndGetMetrics(HDC deviceContext, const wchar_t* face, int height, int weight,
                                unsigned char characterSet, unsigned char italic, unsigned char underline,
                                unsigned char strikeOut, LOGFONTW& font, TEXTMETRICW& metrics);
    /// Finds and opens the request's font file and builds the atlas from it. A file that is not there gives
    /// E_INVALIDARG; message boxes tell when the registry does not know the font.
    long InitializeFreeTypeLibrary(const FontParameters& request);
    /// Draws the open face's characters: each pixel on or off with `monochrome`, in shades without. A message box tells
    /// when they do not fit the largest texture.
    long BuildFontAtlas(bool monochrome);

    /// Measures a string. Either result may be null, and is then not computed; `length` is the number of characters.
    ///
    /// NOTE: With one result only, a character's code is taken for its cell. Hosts know these figures; ask for both to
    /// get what is drawn.
    long GetTextStringDimensions(const wchar_t* text, std::size_t& length, double* width, double* height) const;

    /// The record, or null while the atlas is not built.
    FontAtlasGlyphMetrics* GetAtlasMetrics() const { return m_metrics; }
    /// Texture rows from the top, without padding; null before the build and after ReleaseRawTexture. The atlas itself
    /// keeps less than the texture has: all of its bytes are there from the first question on, and null is the answer
    /// where they find no memory. What a host changes in them is uploaded, as far as it was not before.
    unsigned char* GetRawTexture() const;
    /// Writes `count` of these rows from the `first` one on to `rows`, also after ReleaseRawTexture. E_INVALIDARG for
    /// rows that are not there.
    long CopyTextureRows(int first, int count, unsigned char* rows) const;
    /// The open face, or null.
    FT_FaceRec_* GetFontFace() const { return m_face; }
    /// Kerning of the open face; null when it has none, or when out of memory.
    KerningCache* GetKerning();
    /// Pictures of single glyphs, which the texture does not have; null without a face, or when out of memory.
    GlyphSheet* GetSheet();
    /// The request that the atlas was last asked to build.
    FontParameters& GetFontParameters() { return m_parameters; }
    const FontParameters& GetFontParameters() const { return m_parameters; }
    /// The file that was handed to FreeType.
    const CString& GetFontFilePath() const { return m_path; }

private:
    long SetUp(FontParameters& request);
    long OpenFontFile(const FontParameters& request);
    long Build(bool monochrome);
    long Measure(const FontClock& clock);
    long LayOut();
    long DrawCells(bool monochrome, const FontClock& clock);
    long AbandonBuild(long result);
    double KerningOf(const wchar_t* text) const;

    FontAtlasGlyphMetrics* m_metrics = nullptr;    ///< malloc
    PackedCells* m_cells = nullptr;                ///< owned; as long as the record
    mutable unsigned char* m_rawTexture = nullptr; ///< malloc; made of the cells when first asked for
    bool m_rawTextureReleased = false;
    FT_LibraryRec_* m_library = nullptr;
    FontMemory* m_memory = nullptr; ///< of m_library
    FT_FaceRec_* m_face = nullptr;
    KerningCache* m_kerning = nullptr; ///< owned; of m_face, made when first asked for
    GlyphSheet* m_sheet = nullptr;     ///< owned; likewise
    FontParameters m_parameters;
    CString m_path;
};

} // namespace KTR
