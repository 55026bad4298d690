#pragma once

#include <cmath>
#include <limits>

namespace OrrinViewer {

/// A position in the file's own coordinate system, in its units. An array of these is `count × 3 doubles`, the shape in
/// which the library takes coordinates.
struct Position {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    bool operator==(const Position&) const = default;
};
static_assert(sizeof(Position) == 3 * sizeof(double));

/// True when all three coordinates are numbers that can be drawn.
inline bool IsFinite(const Position& position) {
    return std::isfinite(position.x) && std::isfinite(position.y) && std::isfinite(position.z);
}

/// The axis-aligned box around some positions. It starts empty: `low` above `high` until something is included.
struct Extent {
    Position low{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                 std::numeric_limits<double>::infinity()};
    Position high{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                  -std::numeric_limits<double>::infinity()};

    bool IsEmpty() const { return low.x > high.x; }

    // Plain comparisons: a host that includes <windows.h> first may have min and max as macros.
    void Include(const Position& position) {
        low.x = position.x < low.x ? position.x : low.x;
        low.y = position.y < low.y ? position.y : low.y;
        low.z = position.z < low.z ? position.z : low.z;
        high.x = position.x > high.x ? position.x : high.x;
        high.y = position.y > high.y ? position.y : high.y;
        high.z = position.z > high.z ? position.z : high.z;
    }

    void Include(const Extent& other) {
        if (other.IsEmpty()) {
            return;
        }
        Include(other.low);
        Include(other.high);
    }

    /// The middle of the box; the origin when it is empty.
    Position Center() const {
        if (IsEmpty()) {
            return {};
        }
        return {low.x * 0.5 + high.x * 0.5, low.y * 0.5 + high.y * 0.5, low.z * 0.5 + high.z * 0.5};
    }

    /// The length from corner to corner; 0 when the box is empty or a single position.
    double Diagonal() const { return IsEmpty() ? 0.0 : std::hypot(high.x - low.x, high.y - low.y, high.z - low.z); }
};

} // namespace OrrinViewer
