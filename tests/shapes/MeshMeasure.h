#pragma once

#include "shapes/MonotoneTriangles.h"
#include "shapes/Plane.h"
#include "shapes/ShapeMesh.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <span>
#include <vector>

/// Measures of a shape's triangles.
namespace MeshMeasure {

using namespace KTR::Plane;
using KTR::ShapeMesh;
using KTR::ShapeVertex;
using KTR::TriangulatedArea;
using Points = std::vector<PointXYZ>;

inline double AreaOf(const PointXYZ& a, const PointXYZ& b, const PointXYZ& c) {
    return std::abs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x)) * 0.5;
}

/// The area, each place weighted with the share of the colour that it gets. Places that are covered twice count twice.
inline double CoveredArea(const ShapeMesh& mesh) {
    double sum = 0.0;
    mesh.ForEachTriangle([&sum](const ShapeVertex& a, const ShapeVertex& b, const ShapeVertex& c) {
        sum += AreaOf({a.x, a.y, 0.0}, {b.x, b.y, 0.0}, {c.x, c.y, 0.0}) * (a.coverage + b.coverage + c.coverage) / 3.0;
    });
    return sum;
}

inline double AreaOf(const TriangulatedArea& area) {
    double sum = 0.0;
    for (const std::array<int, 3>& triangle : area.triangles) {
        const auto at = [&](std::size_t corner) { return area.points[static_cast<std::size_t>(triangle[corner])]; };
        sum += AreaOf(at(0), at(1), at(2));
    }
    return sum;
}

/// How far a place is from a string; from its only point, where it has no other.
inline double DistanceFrom(const Points& points, bool closed, const PointXY& place) {
    double nearest = Length(place - Flat(points.front()));
    for (std::size_t index = 0; index + (closed ? 0 : 1) < points.size(); ++index) {
        nearest = std::min(nearest, DistanceTo(place, Flat(points[index]), Flat(points[(index + 1) % points.size()])));
    }
    return nearest;
}

/// How far the triangles reach from a string. Not a number where one has a corner that is none.
inline double ReachOf(const ShapeMesh& mesh, const Points& points, bool closed) {
    double reach = 0.0;
    for (const ShapeVertex& vertex : mesh.Strip()) {
        const double distance = DistanceFrom(points, closed, {vertex.x, vertex.y});
        reach = distance <= reach ? reach : distance;
        if (!std::isfinite(distance) || !std::isfinite(vertex.z) || !(vertex.coverage >= 0.0F)) {
            return std::nan("");
        }
    }
    return reach;
}

inline double LengthOf(std::span<const PointXYZ> points, bool closed = false) {
    double sum = 0.0;
    for (std::size_t index = 0; index + (closed ? 0 : 1) < points.size(); ++index) {
        sum += Length(Flat(points[(index + 1) % points.size()]) - Flat(points[index]));
    }
    return sum;
}

/// How often a ring goes around a place.
inline int WindingAt(const Points& ring, const PointXY& place) {
    int winding = 0;
    for (std::size_t index = 0; index < ring.size(); ++index) {
        const PointXYZ& a = ring[index];
        const PointXYZ& b = ring[(index + 1) % ring.size()];
        if ((a.y <= place.y) != (b.y <= place.y) && a.x + (place.y - a.y) / (b.y - a.y) * (b.x - a.x) > place.x) {
            winding += b.y > a.y ? 1 : -1;
        }
    }
    return winding;
}

} // namespace MeshMeasure
