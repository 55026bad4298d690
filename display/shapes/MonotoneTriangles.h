#pragma once

#include "PlanarEdges.h"

namespace KTR {

/// An edge between an area and what is outside of it.
struct BorderEdge {
    PlanarEdge edge;
    bool insideAbove = false;
};

/// An area cut into triangles.
struct TriangulatedArea {
    struct Border {
        int from = 0; ///< numbers of points
        int to = 0;
    };

    std::vector<PointXYZ> points;
    std::vector<std::array<int, 3>> triangles;
    std::vector<Border> border; ///< each with the area on its left
};

/// Triangulates the area between borders that meet in their ends only. It adds no points. Time grows as n log n.
TriangulatedArea Triangulate(const std::vector<BorderEdge>& borders);

} // namespace KTR
