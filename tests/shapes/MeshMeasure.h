#pragma once

#include "shapes/ShapeMesh.h"

#include <cmath>

/// Measures of a shape's triangles.
namespace MeshMeasure {

using KTR::ShapeMesh;
using KTR::ShapeVertex;

inline double AreaOf(const ShapeVertex& a, const ShapeVertex& b, const ShapeVertex& c) {
    return std::abs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x)) * 0.5;
}

/// The area, each place weighted with the share of the colour that it gets. Places that are covered twice count twice.
inline double CoveredArea(const ShapeMesh& mesh) {
    double sum = 0.0;
    mesh.ForEachTriangle([&sum](const ShapeVertex& a, const ShapeVertex& b, const ShapeVertex& c) {
        sum += AreaOf(a, b, c) * (a.coverage + b.coverage + c.coverage) / 3.0;
    });
    return sum;
}

inline int CountTriangles(const ShapeMesh& mesh) {
    int count = 0;
    mesh.ForEachTriangle([&count](const auto&...) { ++count; });
    return count;
}

} // namespace MeshMeasure
