#include "ViewScale.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace OrrinViewer {

namespace {

/// A step changes x and w, and what is seen is x / w: at the view's edges, where that is 1, both count in full.
double OnTheGround(const ViewScale::Row& row, const ViewScale::Row& w, double pixels) {
    return (std::hypot(row[0], row[1]) + std::hypot(w[0], w[1])) * pixels * 0.5;
}

double InHeight(const ViewScale::Row& row, const ViewScale::Row& w, double pixels) {
    return (std::abs(row[2]) + std::abs(w[2])) * pixels * 0.5;
}

} // namespace

ViewScale::ViewScale(const Position& origin, const Row& x, const Row& y, const Row& w, double width, double height)
    : m_origin(origin), m_w(w), m_acrossGround(OnTheGround(x, w, width)), m_acrossHeight(InHeight(x, w, width)),
      m_upGround(OnTheGround(y, w, height)), m_upHeight(InHeight(y, w, height)) {}

double ViewScale::FindPixels(const Extent& box, double onTheGround, double inHeight) const {
    const auto least = [](double factor, double low, double high) { return std::min(factor * low, factor * high); };
    const double nearest = least(m_w[0], box.low.x - m_origin.x, box.high.x - m_origin.x) +
                           least(m_w[1], box.low.y - m_origin.y, box.high.y - m_origin.y) +
                           least(m_w[2], box.low.z - m_origin.z, box.high.z - m_origin.z) + m_w[3];
    if (!(nearest > 0.0)) {
        return std::numeric_limits<double>::infinity();
    }
    return std::max(m_acrossGround * onTheGround + m_acrossHeight * inHeight,
                    m_upGround * onTheGround + m_upHeight * inHeight) /
           nearest;
}

} // namespace OrrinViewer
