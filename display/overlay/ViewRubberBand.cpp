#include "../view/OpenGLView.h"

#include "../view/ViewAccess.h"

#include <algorithm>
#include <cmath>
#include <cwchar>

namespace KTR {

namespace {

constexpr double kThinnest = 0.5;
constexpr double kWidest = 64.0;

double InRange(double value, double low, double high) {
    return std::isnan(value) ? low : std::clamp(value, low, high);
}

/// Client pixels as coordinates: the band is drawn as it stands in the window, whatever the camera.
void CountInClientPixels(COpenGLView& view, int width, int height) {
    view.SetUpViewport(0, 0, width, height);
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(0.0, width, height, 0.0, -1.0, 1.0);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
}

} // namespace

void DrawRubberBand(COpenGLView& view, TileMask& covered) {
    const OverlayState& state = ViewAccess::Overlays(view);
    const RubberBand& band = state.band;
    const GLRubberBandStyle& style = state.bandStyle;
    CountInClientPixels(view, state.width, state.height);
    const std::vector<PointXY> outline = band.Outline();
    const double reach = style.widthPixels / 2.0 + style.casingPixels + 2.0;
    if (band.Type() == GLRubberBandCustom) {
        GLCoveredArea area{0.0, 0.0, static_cast<double>(state.width), static_cast<double>(state.height)};
        style.draw(view, outline.data(), static_cast<int>(outline.size()), area, style.context);
        covered.AddRectangle(area.left, area.top, area.right, area.bottom);
        return;
    }
    for (std::size_t index = 0; index + 1 < outline.size(); ++index) {
        covered.AddSegment(outline[index].x, outline[index].y, outline[index + 1].x, outline[index + 1].y, reach);
    }
    if (band.IsClosed()) {
        covered.AddSegment(outline.back().x, outline.back().y, outline.front().x, outline.front().y, reach);
    }
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    view.LineWidth(static_cast<float>(style.widthPixels));
    view.BeginArrays(band.IsClosed() ? GL_LINE_LOOP : GL_LINE_STRIP, GLShaderColorPassThrough);
    for (const PointXY& point : outline) {
        view.AddIndex2DVertexRGBA(point.x, point.y, style.color.r, style.color.g, style.color.b, style.color.a);
    }
    view.EndArraysAndDisableClientState();
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
    if (stored == S_OK) {
        m_overlays.band.Begin(type, {clientX, clientY});
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
    m_overlays.band.AddPoint({clientX, clientY});
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

void COpenGLView::SetRubberBandStyle(const GLRubberBandStyle& style) {
    GLRubberBandStyle& own = m_overlays.bandStyle;
    own = style;
    own.widthPixels = InRange(style.widthPixels, kThinnest, kWidest);
    own.casingPixels = InRange(style.casingPixels, 0.0, kWidest);
    own.dashPixels = InRange(style.dashPixels, 0.0, 1e4);
    own.gapPixels = InRange(style.gapPixels, 0.0, 1e4);
}

} // namespace KTR
