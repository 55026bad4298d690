#pragma once

#include "CoordinateSystem.h"
#include "Extent.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// Where a layer comes from.
struct LayerSource {
    std::string name; ///< what people know the file by
    CoordinateSystem system;
    std::filesystem::path file{};     ///< empty for what no file holds
    std::string part{};               ///< the layer's name in a file of several
    std::optional<double> cellSize{}; ///< of the cells that a cloud's points were gathered into
};

/// A layer and the box around it.
struct PlacedLayer {
    LayerSource source;
    Extent extent;
    bool maybeDegrees = false; ///< files of the kind often are in degrees without saying so
};

/// True where the positions can be longitudes and latitudes in degrees.
bool FitsTheGlobe(const Extent& extent);

/// A line for each layer that lies apart from all others although nobody knows whether it should: it or they do not
/// tell their coordinate system. Neighbours are not apart.
std::vector<std::string> FindLayersApart(const std::vector<PlacedLayer>& layers);

/// The units of the map: those that the first layer tells, otherwise degrees where all coordinates can be longitudes
/// and latitudes and one layer often has such ones, otherwise metres. The unit of heights is that of the first layer
/// that tells one.
CoordinateSystem FindUnits(const std::vector<PlacedLayer>& layers);

} // namespace OrrinViewer
