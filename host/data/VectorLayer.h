#pragma once

#include "Extent.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace OrrinViewer {

/// Positions in drawing order.
using Path = std::vector<Position>;

/// An area: its outer ring, then its holes. The last position of a ring joins the first and does not repeat it.
struct Polygon {
    std::vector<Path> rings;
};

/// One thing on the map with what is known about it. It may have shapes of several kinds at once.
struct VectorFeature {
    std::vector<Position> points;
    std::vector<Path> lines; ///< Two positions or more each.
    std::vector<Polygon> polygons;
    Extent extent;

    /// Name and value as text, in the file's order.
    std::vector<std::pair<std::string, std::string>> properties;
};

/// The features of one file, or of one layer of a file that has several. Positions without an elevation have z = 0.
struct VectorLayer {
    std::string name; ///< UTF-8; empty where the file has but one layer
    std::string wkt;  ///< the coordinate system as the file tells it; empty where it does not
    std::vector<VectorFeature> features;
    Extent extent;
    bool hasElevations = false;
    std::size_t skippedFeatures = 0; ///< In the file, but without a shape.

    /// Whether the elevations say anything. Many writers put a 0 where there is none.
    bool HasHeights() const { return hasElevations && (extent.low.z != 0.0 || extent.high.z != 0.0); }
};

} // namespace OrrinViewer
