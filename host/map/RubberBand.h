#pragma once

#include "data/Extent.h"

namespace OrrinViewer {

/// What the mouse draws over the map while its button is down. Both ends are positions on the map, so that a line stays
/// where it was drawn when the map is moved afterwards.
class RubberBand {
public:
    enum class Kind {
        None,
        Zoom,    ///< a rectangle to be shown next
        Measure, ///< a line whose length is wanted; it stays until the next click
    };

    void Begin(Kind kind, const Position& position);
    void MoveTo(const Position& position);
    /// The button was let go.
    void Drop();
    void Clear() { m_kind = Kind::None; }

    Kind GetKind() const { return m_kind; }
    bool FollowsMouse() const { return m_followsMouse; }
    const Position& From() const { return m_from; }
    const Position& To() const { return m_to; }
    /// The box around both ends.
    Extent Box() const;
    /// A rectangle of a few pixels is a click that slipped, not a part of the map.
    bool IsLargeEnoughToZoom(double unitsPerPixel) const;

private:
    Kind m_kind = Kind::None;
    bool m_followsMouse = false;
    Position m_from;
    Position m_to;
};

} // namespace OrrinViewer
