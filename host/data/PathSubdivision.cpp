#include "PathSubdivision.h"

#include <algorithm>
#include <cmath>

namespace OrrinViewer {

namespace {

bool MayCross(const Position& from, const Position& to, const Extent& area) {
    return std::max(from.x, to.x) >= area.low.x && std::min(from.x, to.x) <= area.high.x &&
           std::max(from.y, to.y) >= area.low.y && std::min(from.y, to.y) <= area.high.y;
}

/// Parts that a leg has to be cut into.
double CountParts(const Position& from, const Position& to, const Extent& area, double step) {
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    return MayCross(from, to, area) ? std::max(1.0, std::ceil(length / step)) : 1.0;
}

} // namespace

Path Subdivide(const Path& path, bool closed, const Extent& area, double step, std::size_t most) {
    const std::size_t legs = path.empty() ? 0 : path.size() - (closed ? 0 : 1);
    const auto endOf = [&path](std::size_t leg) -> const Position& { return path[(leg + 1) % path.size()]; };
    double added = 0.0;
    for (std::size_t leg = 0; leg < legs; ++leg) {
        added += CountParts(path[leg], endOf(leg), area, step) - 1.0;
    }
    if (!(added > 0.0 && added <= static_cast<double>(most))) {
        return path;
    }
    Path divided;
    divided.reserve(path.size() + static_cast<std::size_t>(added));
    for (std::size_t leg = 0; leg < path.size(); ++leg) {
        divided.push_back(path[leg]);
        if (leg >= legs) {
            continue;
        }
        const Position& from = path[leg];
        const Position& to = endOf(leg);
        const auto parts = static_cast<std::size_t>(CountParts(from, to, area, step));
        for (std::size_t part = 1; part < parts; ++part) {
            const double share = static_cast<double>(part) / static_cast<double>(parts);
            divided.push_back({from.x * (1.0 - share) + to.x * share, from.y * (1.0 - share) + to.y * share,
                               from.z * (1.0 - share) + to.z * share});
        }
    }
    return divided;
}

} // namespace OrrinViewer
