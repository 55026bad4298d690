#include "TextPainter.h"

#include "SceneColors.h"
#include "WideText.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr double kPointsPerInch = 72.0;
constexpr double kEdgePixels = 1.5;
constexpr double kWithinPixel = 0.25;
/// Of letters that are stretched where larger ones are wanted.
constexpr double kLargestPoints = 72.0;

} // namespace

TextPainter::TextPainter(std::wstring face, int points, double scale, bool stretches)
    : m_face(std::move(face)), m_points(points), m_scale(scale), m_stretches(stretches), m_isOfPicture(true),
      m_deviceContext(CreateCompatibleDC(nullptr)), m_previousFont(GetCurrentObject(m_deviceContext, OBJ_FONT)) {}

TextPainter::~TextPainter() {
    SelectObject(m_deviceContext, m_previousFont);
    DeleteObject(m_font);
    DeleteDC(m_deviceContext);
}

void TextPainter::MakeFont(int pixelsPerInch) {
    const double wanted = m_points * m_scale;
    const double largest = std::max(kLargestPoints, static_cast<double>(m_points));
    const double drawn = m_stretches ? std::min(wanted, largest) : wanted;
    m_stretch = wanted / drawn;
    m_total = m_scale * pixelsPerInch / kUsualPixelsPerInch;
    m_edgePixels = kEdgePixels * drawn / m_points * pixelsPerInch / kUsualPixelsPerInch;
    // Rounded down: the library goes back from pixels to points and rounds up.
    const int pixels = static_cast<int>(drawn * pixelsPerInch / kPointsPerInch);
    SelectObject(m_deviceContext, m_previousFont);
    DeleteObject(m_font);
    m_font = CreateFontW(-pixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_TT_PRECIS,
                         CLIP_DEFAULT_PRECIS, NONANTIALIASED_QUALITY, DEFAULT_PITCH, m_face.c_str());
    SelectObject(m_deviceContext, m_font);
    GetTextMetricsW(m_deviceContext, &m_metrics);
}

bool TextPainter::Load(KTR::COpenGLView& view, int pixelsPerInch) {
    MakeFont(pixelsPerInch);
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
    sizes.ascent = (m_metrics.tmAscent - m_metrics.tmInternalLeading) * m_stretch / m_total;
    sizes.descent = m_metrics.tmDescent * m_stretch / m_total;
    return sizes;
}

double TextPainter::MeasureWidth(const KTR::COpenGLView& view, const std::string& text) const {
    std::size_t length = 0;
    double width = 0.0;
    double height = 0.0;
    view.GetTextStringDimensions(WideText(text).c_str(), length, width, height);
    return width * m_stretch / m_total;
}

/// Whole pixels, from wherever they are counted; not so near to the next one that rounding decides.
double TextPainter::Snap(double place) const {
    return m_isOfPicture || m_total != 1.0 ? std::round(place * m_total) + kWithinPixel : place;
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
        const double x = Snap(text.x);
        const double y = Snap(text.y);
        if (m_stretch == 1.0) {
            view.DrawTextString(m_lists, wide.c_str(), nullptr, atRasterPosition, false, false, x, y, 0.0);
        } else {
            view.DrawFontAtlasScaledRotatedTextString(wide.c_str(), nullptr, false, false, x, y, 0.0, m_stretch,
                                                      m_stretch, 1.0, 0.0);
        }
    }
    view.DrawTeardownFontAtlasText(false, false);
    view.SetTextHalo({}, 0.0);
}

} // namespace OrrinViewer
