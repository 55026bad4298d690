#include "LayerSource.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace OrrinViewer {

namespace {

/// The gap between two boxes on the map.
double FindGap(const Extent& one, const Extent& other) {
    const double x = std::max({one.low.x - other.high.x, other.low.x - one.high.x, 0.0});
    const double y = std::max({one.low.y - other.high.y, other.low.y - one.high.y, 0.0});
    return std::hypot(x, y);
}

double FindSize(const Extent& extent) {
    return extent.Flat().Diagonal();
}

bool AreApart(const PlacedLayer& one, const PlacedLayer& other) {
    const double nearby = std::max(FindSize(one.extent), FindSize(other.extent));
    return FindGap(one.extent, other.extent) > nearby;
}

/// True where the positions can be longitudes and latitudes in degrees.
bool FitsTheGlobe(const Extent& extent) {
    return extent.low.x >= -180.0 && extent.high.x <= 180.0 && extent.low.y >= -90.0 && extent.high.y <= 90.0;
}

} // namespace

std::vector<std::string> FindLayersApart(const std::vector<PlacedLayer>& layers) {
    std::vector<PlacedLayer> present;
    for (const PlacedLayer& layer : layers) {
        if (!layer.extent.IsEmpty() && !layer.source.name.empty()) {
            present.push_back(layer);
        }
    }
    std::vector<std::string> lines;
    // The first one is what the others are compared with.
    for (std::size_t index = 1; index < present.size(); ++index) {
        const PlacedLayer& layer = present[index];
        const auto isNear = [&](const PlacedLayer& other) { return &other != &layer && !AreApart(layer, other); };
        const auto isUntold = [&](const PlacedLayer& other) { return !other.source.system.IsKnown(); };
        const auto untold = isUntold(layer) ? present.begin() + static_cast<std::ptrdiff_t>(index)
                                            : std::find_if(present.begin(), present.end(), isUntold);
        if (untold == present.end() || std::any_of(present.begin(), present.end(), isNear)) {
            continue;
        }
        lines.push_back(layer.source.name + ": lies apart from " + present.front().source.name + "; " +
                        (untold->source.name == layer.source.name ? "it" : untold->source.name) +
                        " does not tell its coordinate system");
    }
    return lines;
}

CoordinateSystem FindUnits(const std::vector<PlacedLayer>& layers) {
    CoordinateSystem units;
    Extent extent;
    bool maybeDegrees = false;
    for (const PlacedLayer& layer : layers) {
        extent.Include(layer.extent);
        maybeDegrees = maybeDegrees || layer.maybeDegrees;
        units.units = units.units ? units.units : layer.source.system.units;
        units.heightMetres = units.heightMetres ? units.heightMetres : layer.source.system.heightMetres;
    }
    if (!units.units) {
        units.units = maybeDegrees && FitsTheGlobe(extent) ? MapUnits::Degrees : MapUnits::Metres;
    }
    return units;
}

} // namespace OrrinViewer
