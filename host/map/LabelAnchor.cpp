#include "LabelAnchor.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace OrrinViewer {

namespace {

/// Calls `visit` with each edge of a ring, the closing one included.
template <typename Visit> void ForEachEdge(const Path& ring, Visit visit) {
    for (std::size_t index = 0; index < ring.size(); ++index) {
        visit(ring[index], ring[(index + 1) % ring.size()]);
    }
}

/// Where a horizontal line crosses the polygon's rings, from west to east.
std::vector<double> FindCrossings(const Polygon& polygon, double y) {
    std::vector<double> crossings;
    for (const Path& ring : polygon.rings) {
        ForEachEdge(ring, [&](const Position& from, const Position& to) {
            if ((from.y > y) != (to.y > y)) {
                crossings.push_back(from.x + (y - from.y) / (to.y - from.y) * (to.x - from.x));
            }
        });
    }
    std::sort(crossings.begin(), crossings.end());
    return crossings;
}

/// Relative to the ring's first corner: at national-grid coordinates the products would lose the last digits.
std::optional<Position> FindCentroid(const Path& ring) {
    const Position& origin = ring.front();
    double area = 0.0;
    double x = 0.0;
    double y = 0.0;
    ForEachEdge(ring, [&](const Position& from, const Position& to) {
        const double cross = (from.x - origin.x) * (to.y - origin.y) - (to.x - origin.x) * (from.y - origin.y);
        area += cross;
        x += (from.x + to.x - 2.0 * origin.x) * cross;
        y += (from.y + to.y - 2.0 * origin.y) * cross;
    });
    if (area == 0.0) {
        return std::nullopt;
    }
    return Position{origin.x + x / (3.0 * area), origin.y + y / (3.0 * area), 0.0};
}

/// The middle of the widest stretch inside the polygon on any of some horizontal lines.
Position FindWidePlace(const Polygon& polygon) {
    constexpr int kLines = 15;
    Extent extent;
    for (const Position& corner : polygon.rings.front()) {
        extent.Include(corner);
    }
    Position place = extent.Center();
    double widest = 0.0;
    for (int line = 1; line <= kLines; ++line) {
        const double y = extent.low.y + (extent.high.y - extent.low.y) * line / (kLines + 1);
        const std::vector<double> crossings = FindCrossings(polygon, y);
        for (std::size_t index = 0; index + 1 < crossings.size(); index += 2) {
            const double width = crossings[index + 1] - crossings[index];
            if (width > widest) {
                widest = width;
                place = {crossings[index] + width * 0.5, y, 0.0};
            }
        }
    }
    return {place.x, place.y, 0.0};
}

Position FindPlaceInside(const Polygon& polygon) {
    const std::optional<Position> centroid = FindCentroid(polygon.rings.front());
    return centroid && IsInside(polygon, centroid->x, centroid->y) ? *centroid : FindWidePlace(polygon);
}

double Distance(const Position& from, const Position& to) {
    return std::hypot(to.x - from.x, to.y - from.y);
}

double FindLength(const Path& line) {
    double length = 0.0;
    for (std::size_t index = 1; index < line.size(); ++index) {
        length += Distance(line[index - 1], line[index]);
    }
    return length;
}

Position FindMiddle(const Path& line) {
    double remaining = FindLength(line) * 0.5;
    for (std::size_t index = 1; index < line.size(); ++index) {
        const Position& from = line[index - 1];
        const Position& to = line[index];
        const double length = Distance(from, to);
        if (length > 0.0 && length >= remaining) {
            const double share = remaining / length;
            return {from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share, 0.0};
        }
        remaining -= length;
    }
    return {line.front().x, line.front().y, 0.0};
}

} // namespace

double FindSignedArea(const Path& ring) {
    double twiceTheArea = 0.0;
    ForEachEdge(ring, [&](const Position& from, const Position& to) {
        const Position& origin = ring.front();
        twiceTheArea += (from.x - origin.x) * (to.y - origin.y) - (to.x - origin.x) * (from.y - origin.y);
    });
    return twiceTheArea * 0.5;
}

bool IsInside(const Polygon& polygon, double x, double y) {
    const std::vector<double> crossings = FindCrossings(polygon, y);
    const auto passed = std::upper_bound(crossings.begin(), crossings.end(), x) - crossings.begin();
    return passed % 2 == 1;
}

const Polygon* FindLargestPolygon(const VectorFeature& feature) {
    const auto largest = std::max_element(
        feature.polygons.begin(), feature.polygons.end(), [](const Polygon& one, const Polygon& other) {
            return std::abs(FindSignedArea(one.rings.front())) < std::abs(FindSignedArea(other.rings.front()));
        });
    return largest == feature.polygons.end() ? nullptr : &*largest;
}

Position FindLabelAnchor(const VectorFeature& feature) {
    if (const Polygon* largest = FindLargestPolygon(feature)) {
        return FindPlaceInside(*largest);
    }
    if (!feature.lines.empty()) {
        return FindMiddle(
            *std::max_element(feature.lines.begin(), feature.lines.end(),
                              [](const Path& one, const Path& other) { return FindLength(one) < FindLength(other); }));
    }
    return feature.points.empty() ? Position{} : Position{feature.points.front().x, feature.points.front().y, 0.0};
}

} // namespace OrrinViewer
