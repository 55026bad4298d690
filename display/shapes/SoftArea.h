#pragma once

#include "MonotoneTriangles.h"
#include "ShapeMesh.h"

namespace KTR {

/// How the edge of an area fades: from the full colour `inwards` of the border to nothing `outwards` of it.
struct SoftEdge {
    double inwards = 0.0;
    double outwards = 0.0;
    float coverage = 1.0F; ///< what full is
    unsigned char paint = 0;
};

/// Adds an area whose border fades, so that no place is covered twice. Where the border meets the other layer of the
/// fill it stays hard.
void AddSoftArea(const TriangulatedArea& area, const SoftEdge& edge, ShapeMesh& mesh);

/// Adds an area as it is.
void AddArea(const TriangulatedArea& area, unsigned char paint, ShapeMesh& mesh);

} // namespace KTR
