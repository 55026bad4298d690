#pragma once

#include "data/Extent.h"

#include <array>

namespace OrrinViewer {

/// Where a position is seen: at (x / w, y / w) in pixels from the window's upper left, if w is above 0; otherwise it is
/// behind the eye. Straight lines stay straight before the division, so they can be cut there.
struct SeenPlace {
    double x = 0.0;
    double y = 0.0;
    double w = 1.0;
    double depth = 0.0; ///< grows away from the eye
};

/// How a view shows positions, as arithmetic that needs no view: the plane that is parallel to the screen and on which
/// the scale is measured, and where it is looked at from.
class PickCamera {
public:
    /// Sees nothing.
    PickCamera() = default;
    /// `corner` is seen in the window's upper left; from there `right` and `down` lead on to the next pixels. All lines
    /// of sight have this direction, away from the eye.
    static PickCamera Parallel(const Position& corner, const Position& right, const Position& down,
                               const Position& direction);
    /// All lines of sight begin at the eye.
    static PickCamera Perspective(const Position& corner, const Position& right, const Position& down,
                                  const Position& eye);

    SeenPlace See(const Position& position) const {
        const double x = position.x - m_base.x;
        const double y = position.y - m_base.y;
        const double z = position.z - m_base.z;
        const auto along = [&](const std::array<double, 3>& row) { return row[0] * x + row[1] * y + row[2] * z; };
        const double depth = along(m_depth);
        return {along(m_x), along(m_y), m_isPerspective ? depth : m_w, depth};
    }
    bool IsPerspective() const { return m_isPerspective; }
    /// How much farther something is that is a pixel's width behind a place.
    double PixelOfDepth(const SeenPlace& seen) const { return m_pixel * (m_isPerspective ? seen.depth : 1.0); }
    /// False where only x and y of positions matter to where they are seen, as on a map.
    bool SeesHeights() const { return m_isPerspective || m_x[2] != 0.0 || m_y[2] != 0.0; }
    /// False only where nothing within the box is seen within `reach` pixels of the place. The box has heights.
    bool MayReach(const Extent& box, double x, double y, double reach) const;

private:
    void Invert(const Position& right, const Position& down, const Position& away);

    Position m_base;
    std::array<double, 3> m_x{};
    std::array<double, 3> m_y{};
    std::array<double, 3> m_depth{};
    double m_pixel = 0.0; ///< its width, in what depths are counted in
    double m_w = 0.0;     ///< of parallel lines of sight; 0 where nothing is seen
    bool m_isPerspective = false;
};

} // namespace OrrinViewer
