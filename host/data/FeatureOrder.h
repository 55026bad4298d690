#pragma once

#include "VectorLayer.h"

#include <cstdint>
#include <vector>

namespace OrrinViewer {

/// The indices of all features so that those that follow each other lie close to each other, whatever their order in
/// the file; at one place they stay in that order. Takes a time that grows as their number does.
std::vector<std::uint32_t> OrderByPlace(const VectorLayer& layer);

} // namespace OrrinViewer
