#pragma once

#include "data/CoordinateSystem.h"

#include <filesystem>
#include <optional>
#include <string_view>

namespace OrrinViewer {

/// What a definition in well-known text says of a coordinate system: name, code and units, in the first version of that
/// language (PROJCS, GEOGCS) as in the second (PROJCRS, GEOGCRS), alone or with heights. None for what is no such text.
std::optional<CoordinateSystem> SystemFromWkt(std::string_view text);

/// What the file of the same name with the ending .prj says of a grid's or an image's system; nothing where there is
/// none.
CoordinateSystem SystemBeside(const std::filesystem::path& file);

} // namespace OrrinViewer
