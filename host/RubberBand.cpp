#include "RubberBand.h"

namespace OrrinViewer {

void RubberBand::Begin(Kind kind, double xPixels, double yPixels) {
    m_kind = kind;
    m_from = {xPixels, yPixels, 0.0};
    m_to = m_from;
}

void RubberBand::MoveTo(double xPixels, double yPixels) {
    m_to = {xPixels, yPixels, 0.0};
}

Extent RubberBand::Box() const {
    Extent box;
    box.Include(m_from);
    box.Include(m_to);
    return box;
}

bool RubberBand::IsLargeEnoughToZoom() const {
    constexpr double smallestPixels = 4.0;
    const Extent box = Box();
    return box.high.x - box.low.x >= smallestPixels && box.high.y - box.low.y >= smallestPixels;
}

} // namespace OrrinViewer
