#pragma once

#include "../Export.h"

/// The process's fonts and the screen measurements that font sizes depend on. One instance serves all views
/// (COpenGLView::m_gFontManager); it lives from the load of the library to its unload and is used by the thread that
/// draws. It is not locked.
class ORRIN_DISPLAY_API CFTGLFontManager {
public:
    /// Does nothing that the loader's lock forbids, because the class-wide instance is made while the library loads:
    /// the screen is measured when the first view is made, or by InitializeObject.
    CFTGLFontManager() = default;
    CFTGLFontManager(const CFTGLFontManager&) = delete;
    CFTGLFontManager& operator=(const CFTGLFontManager&) = delete;

    /// Measures the screen again.
    void InitializeObject();

    /// Fills the screen measurements below. They do not follow a later change of the display unless this is called
    /// again.
    static void CalculateScreenDPI();

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
};
