#pragma once

#include "OverlayTypes.h"

#include <vector>

namespace KTR {

/// A band's points while it is drawn: those that are settled and, last, the one that follows the mouse. Client pixels.
class RubberBand {
public:
    void Begin(GLRubberBandTypes type, const PointXY& point);
    void MoveTo(const PointXY& point);
    /// Settles the point that follows the mouse and has the next one begin there. Shapes of two points keep their
    /// first.
    void AddPoint(const PointXY& point);
    void End() { m_active = false; }

    bool IsActive() const { return m_active; }
    GLRubberBandTypes Type() const { return m_type; }
    const std::vector<PointXY>& Points() const { return m_points; }

    /// The line that shows it, without the closing point.
    std::vector<PointXY> Outline() const;
    bool IsClosed() const;

private:
    bool m_active = false;
    GLRubberBandTypes m_type = GLRubberBandLine;
    std::vector<PointXY> m_points;
};

} // namespace KTR
