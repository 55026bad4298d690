#pragma once

#include "data/Extent.h"

#include <functional>

namespace OrrinViewer {

/// A way between two coordinate systems and back, to be used by one thread at a time. A place that is not in the other
/// system comes out as not finite.
struct MapTransformation {
    std::function<Position(const Position&)> forward;
    std::function<Position(const Position&)> backward;
};

} // namespace OrrinViewer
