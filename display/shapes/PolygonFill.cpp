#include "PolygonFill.h"

#include "Plane.h"

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

/// Cuts that outlines may need before they are filled in steps; they take a quarter of a second.
constexpr long kMostSplits = 100'000;

/// Outlines that are not even tried otherwise: so many only come of a stroke whose joins lie over each other, and only
/// to sort their edges takes seconds.
constexpr std::size_t kMostRings = 1'000'000;

/// One in some hundred thousand tangles finds no rest on its grid, since each crossing that is rounded makes another.
/// On a grid of other steps it does. Large ones are more likely to have been given up for their splits.
constexpr double kOtherGrid = 1.37;
constexpr std::size_t kFewEdges = 2000;

/// The step of a grid on which every coordinate is a whole number up to kLargestGridNumber. 0 where there is no extent.
double GridStepFor(std::span<const FillRing> rings) {
    double largest = 0.0;
    for (const FillRing& ring : rings) {
        for (const PointXYZ& point : ring.points) {
            if (IsFinite(point)) {
                largest = std::max({largest, std::abs(point.x), std::abs(point.y)});
            }
        }
    }
    int exponent = 0;
    std::frexp(largest, &exponent);
    return largest > 0.0 ? std::ldexp(1.0, exponent) / kLargestGridNumber : 0.0;
}

std::vector<PlanarEdge> EdgesOf(std::span<const FillRing> rings, double step) {
    std::vector<PlanarEdge> edges;
    std::size_t count = 0;
    for (const FillRing& ring : rings) {
        count += ring.points.size();
    }
    edges.reserve(count);
    for (const FillRing& ring : rings) {
        std::array<int, 2> winding{};
        winding[static_cast<std::size_t>(ring.layer)] = 1;
        const auto last = std::find_if(ring.points.rbegin(), ring.points.rend(),
                                       [](const PointXYZ& point) { return IsFinite(point); });
        if (last == ring.points.rend()) {
            continue;
        }
        const auto onGrid = [step](const PointXYZ& point) {
            return PointXYZ{std::nearbyint(point.x / step), std::nearbyint(point.y / step), point.z};
        };
        PointXYZ before = onGrid(*last);
        for (const PointXYZ& point : ring.points) {
            if (!IsFinite(point)) {
                continue;
            }
            const PointXYZ next = onGrid(point);
            if (const std::optional<PlanarEdge> edge = MakeEdge(before, next, winding)) {
                edges.push_back(*edge);
            }
            before = next;
        }
    }
    return edges;
}

TriangulatedArea TriangulateEdges(const std::vector<PlanarEdge>& edges, FillRule rule, double step) {
    std::vector<BorderEdge> borders;
    for (const PlanarEdge& edge : edges) {
        const std::array<int, 2> above{edge.below[0] + edge.step[0], edge.below[1] + edge.step[1]};
        const bool insideAbove = IsInside(rule, above);
        if (insideAbove != IsInside(rule, edge.below)) {
            borders.push_back({edge, insideAbove});
        }
    }
    TriangulatedArea area = Triangulate(borders);
    for (PointXYZ& point : area.points) {
        point.x *= step;
        point.y *= step;
    }
    return area;
}

} // namespace

TriangulatedArea FillRings(std::span<const FillRing> rings, FillRule rule, const std::optional<PlaneBox>& visible) {
    const double finest = GridStepFor(rings);
    if (finest == 0.0 || !std::isfinite(1.0 / finest)) {
        return {};
    }
    if (rings.size() > kMostRings) {
        return FillInSteps(rings, rule, visible);
    }
    for (const double factor : {1.0, kOtherGrid}) {
        const double step = finest * factor;
        std::vector<PlanarEdge> edges = EdgesOf(rings, step);
        const bool isSmall = edges.size() < kFewEdges;
        if (SeparateEdges(edges, kMostSplits)) {
            return TriangulateEdges(edges, rule, step);
        }
        if (!isSmall) {
            break;
        }
    }
    return FillInSteps(rings, rule, visible);
}

} // namespace KTR
