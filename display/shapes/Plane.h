#pragma once

// Arithmetic of points of the plane that the shapes share. No GL, no view.

#include "../values/BasicTypes.h"

#include <algorithm>
#include <cmath>

namespace KTR::Plane {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kRadiansPerDegree = kPi / 180.0;

inline PointXY operator+(const PointXY& a, const PointXY& b) {
    return {a.x + b.x, a.y + b.y};
}

inline PointXY operator-(const PointXY& a, const PointXY& b) {
    return {a.x - b.x, a.y - b.y};
}

inline PointXY operator*(const PointXY& a, double factor) {
    return {a.x * factor, a.y * factor};
}

inline PointXY operator-(const PointXY& a) {
    return {-a.x, -a.y};
}

inline bool IsSame(const PointXY& a, const PointXY& b) {
    return a.x == b.x && a.y == b.y;
}

inline double Dot(const PointXY& a, const PointXY& b) {
    return a.x * b.x + a.y * b.y;
}

/// Positive when `b` is to the left of `a`.
inline double Cross(const PointXY& a, const PointXY& b) {
    return a.x * b.y - a.y * b.x;
}

inline double Length(const PointXY& a) {
    return std::hypot(a.x, a.y);
}

/// A quarter turn against the clock.
inline PointXY LeftOf(const PointXY& a) {
    return {-a.y, a.x};
}

inline PointXY Middle(const PointXY& a, const PointXY& b) {
    return {(a.x + b.x) * 0.5, (a.y + b.y) * 0.5};
}

inline bool IsFinite(const PointXY& a) {
    return std::isfinite(a.x) && std::isfinite(a.y);
}

inline bool IsFinite(const PointXYZ& a) {
    return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

inline PointXY Flat(const PointXYZ& a) {
    return {a.x, a.y};
}

inline PointXYZ Between(const PointXYZ& a, const PointXYZ& b, double share) {
    return {a.x + (b.x - a.x) * share, a.y + (b.y - a.y) * share, a.z + (b.z - a.z) * share};
}

/// From a point to a segment.
inline double DistanceTo(const PointXY& point, const PointXY& start, const PointXY& end) {
    const PointXY along = end - start;
    const double squares = Dot(along, along);
    const double share = squares > 0.0 ? std::clamp(Dot(point - start, along) / squares, 0.0, 1.0) : 0.0;
    return Length(point - (start + along * share));
}

/// From one segment to another; 0 where they cross.
inline double DistanceBetween(const PointXY& a, const PointXY& b, const PointXY& c, const PointXY& d) {
    const bool crosses =
        Cross(b - a, c - a) * Cross(b - a, d - a) < 0.0 && Cross(d - c, a - c) * Cross(d - c, b - c) < 0.0;
    return crosses ? 0.0
                   : std::min({DistanceTo(a, c, d), DistanceTo(b, c, d), DistanceTo(c, a, b), DistanceTo(d, a, b)});
}

/// Where the edges of two neighbours that run along a corner meet when both move outwards by 1: the sum of their unit
/// normals, lengthened. The normals must not be opposite.
inline PointXY MiterOf(const PointXY& normal, const PointXY& next) {
    return (normal + next) * (1.0 / (1.0 + Dot(normal, next)));
}

} // namespace KTR::Plane
