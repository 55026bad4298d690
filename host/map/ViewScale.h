#pragma once

#include "data/Extent.h"

#include <array>

namespace OrrinViewer {

/// How large a view shows things.
class ViewScale {
public:
    using Row = std::array<double, 4>;

    /// Rows 0, 1 and 3 of the matrix that leads from positions relative to the origin to what the view clips, and the
    /// view's size in pixels.
    ViewScale(const Position& origin, const Row& x, const Row& y, const Row& w, double width, double height);

    /// How far apart, across or up the view, two places in the box are seen at most that are apart so much on the
    /// ground, and in height. Infinite where the eye may be in the box. What is outside the view does not count.
    double FindPixels(const Extent& box, double onTheGround, double inHeight) const;

private:
    Position m_origin;
    Row m_w;
    double m_acrossGround; ///< pixels for each unit, if w is 1
    double m_acrossHeight;
    double m_upGround;
    double m_upHeight;
};

} // namespace OrrinViewer
