#pragma once

#include "data/VectorLayer.h"

#include <cstdint>
#include <span>
#include <stdexcept>

namespace OrrinViewer {

/// What is wrong with a geometry, in words that follow the name of its record.
class WkbFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Adds the shapes of a geometry in well-known binary, with its elevations; measures are passed over. True when it has
/// elevations. Throws WkbFault.
bool AddWkbShapes(std::span<const std::uint8_t> bytes, VectorFeature& feature);

} // namespace OrrinViewer
