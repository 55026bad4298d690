#pragma once

#include "Extent.h"

namespace OrrinViewer {

/// What the mouse draws over the map while its button is down, in window pixels from the upper left.
class RubberBand {
public:
    enum class Kind {
        None,
        Zoom,    ///< a rectangle to be shown next
        Measure, ///< a line whose length is wanted
    };

    void Begin(Kind kind, double xPixels, double yPixels);
    void MoveTo(double xPixels, double yPixels);
    void End() { m_kind = Kind::None; }

    Kind GetKind() const { return m_kind; }
    bool IsActive() const { return m_kind != Kind::None; }
    const Position& From() const { return m_from; }
    const Position& To() const { return m_to; }
    /// The box around both ends.
    Extent Box() const;
    /// A rectangle of a few pixels is a click that slipped, not a part of the map.
    bool IsLargeEnoughToZoom() const;

private:
    Kind m_kind = Kind::None;
    Position m_from;
    Position m_to;
};

} // namespace OrrinViewer
