#include "../platform/Border.h"
#include "../view/OpenGLView.h"
#include "GlyphHalo.h"
#include "LinePath.h"
#include "LineText.h"
#include "LineTextStyle.h"
#include "StringDrawing.h"

#include <algorithm>
#include <cmath>

namespace KTR {

void COpenGLView::SetTextHalo(const GLRGBAColor& color, double widthPixels) {
    m_text.look.haloColor = color;
    m_text.look.haloWidth = std::isnan(widthPixels) ? 0.0 : std::clamp(widthPixels, 0.0, kWidestHalo);
}

GLRGBAColor COpenGLView::GetTextHaloColor() const {
    return m_text.look.haloColor;
}

double COpenGLView::GetTextHaloWidth() const {
    return m_text.look.haloWidth;
}

void COpenGLView::SetTextShaping(bool on) {
    m_text.look.shaping = on;
}

bool COpenGLView::GetTextShaping() const {
    return m_text.look.shaping;
}

long COpenGLView::DrawTextAlongLine(const wchar_t* text, const PointXYZ* points, int count,
                                    const GLLineTextStyle& style) {
    if (!text || !points || count < 2) {
        return E_INVALIDARG;
    }
    try {
        return DrawStringAlongLine(*this, text, {points, static_cast<std::size_t>(count)}, CleanStyle(style));
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

} // namespace KTR
