#pragma once

#include "../Export.h"
#include "../Framework.h"

#include <cstddef>

struct FT_FaceRec_;

namespace KTR {

class CFTGLFontAtlas;
struct FontAtlasGlyphMetrics;
struct FontParameters;

/// Fonts that can be loaded at a time.
inline constexpr int kFontSlots = 10;

/// The process's fonts and the screen measurements that font sizes depend on. One instance serves all views
/// (COpenGLView::m_gFontManager); it lives from the load of the library to its unload and is used by the thread that
/// draws. It is not locked and makes no GL call: names that must be deleted wait here for a view with a current
/// context.
///
/// Results are HRESULTs as of CFTGLFontAtlas. Questions about the current font answer for "none" when the current index
/// names no loaded font.
class ORRIN_DISPLAY_API CFTGLFontManager {
public:
    /// Does nothing that the loader's lock forbids, because the class-wide instance is made while the library loads:
    /// the screen is measured when the first view is made, or by InitializeObject.
    CFTGLFontManager() = default;
    ~CFTGLFontManager();
    CFTGLFontManager(const CFTGLFontManager&) = delete;
    CFTGLFontManager& operator=(const CFTGLFontManager&) = delete;

    /// Frees all fonts, measures the screen again and creates the default font.
    void InitializeObject();
    /// Frees all fonts. Their GL names are lost, not deleted.
    void DeleteFontLibrary();
    /// Frees one font and clears the pointer.
    static void DeleteFontAtlas(CFTGLFontAtlas** atlas);

    /// Loads Arial, 12 points, where the process uses the 4.x pipeline; elsewhere text comes from GDI and nothing is
    /// loaded. Loaded first, it takes slot 0, which is never given away.
    long CreateDefaultFont();
    /// Makes the requested font current and loads it if it is not there. The table holds ten fonts; another one pushes
    /// out the oldest but the first, in slot 1: the later ones move down a slot, and its GL names are tagged for
    /// deletion. When loading fails the font keeps its slot, without an atlas, and the current index stays as it is.
    long SetUpNewFont(FontParameters& request);
    /// Refuses (E_INVALIDARG) an index without a font and then writes the current one into `index`.
    long SetCurrentFontIndex(int& index);
    /// Slot of the current font. There may be no font in it.
    int GetCurrentFontIndex() const { return m_currentFont; }
    /// The font in a slot; null for an empty slot and for numbers outside 0 to 9.
    CFTGLFontAtlas* GetFontAtlas(int slot) const;

    /// Parts of the current font; each may be null. They stay the manager's and change with the next font.
    FontAtlasGlyphMetrics* GetCurrentFontAtlasMetrics() const;
    FontParameters* GetCurrentFontAtlasParameters() const;
    FT_FaceRec_* GetCurrentFontFace() const;

    /// A copy of the current font's request; E_INVALIDARG without one.
    long GetFontParameters(FontParameters& parameters) const;
    /// Size in pixels and the bytes of the current texture, which stay the atlas's. E_INVALIDARG without one.
    long GetCurrentFontTexture(int& width, int& height, unsigned char** bytes) const;
    /// GL names that strings in the current font are drawn with; E_INVALIDARG without one. The first string makes them
    /// where there are none. Names that are set are the library's to delete from then on; those that they take the
    /// place of become the caller's.
    long GetCurrentFontTextureAndSamplerId(unsigned int& texture, unsigned int& sampler) const;
    long SetCurrentFontTextureAndSamplerId(unsigned int texture, unsigned int sampler);

    /// Average glyph size as fractions of the em, from the atlas; 0.5 and 0.5 without a current font.
    void GetCurrentFontNotionalMetrics(double& width, double& height) const;
    /// Size of a cell, the largest glyph's; 26 and 13 without a current font.
    int GetFontAverageWidthPixels() const;
    int GetFontAverageHeightPixels() const;
    /// Average glyph size as fractions of the em, from the request; 0.5 without a current font.
    double GetFontAverageWidthNotionalUnits() const;
    double GetFontAverageHeightNotionalUnits() const;
    /// 1 when the current face has a kerning table, otherwise 0.
    int DoesCurrentFontHaveKerning() const;
    /// As CFTGLFontAtlas::GetTextStringDimensions, by the current font; E_INVALIDARG without one.
    long GetTextStringDimensions(const wchar_t* text, std::size_t& length, double* width, double* height) const;

    /// One pair of GL names can wait for deletion; another takes its place.
    void TagForDeletionTextureAndSamplerNames(unsigned int texture, unsigned int sampler);
    /// True when there is something to delete.
    bool GetTagedForDeletionTextureAndSamplerNames(unsigned int& texture, unsigned int& sampler) const;
    void ClearTaggedForDeletionTextureAndSamplerNames();

    /// Fills the screen measurements below. They do not follow a later change of the display unless this is called
    /// again.
    static void CalculateScreenDPI();
    /// Gives back the screen's device context, which stays with the library otherwise. The measurements stay.
    static void ReleaseScreen();
    /// Point size of a GDI font, from its cell height (`lfHeight` from 0 up) or its character height (below 0).
    static int GetPointSizeInLogicalUnits(HDC deviceContext, const LOGFONTW& font, const TEXTMETRICW& metrics);
    /// The same, with the metrics of the font that is selected into the device context.
    static int GetPointSizeFromLogFont(HDC deviceContext, const LOGFONTW& font);

    static int m_giLogicalDisplayWidth;    ///< pixels
    static int m_giLogicalDisplayHeight;   ///< pixels
    static int m_giLogicalDiagonalPixels;  ///< pixels, truncated
    static int m_giLogicalHorizontalDPI;   ///< pixels per inch
    static int m_giLogicalVerticalDPI;     ///< pixels per inch
    static int m_giPhysicalDisplayWidth;   ///< millimetres
    static int m_giPhysicalDisplayHeight;  ///< millimetres
    static int m_giDPI;                    ///< the larger of the two above
    static int m_giPhysicalDiagonalPixels; ///< millimetres despite its name, which hosts know it by
    static int m_giPhysicalDiagonalInches; ///< inches, truncated

private:
    CFTGLFontAtlas* CurrentAtlas() const { return GetFontAtlas(m_currentFont); }
    int FreeSlot();

    int m_currentFont = 0;
    CFTGLFontAtlas* m_atlases[kFontSlots] = {}; ///< owned
    unsigned int m_taggedTexture = 0;
    unsigned int m_taggedSampler = 0;
};

} // namespace KTR
