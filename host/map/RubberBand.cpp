#include "RubberBand.h"

namespace OrrinViewer {

void RubberBand::Begin(Kind kind, const Position& position) {
    m_kind = kind;
    m_followsMouse = kind != Kind::None;
    m_from = position;
    m_to = position;
}

void RubberBand::MoveTo(const Position& position) {
    if (m_followsMouse) {
        m_to = position;
    }
}

void RubberBand::Drop() {
    m_followsMouse = false;
    if (m_kind == Kind::Zoom || m_from == m_to) {
        m_kind = Kind::None;
    }
}

Extent RubberBand::Box() const {
    Extent box;
    box.Include(m_from);
    box.Include(m_to);
    return box;
}

bool RubberBand::IsLargeEnoughToZoom(double unitsPerPixel) const {
    constexpr double kSmallestPixels = 4.0;
    const Extent box = Box();
    const double smallest = kSmallestPixels * unitsPerPixel;
    return box.high.x - box.low.x >= smallest && box.high.y - box.low.y >= smallest;
}

} // namespace OrrinViewer
