#pragma once

#include "MonotoneTriangles.h"
#include "ShapeMesh.h"

namespace KTR {

/// How an area fades around its border.
struct SoftEdge {
    double width = 0.0; ///< outside of the border, over which it fades
    float coverage = 1.0F;
    unsigned char paint = 0;
};

/// Adds an area and what it fades to around it. Nearly no place is covered twice: only where the fringes of two parts
/// of the border meet.
void AddSoftArea(const TriangulatedArea& area, const SoftEdge& edge, ShapeMesh& mesh);

/// Adds an area as it is.
void AddArea(const TriangulatedArea& area, unsigned char paint, ShapeMesh& mesh);

} // namespace KTR
