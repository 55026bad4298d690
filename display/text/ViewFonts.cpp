#include "../view/OpenGLView.h"

#include "FontAtlas.h"
#include "FontTextures.h"

#include <cwchar>

namespace KTR {

long COpenGLView::SetUpNewFont(FontParameters& request) {
    DrawWaitingVertices();
    // A font that has to go puts its names where an earlier one's may still wait.
    DeleteTaggedFontNames(*this);
    const long result = m_gFontManager.SetUpNewFont(request);
    if (result != S_OK) {
        return result;
    }
    m_text.currentFont = m_gFontManager.GetCurrentFontIndex();
    DeleteTaggedFontNames(*this);
    return S_OK;
}

long COpenGLView::GetFontParameters(FontParameters& parameters) const {
    return m_gFontManager.GetFontParameters(parameters);
}

int COpenGLView::GetFontAverageWidthPixels() const {
    return m_gFontManager.GetFontAverageWidthPixels();
}

int COpenGLView::GetFontAverageHeightPixels() const {
    return m_gFontManager.GetFontAverageHeightPixels();
}

double COpenGLView::GetFontAverageWidthNotionalUnits() const {
    return m_gFontManager.GetFontAverageWidthNotionalUnits();
}

double COpenGLView::GetFontAverageHeightNotionalUnits() const {
    return m_gFontManager.GetFontAverageHeightNotionalUnits();
}

std::size_t COpenGLView::GetTextStringLength(const wchar_t* text) const {
    return text && m_gFontManager.GetCurrentFontAtlasMetrics() ? std::wcslen(text) : 0;
}

long COpenGLView::GetTextStringDimensions(const wchar_t* text, std::size_t& length, double& width,
                                          double& height) const {
    length = 0;
    width = 0.0;
    height = 0.0;
    return m_gFontManager.GetTextStringDimensions(text, length, &width, &height);
}

void COpenGLView::DrawSetupTextTransparency(unsigned char transparency) {
    CurrentRecord().attributes.textTransparency = transparency;
}

unsigned char COpenGLView::GetTextTransparancy() const {
    return CurrentRecord().attributes.textTransparency;
}

} // namespace KTR
