#include "Measure.h"

#include "Angles.h"
#include "Geodesic.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

namespace OrrinViewer {

namespace {

/// Three digits at least, and no zeros behind the point.
std::string FormatNumber(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), value >= 1000.0 ? "%.0f" : "%.3g", value);
    return text.data();
}

} // namespace

double PathLengthInMetres(MapUnits units, std::span<const Position> path) {
    double length = 0.0;
    for (std::size_t index = 1; index < path.size(); ++index) {
        const Position& from = path[index - 1];
        const Position& to = path[index];
        length += DistanceInMetres(units, from.x, from.y, to.x, to.y);
    }
    return length;
}

double AreaInSquareMetres(MapUnits units, std::span<const Position> ring) {
    if (ring.size() < 3) {
        return 0.0;
    }
    const Position& first = ring.front();
    double twice = 0.0;
    for (std::size_t index = 0; index < ring.size(); ++index) {
        const Position& from = ring[index];
        const Position& to = ring[(index + 1) % ring.size()];
        if (units == MapUnits::Degrees) {
            // From the south pole up, so that a ring around a pole counts what lies within it.
            twice += Radians(to.x - from.x) *
                     (2.0 * SquareMetresPerRadian(90.0) + SquareMetresPerRadian(from.y) + SquareMetresPerRadian(to.y));
        } else {
            // Relative to the first, so that coordinates of a national grid do not eat the digits.
            twice += (from.x - first.x) * (to.y - first.y) - (to.x - first.x) * (from.y - first.y);
        }
    }
    if (units == MapUnits::Degrees) {
        return std::fabs(twice) * 0.5;
    }
    const double unit = MetresPerUnit(units, first.y);
    return std::fabs(twice) * 0.5 * unit * unit;
}

std::string FormatArea(double squareMetres) {
    constexpr double kHectare = 1e4;
    constexpr double kSquareKilometre = 1e6;
    if (squareMetres >= kSquareKilometre) {
        return FormatNumber(squareMetres / kSquareKilometre) + " km\xC2\xB2";
    }
    if (squareMetres >= kHectare) {
        return FormatNumber(squareMetres / kHectare) + " ha";
    }
    return FormatNumber(squareMetres) + " m\xC2\xB2";
}

std::string DescribePath(MapUnits units, std::span<const Position> path) {
    std::string text = FormatLength(PathLengthInMetres(units, path));
    if (path.size() > 1 && !std::isnan(path.front().z) && !std::isnan(path.back().z)) {
        const double higher = path.back().z - path.front().z;
        text += std::string(", height ") + (higher < 0.0 ? "-" : "+") + FormatCoordinate(std::fabs(higher), 2);
    }
    return text;
}

std::string DescribeArea(MapUnits units, std::span<const Position> ring) {
    std::vector<Position> around(ring.begin(), ring.end());
    if (!around.empty()) {
        around.push_back(around.front());
    }
    return FormatArea(AreaInSquareMetres(units, ring)) + ", around " + FormatLength(PathLengthInMetres(units, around));
}

} // namespace OrrinViewer
