#include "ClientDrawing.h"

#include "../shapes/ShapeStyles.h"
#include "../text/MatrixScope.h"

#include <algorithm>

namespace KTR {

namespace {

constexpr double kTextHeight = 32.0; ///< above its baseline; fonts of a larger size are not expected beside a cursor
constexpr double kTextDepth = 12.0;
constexpr double kTypicalCharacterWidth = 9.0;

std::vector<PointXYZ> InPlane(const std::vector<PointXY>& points) {
    std::vector<PointXYZ> places;
    places.reserve(points.size() + 1);
    for (const PointXY& point : points) {
        places.push_back({point.x, point.y, 0.0});
    }
    return places;
}

} // namespace

ClientDrawing::ClientDrawing(COpenGLView& view) : m_view(view), m_scope(view) {
    view.GetWindowDimensions(m_width, m_height);
    GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    record.coordinateOffsetX = 0.0;
    record.coordinateOffsetY = 0.0;
    // Matrices first: a camera whose matrices are loaded would follow the viewport.
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(0.0, m_width, m_height, 0.0, -1.0, 1.0);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
    view.SetUpViewport(0, 0, m_width, m_height);
    view.Disable(GL_DEPTH_TEST);
}

void ClientDrawing::DrawLine(const std::vector<PointXY>& points, bool closed, const GLLineStyle& style,
                             TileMask* covered) {
    if (points.empty()) {
        return;
    }
    std::vector<PointXYZ> places = InPlane(points);
    if (closed) {
        places.push_back(places.front());
    }
    m_view.DrawLineString(places.data(), static_cast<int>(places.size()), style);
    if (covered) {
        // Miters reach farther than the line is wide.
        const double reach = std::max(style.width, style.casingWidth) / 2.0 * std::max(style.miterLimit, 1.5) + 2.0;
        for (std::size_t index = 0; index + 1 < places.size(); ++index) {
            covered->AddSegment(places[index].x, places[index].y, places[index + 1].x, places[index + 1].y, reach);
        }
    }
}

void ClientDrawing::FillPolygon(const std::vector<PointXY>& points, const GLRGBAColor& color, TileMask* covered) {
    if (points.size() < 3) {
        return;
    }
    GLPolygonStyle style;
    style.fillColor = color;
    m_view.DrawPolygon({InPlane(points)}, style);
    if (covered) {
        const auto [left, right] =
            std::ranges::minmax_element(points, {}, [](const PointXY& point) { return point.x; });
        const auto [top, bottom] =
            std::ranges::minmax_element(points, {}, [](const PointXY& point) { return point.y; });
        covered->AddRectangle(left->x - 1.0, top->y - 1.0, right->x + 1.0, bottom->y + 1.0);
    }
}

void ClientDrawing::DrawString(const std::wstring& text, double x, double y, const GLRGBAColor& color,
                               TileMask* covered) {
    if (text.empty()) {
        return;
    }
    // Glyphs stand upright where y grows upwards. Their blending is the host's affair.
    const MatrixScope upwards(m_view, COpenGLMath::OrthoMatrix(0.0, m_width, 0.0, m_height, -1.0, 1.0));
    m_view.Enable(GL_BLEND);
    m_view.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    m_view.Color(color);
    m_view.DrawFontAtlasScaledRotatedTextString(text.c_str(), nullptr, false, false, x, m_height - y, 0.0, 1.0, 1.0,
                                                1.0, 0.0);
    if (covered) {
        covered->AddRectangle(x - 4.0, y - kTextHeight, x + 1.5 * WidthOf(text) + 4.0, y + kTextDepth);
    }
}

double ClientDrawing::WidthOf(const std::wstring& text) const {
    std::size_t length = 0;
    double width = 0.0;
    double height = 0.0;
    m_view.GetTextStringDimensions(text.c_str(), length, width, height);
    return width > 0.0 ? width : kTypicalCharacterWidth * static_cast<double>(text.size());
}

} // namespace KTR
