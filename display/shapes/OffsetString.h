#pragma once

#include "../values/BasicTypes.h"
#include "ShapeStyles.h"

#include <span>
#include <vector>

namespace KTR {

/// How the parallel of a string is made. Lengths in the units of the points.
struct Offset {
    double distance = 0.0; ///< to the left, negative to the right
    GLLineJoin join = GLLineJoinMiter;
    double miterLimit = 4.0; ///< at least 1
    double tolerance = 0.1;  ///< of round joins
};

/// One piece of a parallel, with the heights of the string beside it.
struct OffsetPart {
    std::vector<PointXYZ> points;
    bool closed = false; ///< the last goes on to the first, which stands there once
};

/// The parallel of a string of finite points. A closed string goes from its last point to its first, which stands there
/// once. Where the string bends more tightly than the distance, what would come nearer to it than that is cut out. So
/// nothing may be left, and a ring may fall apart.
std::vector<OffsetPart> OffsetString(std::span<const PointXYZ> points, bool closed, const Offset& offset);

/// The same for any points as one list: what is not finite breaks the string, a string whose last point repeats the
/// first is a ring and stays one, and pieces that are not joined have a point that is no number between them.
void OffsetPlaces(std::span<const PointXYZ> points, double distance, GLLineJoin join, double miterLimit,
                  std::vector<PointXY>& out);

/// Whether the last point of a string repeats the first.
bool IsRing(std::span<const PointXYZ> points);

} // namespace KTR
