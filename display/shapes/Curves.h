#pragma once

#include "../values/BasicTypes.h"

#include <vector>

namespace KTR {

/// Parts that a curve of `radius` is cut into over `sweepRadians`, so that no chord is farther than `tolerance` from
/// it; at least one. Radius and tolerance in one unit.
int CountArcParts(double radius, double sweepRadians, double tolerance);

/// An ellipse or a part of it. Angles run against the clock, in the ellipse's own frame from its first axis.
struct EllipticArc {
    PointXY centre;
    double radiusX = 1.0;
    double radiusY = 1.0;
    double rotationDegrees = 0.0;
    double startDegrees = 0.0;
    double sweepDegrees = 360.0; ///< negative runs with the clock; beyond a whole turn it is one

    bool IsClosed() const { return sweepDegrees >= 360.0 || sweepDegrees <= -360.0; }
};

/// The points of the curve, between 8 and 4096 parts for a whole turn and no farther than `tolerance` from it. A closed
/// one has its first point once. Empty where something is not finite.
std::vector<PointXY> PointsOf(const EllipticArc& arc, double tolerance);

} // namespace KTR
