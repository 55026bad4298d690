#include "../view/OpenGLView.h"

#include "../platform/Border.h"
#include "../shapes/ShapeStyles.h"
#include "ClientDrawing.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace KTR {

namespace {

constexpr double kThinnest = 0.5;
constexpr double kWidest = 64.0;

double InRange(double value, double low, double high) {
    return std::isnan(value) ? low : std::clamp(value, low, high);
}

constexpr int kTextCapacity = 256;
constexpr double kTextAside = 10.0; // from the mouse, to the right and up

GLLineStyle LineStyleOf(const GLRubberBandStyle& style) {
    GLLineStyle line;
    line.color = style.color;
    line.width = style.widthPixels;
    line.join = GLLineJoinRound;
    line.miterLimit = 1.0;
    if (style.dashPixels > 0.0) {
        line.dashes = {style.dashPixels, style.gapPixels};
    }
    if (style.casingColor.a != 0 && style.casingPixels > 0.0) {
        line.casingWidth = style.widthPixels + 2.0 * style.casingPixels;
        line.casingColor = style.casingColor;
    }
    return line;
}

std::wstring TextBeside(const RubberBand& band, const GLRubberBandStyle& style) {
    wchar_t text[kTextCapacity] = {};
    if (style.text) {
        style.text(band.Points().data(), static_cast<int>(band.Points().size()), text, kTextCapacity, style.context);
        text[kTextCapacity - 1] = L'\0';
    }
    return text;
}

} // namespace

void DrawRubberBand(COpenGLView& view, TileMask& covered) {
    const OverlayState& state = ViewAccess::Overlays(view);
    const RubberBand& band = state.band;
    const GLRubberBandStyle& style = state.bandStyle;
    if (band.Type() == GLRubberBandCustom) {
        const OverlayScope scope(view);
        view.Disable(GL_DEPTH_TEST);
        GLCoveredArea area{0.0, 0.0, static_cast<double>(state.width), static_cast<double>(state.height)};
        style.draw(view, band.Points().data(), static_cast<int>(band.Points().size()), area, style.context);
        covered.AddRectangle(area.left, area.top, area.right, area.bottom);
    } else {
        ClientDrawing drawing(view);
        const std::vector<PointXY> outline = band.Outline();
        if (band.IsClosed() && style.fillColor.a != 0) {
            drawing.FillPolygon(outline, style.fillColor, &covered);
        }
        drawing.DrawLine(outline, band.IsClosed(), LineStyleOf(style), &covered);
    }
    if (const std::wstring text = TextBeside(band, style); !text.empty()) {
        ClientDrawing drawing(view);
        // Beside the mouse, and inside of the window.
        const double width = drawing.WidthOf(text);
        const PointXY& mouse = band.Points().back();
        const double x = std::max(std::min(mouse.x + kTextAside, drawing.Width() - width - kTextAside), kTextAside);
        const double y = std::max(mouse.y - kTextAside, 3.0 * kTextAside);
        if (style.casingColor.a != 0 && style.casingPixels > 0.0) {
            for (const PointXY& aside : {PointXY{-1.0, 0.0}, {1.0, 0.0}, {0.0, -1.0}, {0.0, 1.0}}) {
                drawing.DrawString(text, x + aside.x, y + aside.y, style.casingColor);
            }
        }
        drawing.DrawString(text, x, y, style.color, &covered);
    }
}

long COpenGLView::BeginRubberBand(GLRubberBandTypes type, double clientX, double clientY) {
    if (type < GLRubberBandLine || type > GLRubberBandCustom || !std::isfinite(clientX) || !std::isfinite(clientY) ||
        (type == GLRubberBandCustom && !m_overlays.bandStyle.draw)) {
        return E_INVALIDARG;
    }
    if (m_overlays.band.IsActive()) {
        EndRubberBand(false);
    }
    // The frame is stored before the first move, so that that one is quick.
    const long stored = StoreHostFrame(*this);
    if (stored == S_OK && !AtTheBorder([&] { m_overlays.band.Begin(type, {clientX, clientY}); })) {
        return E_OUTOFMEMORY;
    }
    return stored;
}

long COpenGLView::MoveRubberBand(double clientX, double clientY) {
    if (!std::isfinite(clientX) || !std::isfinite(clientY)) {
        return E_INVALIDARG;
    }
    if (!m_overlays.band.IsActive()) {
        return S_FALSE;
    }
    m_overlays.band.MoveTo({clientX, clientY});
    return ComposeOverlays(*this);
}

long COpenGLView::AddRubberBandPoint(double clientX, double clientY) {
    if (!std::isfinite(clientX) || !std::isfinite(clientY)) {
        return E_INVALIDARG;
    }
    if (!m_overlays.band.IsActive()) {
        return S_FALSE;
    }
    if (!AtTheBorder([&] { m_overlays.band.AddPoint({clientX, clientY}); })) {
        return E_OUTOFMEMORY;
    }
    return ComposeOverlays(*this);
}

long COpenGLView::EndRubberBand(bool keep) {
    if (!m_overlays.band.IsActive()) {
        return S_FALSE;
    }
    m_overlays.band.End();
    if (keep) {
        return KeepRubberBand(*this);
    }
    return ComposeOverlays(*this);
}

int COpenGLView::GetRubberBandPoints(PointXY* points, int capacity) const {
    const std::vector<PointXY>& band = m_overlays.band.Points();
    const int count = static_cast<int>(band.size());
    if (points) {
        std::copy_n(band.begin(), std::clamp(capacity, 0, count), points);
    }
    return count;
}

int COpenGLView::GetRubberBandPoints(PointXYZ* points, int capacity) const {
    constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();
    const std::vector<PointXY>& band = m_overlays.band.Points();
    const int count = static_cast<int>(band.size());
    for (int index = 0; points && index < std::min(capacity, count); ++index) {
        const PointXY& client = band[static_cast<std::size_t>(index)];
        PointXYZ world{kNowhere, kNowhere, kNowhere};
        Client2RealWorld(client.x, client.y, world.x, world.y, world.z);
        points[index] = world;
    }
    return count;
}

void COpenGLView::SetRubberBandStyle(const GLRubberBandStyle& style) {
    GLRubberBandStyle& own = m_overlays.bandStyle;
    own = style;
    own.widthPixels = InRange(style.widthPixels, kThinnest, kWidest);
    own.casingPixels = InRange(style.casingPixels, 0.0, kWidest);
    own.dashPixels = InRange(style.dashPixels, 0.0, 1e4);
    own.gapPixels = InRange(style.gapPixels, 0.0, 1e4);
}

} // namespace KTR
