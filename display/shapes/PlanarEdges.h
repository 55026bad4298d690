#pragma once

#include "../values/BasicTypes.h"

#include <array>
#include <optional>
#include <vector>

namespace KTR {

/// An edge of an area's outlines, on a grid of whole numbers, where what is left and right of it is decided exactly.
/// It goes from left to right; of two points with the same x the lower one is the left.
struct PlanarEdge {
    PointXY left;
    PointXY right;
    double leftZ = 0.0;
    double rightZ = 0.0;
    /// For each layer of outlines by how much the winding number grows when the edge is crossed upwards.
    std::array<int, 2> step{};
    /// The winding numbers below it, once the edges do not cross.
    std::array<int, 2> below{};
};

/// Coordinates on the grid are whole numbers up to this.
inline constexpr double kLargestGridNumber = 1099511627776.0; // 2 to the power of 40

/// Whether `a` comes before `b` in a sweep from left to right.
inline bool IsBefore(const PointXY& a, const PointXY& b) {
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

/// 1 when `point` lies above an edge (to the left of its direction), -1 below, 0 on its line. Exact for points of the
/// grid.
int SideOf(const PlanarEdge& edge, const PointXY& point);

/// The order from bottom to top of edges that do not cross, at a place that both pass.
struct EdgeOrder {
    const std::vector<PlanarEdge>* edges;

    bool operator()(int first, int second) const;
};

/// The edge from `from` to `to`, whichever is left. Nothing for an edge without length.
std::optional<PlanarEdge> MakeEdge(const PointXYZ& from, const PointXYZ& to, std::array<int, 2> step);

/// Splits edges wherever two of them cross or touch, so that afterwards they meet in their ends only, and finds the
/// winding numbers below each. Crossings are moved to the nearest point of the grid. Edges whose steps add up to
/// nothing go. False, with the edges in some state in between, where that takes more than `mostSplits` cuts.
bool SeparateEdges(std::vector<PlanarEdge>& edges, long mostSplits);

} // namespace KTR
