#include "Curves.h"

#include "Plane.h"

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

constexpr int kFewestParts = 8;
constexpr int kMostParts = 4096;

/// Half the angle of a chord that stays `tolerance` near a circle of `radius`.
double HalfChordAngle(double radius, double tolerance) {
    return std::acos(std::clamp(1.0 - tolerance / radius, -1.0, 1.0));
}

} // namespace

int CountArcParts(double radius, double sweepRadians, double tolerance) {
    const double step = radius > 0.0 ? 2.0 * HalfChordAngle(radius, tolerance) : 0.0;
    const double parts = std::ceil(std::abs(sweepRadians) / std::max(step, 1e-6));
    return static_cast<int>(std::clamp(parts, 1.0, static_cast<double>(kMostParts)));
}

std::vector<PointXY> PointsOf(const EllipticArc& arc, double tolerance) {
    const double radius = std::max(std::abs(arc.radiusX), std::abs(arc.radiusY));
    if (!IsFinite(arc.centre) || !std::isfinite(radius) || !std::isfinite(arc.rotationDegrees) ||
        !std::isfinite(arc.startDegrees) || std::isnan(arc.sweepDegrees) || radius == 0.0) {
        return {};
    }
    const double sweep = std::clamp(arc.sweepDegrees, -360.0, 360.0) * kRadiansPerDegree;
    // An affine image of a circle: a chord is farthest off where the radius is the larger one.
    const int whole = std::max(CountArcParts(radius, 2.0 * kPi, tolerance), kFewestParts);
    const int parts = std::max(static_cast<int>(std::ceil(whole * std::abs(sweep) / (2.0 * kPi) - 1e-9)), 1);
    const double cosine = std::cos(arc.rotationDegrees * kRadiansPerDegree);
    const double sine = std::sin(arc.rotationDegrees * kRadiansPerDegree);
    std::vector<PointXY> points;
    const int count = arc.IsClosed() ? parts : parts + 1;
    points.reserve(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index) {
        const double angle = std::fmod(arc.startDegrees, 360.0) * kRadiansPerDegree + sweep * index / parts;
        const double x = arc.radiusX * std::cos(angle);
        const double y = arc.radiusY * std::sin(angle);
        points.push_back({arc.centre.x + x * cosine - y * sine, arc.centre.y + x * sine + y * cosine});
    }
    return points;
}

} // namespace KTR
