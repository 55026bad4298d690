#pragma once

#include "data/CoordinateSystem.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace OrrinViewer {

/// What the keys of GeoTIFF, which LAS files have too, say of the coordinate system. `directory` is the table of keys
/// as the file has it, `texts` what it refers to. What does not make sense is passed over.
CoordinateSystem SystemFromGeoKeys(std::span<const std::uint16_t> directory, std::string_view texts);

} // namespace OrrinViewer
