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

/// True when all three coordinates are numbers.
inline bool IsFinite(const Position& position) {
    return std::isfinite(position.x) && std::isfinite(position.y) && std::isfinite(position.z);
}

/// No place on Earth has a coordinate beyond this in any unit. What claims one is a fault of its file, and would make
/// everything else a dot.
constexpr double kFarthestCoordinate = 1e12;

/// True for a coordinate that can be one.
inline bool IsCoordinate(double value) {
    return std::abs(value) <= kFarthestCoordinate; // not for NaN
}

inline bool IsPlace(const Position& position) {
    return IsCoordinate(position.x) && IsCoordinate(position.y) && IsCoordinate(position.z);
}

/// The axis-aligned box around some positions. It starts empty: `low` above `high` until something is included. What is
/// flat, such as an image, has no heights: the box has none then, until something with heights is included.
struct Extent {
    Position low{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                 std::numeric_limits<double>::infinity()};
    Position high{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                  -std::numeric_limits<double>::infinity()};

    bool IsEmpty() const { return low.x > high.x; }
    bool HasHeights() const { return low.z <= high.z; }

    // Plain comparisons: a host that includes <windows.h> first may have min and max as macros.
    void Include(const Position& position) {
        low.x = position.x < low.x ? position.x : low.x;
        low.y = position.y < low.y ? position.y : low.y;
        low.z = position.z < low.z ? position.z : low.z;
        high.x = position.x > high.x ? position.x : high.x;
        high.y = position.y > high.y ? position.y : high.y;
        high.z = position.z > high.z ? position.z : high.z;
    }

    /// An empty box, and heights that the other has not, change nothing.
    void Include(const Extent& other) {
        low.x = other.low.x < low.x ? other.low.x : low.x;
        low.y = other.low.y < low.y ? other.low.y : low.y;
        low.z = other.low.z < low.z ? other.low.z : low.z;
        high.x = other.high.x > high.x ? other.high.x : high.x;
        high.y = other.high.y > high.y ? other.high.y : high.y;
        high.z = other.high.z > high.z ? other.high.z : high.z;
    }

    /// Whether they share a place, seen from above.
    bool Overlaps(const Extent& other) const {
        return low.x <= other.high.x && other.low.x <= high.x && low.y <= other.high.y && other.low.y <= high.y;
    }

    /// The same box without heights.
    Extent Flat() const {
        const Extent none;
        return {{low.x, low.y, none.low.z}, {high.x, high.y, none.high.z}};
    }

    /// The same box; without heights it lies at height 0.
    Extent WithHeights() const {
        return IsEmpty() || HasHeights() ? *this : Extent{{low.x, low.y, 0.0}, {high.x, high.y, 0.0}};
    }

    /// The middle of the box; the origin when it is empty.
    Position Center() const {
        if (IsEmpty()) {
            return {};
        }
        const Extent box = WithHeights();
        return {box.low.x * 0.5 + box.high.x * 0.5, box.low.y * 0.5 + box.high.y * 0.5,
                box.low.z * 0.5 + box.high.z * 0.5};
    }

    /// The length from corner to corner; 0 when the box is empty or a single position.
    double Diagonal() const {
        const Extent box = WithHeights();
        return IsEmpty() ? 0.0 : std::hypot(box.high.x - box.low.x, box.high.y - box.low.y, box.high.z - box.low.z);
    }
};

} // namespace OrrinViewer
