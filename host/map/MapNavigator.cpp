#include "MapNavigator.h"

#include <algorithm>

namespace OrrinViewer {

namespace {

constexpr double kMarginFactor = 1.08;
constexpr double kSmallestUnitsPerPixel = 1e-6;
constexpr double kLargestUnitsPerPixel = 1e6;

} // namespace

void MapNavigator::Resize(int widthPixels, int heightPixels) {
    m_width = std::max(widthPixels, 1);
    m_height = std::max(heightPixels, 1);
}

void MapNavigator::Fit(const Extent& extent) {
    if (extent.IsEmpty()) {
        return;
    }
    // A single position has no size to fit; any scale shows it.
    m_unitsPerPixel = 1.0;
    ShowWithMargin(extent, kMarginFactor);
}

void MapNavigator::Show(const Extent& area) {
    if (!area.IsEmpty() && area.Diagonal() > 0.0) {
        ShowWithMargin(area, 1.0);
    }
}

void MapNavigator::ShowWithMargin(const Extent& extent, double marginFactor) {
    const Position center = extent.Center();
    m_centerX = center.x;
    m_centerY = center.y;
    const double forWidth = (extent.high.x - extent.low.x) / m_width;
    const double forHeight = (extent.high.y - extent.low.y) / m_height;
    const double needed = std::max(forWidth, forHeight) * marginFactor;
    if (needed > 0.0) {
        m_unitsPerPixel = std::clamp(needed, kSmallestUnitsPerPixel, kLargestUnitsPerPixel);
    }
}

void MapNavigator::Pan(double rightPixels, double downPixels) {
    m_centerX -= rightPixels * m_unitsPerPixel;
    m_centerY += downPixels * m_unitsPerPixel;
}

void MapNavigator::Zoom(double factor, double xPixels, double yPixels) {
    const Position before = PositionAt(xPixels, yPixels);
    m_unitsPerPixel = std::clamp(m_unitsPerPixel / factor, kSmallestUnitsPerPixel, kLargestUnitsPerPixel);
    const Position after = PositionAt(xPixels, yPixels);
    m_centerX += before.x - after.x;
    m_centerY += before.y - after.y;
}

Position MapNavigator::PositionAt(double xPixels, double yPixels) const {
    return {m_centerX + (xPixels - m_width * 0.5) * m_unitsPerPixel,
            m_centerY - (yPixels - m_height * 0.5) * m_unitsPerPixel, 0.0};
}

Position MapNavigator::PixelAt(const Position& position) const {
    return {(position.x - m_centerX) / m_unitsPerPixel + m_width * 0.5,
            (m_centerY - position.y) / m_unitsPerPixel + m_height * 0.5, 0.0};
}

Extent MapNavigator::VisibleArea() const {
    Extent area;
    area.Include(PositionAt(0.0, 0.0));
    area.Include(PositionAt(m_width, m_height));
    return area;
}

} // namespace OrrinViewer
