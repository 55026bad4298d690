#include "../view/OpenGLView.h"

#include "../view/ViewAccess.h"
#include "FontAtlas.h"
#include "FontTextures.h"
#include "ListDrawing.h"
#include "SheetDrawing.h"
#include "StringDrawing.h"

#include <cwchar>

namespace KTR {

namespace {

/// Whether strings of the current context are drawn from display lists, and measured as those.
bool HasLists(const COpenGLView& view) {
    const TextLists& lists = ViewAccess::CurrentRecord(view).objects.textLists;
    return !view.DrawsWithPrograms() && (lists.raster != 0 || lists.outline != 0);
}

} // namespace

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
    const bool measures = HasLists(*this) || m_gFontManager.GetCurrentFontAtlasMetrics();
    return text && measures ? std::wcslen(text) : 0;
}

long COpenGLView::GetTextStringDimensions(const wchar_t* text, std::size_t& length, double& width,
                                          double& height) const {
    length = 0;
    width = 0.0;
    height = 0.0;
    if (!text) {
        return E_INVALIDARG;
    }
    CFTGLFontAtlas* const atlas = CurrentAtlas();
    if (m_text.look.shaping && atlas && atlas->GetAtlasMetrics() && atlas->GetFontFace()) {
        length = std::wcslen(text);
        return MeasureShaped(*atlas, text, width, height);
    }
    if (HasLists(*this)) {
        length = std::wcslen(text);
        MeasureLists(CurrentRecord().objects.textLists, text, width, height);
        return S_OK;
    }
    return m_gFontManager.GetTextStringDimensions(text, length, &width, &height);
}

void COpenGLView::DrawSetupTextTransparency(unsigned char transparency) {
    CurrentRecord().attributes.textTransparency = transparency;
}

unsigned char COpenGLView::GetTextTransparancy() const {
    return CurrentRecord().attributes.textTransparency;
}

} // namespace KTR
