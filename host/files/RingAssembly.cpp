#include "RingAssembly.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace OrrinViewer {

namespace {

/// An outer ring, as holes see it.
struct Shell {
    std::size_t polygon = 0;
    Extent extent;
    double doubledArea = 0.0;
};

Extent ExtentOf(const Path& ring) {
    Extent extent;
    for (const Position& corner : ring) {
        extent.Include(corner);
    }
    return extent;
}

bool Contains(const Extent& extent, const Extent& other) {
    return extent.low.x <= other.low.x && extent.low.y <= other.low.y && extent.high.x >= other.high.x &&
           extent.high.y >= other.high.y;
}

} // namespace

double FindDoubledArea(const Path& ring) {
    double area = 0.0;
    // Relative to the first corner, as the products of true coordinates swallow small areas.
    const Position& origin = ring.front();
    for (std::size_t corner = 1; corner + 1 < ring.size(); ++corner) {
        const Position& a = ring[corner];
        const Position& b = ring[corner + 1];
        area += (a.x - origin.x) * (b.y - origin.y) - (b.x - origin.x) * (a.y - origin.y);
    }
    return area;
}

bool IsInside(const Position& position, const Path& ring) {
    bool isInside = false;
    for (std::size_t corner = 0; corner < ring.size(); ++corner) {
        const Position& a = ring[corner];
        const Position& b = ring[corner + 1 < ring.size() ? corner + 1 : 0];
        if ((a.y > position.y) != (b.y > position.y) &&
            position.x < a.x + (b.x - a.x) * ((position.y - a.y) / (b.y - a.y))) {
            isInside = !isInside;
        }
    }
    return isInside;
}

std::vector<Polygon> AssemblePolygons(std::vector<Path> rings) {
    std::vector<Polygon> polygons;
    std::vector<Shell> shells;
    std::vector<Path> holes;
    std::vector<std::size_t> shellsBefore; // each hole
    std::uint64_t work = 1'000'000;
    for (Path& ring : rings) {
        work += 64 * ring.size();
        const double doubledArea = FindDoubledArea(ring);
        if (doubledArea > 0.0 && rings.size() > 1) {
            shellsBefore.push_back(shells.size());
            holes.push_back(std::move(ring));
        } else {
            shells.push_back({polygons.size(), ExtentOf(ring), -doubledArea});
            polygons.push_back({{std::move(ring)}});
        }
    }
    for (std::size_t hole = 0; hole < holes.size(); ++hole) {
        const Extent extent = ExtentOf(holes[hole]);
        const Shell* smallest = nullptr;
        for (const Shell& shell : shells) {
            const std::uint64_t cost =
                1 + (Contains(shell.extent, extent) ? polygons[shell.polygon].rings[0].size() : 0);
            if (cost > work) {
                break;
            }
            work -= cost;
            const bool isSmaller = smallest == nullptr || shell.doubledArea < smallest->doubledArea;
            if (cost > 1 && isSmaller && IsInside(holes[hole].front(), polygons[shell.polygon].rings[0])) {
                smallest = &shell;
            }
        }
        if (smallest == nullptr && work <= shells.size() && shellsBefore[hole] > 0) {
            smallest = &shells[shellsBefore[hole] - 1];
        }
        if (smallest != nullptr) {
            polygons[smallest->polygon].rings.push_back(std::move(holes[hole]));
        } else {
            polygons.push_back({{std::move(holes[hole])}});
        }
    }
    return polygons;
}

} // namespace OrrinViewer
