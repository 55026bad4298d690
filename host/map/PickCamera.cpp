#include "PickCamera.h"

#include <algorithm>
#include <cmath>

namespace OrrinViewer {

namespace {

std::array<double, 3> Cross(const Position& one, const Position& other) {
    return {one.y * other.z - one.z * other.y, one.z * other.x - one.x * other.z, one.x * other.y - one.y * other.x};
}

double Dot(const std::array<double, 3>& one, const Position& other) {
    return one[0] * other.x + one[1] * other.y + one[2] * other.z;
}

} // namespace

PickCamera PickCamera::Parallel(const Position& corner, const Position& right, const Position& down,
                                const Position& direction) {
    PickCamera camera;
    camera.m_base = corner;
    camera.Invert(right, down, direction);
    return camera;
}

PickCamera PickCamera::Perspective(const Position& corner, const Position& right, const Position& down,
                                   const Position& eye) {
    PickCamera camera;
    camera.m_base = eye;
    camera.m_isPerspective = true;
    camera.Invert(right, down, {corner.x - eye.x, corner.y - eye.y, corner.z - eye.z});
    return camera;
}

/// A position is the base and so many times each of the three; this finds how many times.
void PickCamera::Invert(const Position& right, const Position& down, const Position& away) {
    const std::array<double, 3> x = Cross(down, away);
    const std::array<double, 3> y = Cross(away, right);
    const std::array<double, 3> depth = Cross(right, down);
    const double volume = Dot(x, right);
    if (!std::isfinite(volume) || volume == 0.0) {
        m_isPerspective = false;
        return;
    }
    m_w = 1.0;
    m_pixel = std::hypot(right.x, right.y, right.z) / std::hypot(away.x, away.y, away.z);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m_x[axis] = x[axis] / volume;
        m_y[axis] = y[axis] / volume;
        m_depth[axis] = depth[axis] / volume;
    }
}

bool PickCamera::MayReach(const Extent& box, double x, double y, double reach) const {
    // By which sides of the square around the place all corners are beyond; a corner behind the eye is turned about.
    unsigned int beyond = 0x1F;
    for (int corner = 0; corner < 8; ++corner) {
        const SeenPlace seen =
            See({(corner & 1) != 0 ? box.high.x : box.low.x, (corner & 2) != 0 ? box.high.y : box.low.y,
                 (corner & 4) != 0 ? box.high.z : box.low.z});
        unsigned int own = 0;
        own |= seen.x < (x - reach) * seen.w ? 0x1U : 0U;
        own |= seen.x > (x + reach) * seen.w ? 0x2U : 0U;
        own |= seen.y < (y - reach) * seen.w ? 0x4U : 0U;
        own |= seen.y > (y + reach) * seen.w ? 0x8U : 0U;
        own |= seen.w > 0.0 ? 0U : 0x10U;
        beyond &= own;
    }
    return beyond == 0;
}

} // namespace OrrinViewer
