#pragma once

#include "ViewerOptions.h"
#include "data/Extent.h"
#include "data/LayerKind.h"
#include "drawing/LayerStyle.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// A layer of a project.
struct ProjectLayer {
    std::filesystem::path file; ///< absolute
    std::string part;           ///< UTF-8; of the file's layers, where it names them
    /// Of the cells that a cloud's points are gathered into, for a relief or a raster; not set: they are not.
    std::optional<double> cellSize;
    LayerKind kind = LayerKind::Features;
    LayerStyle style;

    bool operator==(const ProjectLayer&) const = default;
};

/// The elevations that shade all rasters.
struct ProjectShade {
    std::filesystem::path file;     ///< absolute
    std::optional<double> cellSize; ///< where it is a cloud, as of a layer
    double strength = 1.0;          ///< 0 to 1

    bool operator==(const ProjectShade&) const = default;
};

/// How all of it is shown.
struct ProjectSettings {
    std::string coordinateSystem; ///< UTF-8, of the register; empty: that of the first file that tells one
    std::optional<MapUnits> units;
    double exaggeration = 1.0;
    double sunAzimuthDegrees = 315.0;
    double sunAltitudeDegrees = 45.0;
    bool shadesClouds = true;
    std::string labelProperty; ///< UTF-8

    bool operator==(const ProjectSettings&) const = default;
};

/// A perspective.
struct ProjectEye {
    Position position;
    Position target; ///< in the window's middle
    Position up;
    double fieldOfViewDegrees = 40.0; ///< in the window's height
};

/// What a window showed.
struct ProjectView {
    Camera camera = Camera::Map;
    Extent box;                 ///< of the data; what is read again may take a while
    double zExaggeration = 1.0; ///< of heights, so that they are in the map's units and as steep as was asked for
    /// Left, bottom, right and top, in units of the map; not in perspective.
    std::optional<std::array<double, 4>> extents;
    std::optional<ProjectEye> eye; ///< in perspective
};

/// Layers, in the order in which they are drawn, and all that a person has chosen about how they are seen.
struct Project {
    ProjectSettings settings;
    std::optional<ProjectView> view;
    std::optional<ProjectShade> hillshade;
    std::vector<ProjectLayer> layers;
};

} // namespace OrrinViewer
