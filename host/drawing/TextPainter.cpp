#include "TextPainter.h"

#include "SceneColors.h"
#include "WideText.h"

#include <algorithm>

namespace OrrinViewer {

namespace {

constexpr double kPointsPerInch = 72.0;
constexpr double kEdgePixels = 1.5;
/// Of letters that are stretched where larger ones are wanted.
constexpr double kLargestPoints = 72.0;

} // namespace

TextPainter::TextPainter(const std::wstring& face, int points, double scale, bool stretches)
    : m_deviceContext(CreateCompatibleDC(nullptr)) {
    const double wanted = points * scale;
    const double drawn = stretches ? std::min(wanted, std::max(kLargestPoints, static_cast<double>(points))) : wanted;
    m_stretch = wanted / drawn;
    m_edgePixels = kEdgePixels * drawn / points;
    // Rounded down: the library goes back from pixels to points and rounds up.
    const int pixels = static_cast<int>(drawn * GetDeviceCaps(m_deviceContext, LOGPIXELSY) / kPointsPerInch);
    m_font = CreateFontW(-pixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_TT_PRECIS,
                         CLIP_DEFAULT_PRECIS, NONANTIALIASED_QUALITY, DEFAULT_PITCH, face.c_str());
    m_previousFont = SelectObject(m_deviceContext, m_font);
    GetTextMetricsW(m_deviceContext, &m_metrics);
}

TextPainter::~TextPainter() {
    SelectObject(m_deviceContext, m_previousFont);
    DeleteObject(m_font);
    DeleteDC(m_deviceContext);
}

bool TextPainter::Load(KTR::COpenGLView& view) {
    // The lists are made through the device context that the window's rendering context is current on.
    const HDC deviceContext = view.GetContextRecord(view.GetCurrentContextType()).deviceContext;
    m_loaded = SUCCEEDED(view.RefreshRasterFont(deviceContext, m_lists, m_font, RGB(255, 255, 255)));
    return m_loaded;
}

void TextPainter::Release(KTR::COpenGLView& view) {
    view.DeleteFont(m_lists);
    m_loaded = false;
}

TextSizes TextPainter::Sizes(const KTR::COpenGLView& view) const {
    TextSizes sizes;
    sizes.width = [this, &view](const std::string& text) { return MeasureWidth(view, text); };
    sizes.ascent = (m_metrics.tmAscent - m_metrics.tmInternalLeading) * m_stretch;
    sizes.descent = m_metrics.tmDescent * m_stretch;
    return sizes;
}

double TextPainter::MeasureWidth(const KTR::COpenGLView& view, const std::string& text) const {
    std::size_t length = 0;
    double width = 0.0;
    double height = 0.0;
    view.GetTextStringDimensions(WideText(text).c_str(), length, width, height);
    return width * m_stretch;
}

void TextPainter::Draw(KTR::COpenGLView& view, const std::vector<PixelText>& texts) const {
    if (!m_loaded || texts.empty()) {
        return;
    }
    // Without programs text is drawn at the raster position, which has to be set for each string.
    const bool atRasterPosition = !view.DrawsWithPrograms();
    view.SetTextHalo({kDarkEdge.red, kDarkEdge.green, kDarkEdge.blue, 255}, m_edgePixels);
    view.Color(kLight.red, kLight.green, kLight.blue, 255);
    view.DrawSetupFontAtlasText(false, true, 0, 0.0, 0.0);
    for (const PixelText& text : texts) {
        const std::wstring wide = WideText(text.text);
        if (m_stretch == 1.0) {
            view.DrawTextString(m_lists, wide.c_str(), nullptr, atRasterPosition, false, false, text.x, text.y, 0.0);
        } else {
            view.DrawFontAtlasScaledRotatedTextString(wide.c_str(), nullptr, false, false, text.x, text.y, 0.0,
                                                      m_stretch, m_stretch, 1.0, 0.0);
        }
    }
    view.DrawTeardownFontAtlasText(false, false);
    view.SetTextHalo({}, 0.0);
}

} // namespace OrrinViewer
