#pragma once

#include "VectorLayer.h"

#include <cstddef>
#include <vector>

namespace OrrinViewer {

/// Paths and points as they are drawn, one behind the other.
struct DrawnPaths {
    struct End {
        std::size_t position = 0; ///< behind the last one of a path
        bool isClosed = false;    ///< its last position joins its first
    };
    std::vector<Position> positions;
    std::vector<End> ends;
    std::vector<Position> points;

    std::size_t CountPositions() const { return positions.size() + points.size(); }
};

/// Paths with fewer positions, and how far at most what is drawn of them lies from what was left out.
struct ThinnedPaths {
    DrawnPaths paths;
    double groundError = 0.0; ///< seen from above
    double heightError = 0.0;
};

/// Leaves out positions that lie within a tolerance of the one before, seen from above: no place on a path is then
/// farther than that from the thinned one. Ends stay, and rings stay closed. Of what is smaller than the tolerance a
/// short leg stays, or, of points and of such legs close to each other, one for all.
ThinnedPaths Thin(const DrawnPaths& paths, double tolerance);

/// Thinned ones by falling tolerances, the first with `coarsest`. All of them together have at most `share` of the
/// positions that the paths have, and each one has clearly more of them than the one before.
std::vector<ThinnedPaths> ThinRepeatedly(const DrawnPaths& paths, double coarsest, double share);

} // namespace OrrinViewer
