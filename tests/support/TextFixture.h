#pragma once

#include "FontFile.h"
#include "ViewFixture.h"

/// Fonts of a process without views: the screen is measured, the table empty, textures as large as today's cards allow.
class FontTest : public FreshProcessTest {
protected:
    FontTest() {
        COpenGLView::m_gsOpenGLVersionData.iMaxTextureSize = 16384;
        CFTGLFontManager::CalculateScreenDPI();
    }
};

/// Makes Arial of this size, with lines under and through it, the current font.
inline void UseFont(COpenGLView& view, int points, bool underline = false, bool strikeout = false) {
    FontParameters request = FontRequest(L"arial", points);
    request.underline = underline;
    request.strikeout = strikeout;
    request.logicalFont.lfUnderline = underline;
    request.logicalFont.lfStrikeOut = strikeout;
    ASSERT_EQ(view.SetUpNewFont(request), S_OK);
}

/// One string in a run of its own, in pixels of the window.
inline void DrawInPixels(COpenGLView& view, const wchar_t* text, double x, double y) {
    view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    EXPECT_EQ(view.DrawFontAtlasText(text, x, y, 0.0, false, false), S_OK);
    view.DrawTeardownFontAtlasText(false, true);
}

/// A GDI font of so many pixels an em, while it lives.
class GdiArial {
public:
    explicit GdiArial(int pixels = 16)
        : m_font(CreateFontW(-pixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, ANSI_CHARSET, 0, 0, 0, 0, L"Arial")) {}
    ~GdiArial() { DeleteObject(m_font); }
    GdiArial(const GdiArial&) = delete;
    GdiArial& operator=(const GdiArial&) = delete;
    operator HFONT() const { return m_font; }

private:
    HFONT m_font;
};
