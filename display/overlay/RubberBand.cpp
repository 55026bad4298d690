#include "RubberBand.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace KTR {

namespace {

/// So many edges that none is farther than a quarter of a pixel from the rim.
std::vector<PointXY> CircleOutline(const PointXY& center, const PointXY& rim) {
    constexpr double kTolerance = 0.25;
    constexpr double kFewestEdges = 16.0;
    constexpr double kMostEdges = 1024.0;
    const double radius = std::hypot(rim.x - center.x, rim.y - center.y);
    const double step = 2.0 * std::acos(1.0 - kTolerance / std::max(radius, 1.0));
    const int edges = static_cast<int>(std::clamp(std::ceil(2.0 * std::numbers::pi / step), kFewestEdges, kMostEdges));
    // From the point under the mouse on, so that it lies on the outline.
    const double first = std::atan2(rim.y - center.y, rim.x - center.x);
    std::vector<PointXY> outline(static_cast<std::size_t>(edges));
    for (int edge = 0; edge < edges; ++edge) {
        const double angle = first + 2.0 * std::numbers::pi * edge / edges;
        outline[static_cast<std::size_t>(edge)] = {center.x + radius * std::cos(angle),
                                                   center.y + radius * std::sin(angle)};
    }
    return outline;
}

} // namespace

void RubberBand::Begin(GLRubberBandTypes type, const PointXY& point) {
    m_points = {point, point};
    m_type = type;
    m_active = true;
}

void RubberBand::MoveTo(const PointXY& point) {
    m_points.back() = point;
}

void RubberBand::AddPoint(const PointXY& point) {
    m_points.back() = point;
    if (m_type == GLRubberBandLineString || m_type == GLRubberBandPolygon || m_type == GLRubberBandCustom) {
        m_points.push_back(point);
    }
}

std::vector<PointXY> RubberBand::Outline() const {
    if (m_points.empty()) {
        return {};
    }
    const PointXY& from = m_points.front();
    const PointXY& to = m_points.back();
    switch (m_type) {
    case GLRubberBandRectangle:
        return {from, {to.x, from.y}, to, {from.x, to.y}};
    case GLRubberBandCircle:
        return CircleOutline(from, to);
    default:
        return m_points;
    }
}

bool RubberBand::IsClosed() const {
    return m_type == GLRubberBandRectangle || m_type == GLRubberBandCircle || m_type == GLRubberBandPolygon;
}

} // namespace KTR
