#pragma once

#include "PictureParts.h"
#include "data/Extent.h"
#include "drawing/FeatureStyle.h"
#include "drawing/SceneColors.h"
#include "map/MapTicks.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

enum class Pipeline {
    Automatic, ///< what the library's policy chooses for the driver
    Legacy,
    OpenGL4,
};

/// From where the scene is seen.
enum class Camera {
    Map, ///< from above, north up
    Bottom,
    Front, ///< from the south
    Back,
    Left, ///< from the west
    Right,
    Perspective, ///< the mouse rotates it
};

/// What the command line asks for.
struct ViewerOptions {
    std::vector<std::filesystem::path> files;
    Pipeline pipeline = Pipeline::Automatic;
    std::optional<ColorMode> colorMode;    ///< not set: what suits the cloud
    std::optional<double> pointSizePixels; ///< not set: what the points' spacing wants
    std::uint64_t budgetPoints = 0;        ///< of large clouds, that a frame draws while the view moves; 0: no limit
    double budgetMilliseconds = 80.0;      ///< the same in time
    Camera camera = Camera::Map;
    double exaggeration = 1.0;           ///< of heights
    std::optional<double> cloudCellSize; ///< set: clouds are shown as surfaces of such cells
    bool cloudsShaded = true;            ///< by their depths, in perspective, where the pipeline can
    bool flat = false;                   ///< elevations are shown as rasters, not as surfaces
    int computedSide = 0;                ///< pixels each way of a computed relief; 0: there is none
    double hillshadePercent = 0.0;       ///< how strongly elevations shade rasters; 0: they are shown themselves
    double fillPercent = 0.0;            ///< opacity of filled areas
    FeatureStyle features;
    std::string labelProperty;  ///< UTF-8; empty: no labels
    std::string font = "Arial"; ///< UTF-8, a family that the system knows
    int fontPoints = 10;
    bool plain = false;            ///< without coordinates, scale bar and north arrow
    std::string coordinateSystem;  ///< UTF-8, that the scene is shown in; empty: that of the first file that tells one
    std::optional<MapUnits> units; ///< not set: what the files tell, or the coordinates look like
    std::optional<Extent> area;    ///< what the map shows first; not set: everything
    int windows = 1;
    std::optional<int> widthPixels; ///< of the window, in the screen's own; not set, here and below: what suits it
    std::optional<int> heightPixels;
    std::optional<int> pixelsPerInch; ///< as if the screen had so many
    int frames = 0;                   ///< 0: until the window is closed
    std::filesystem::path screenshot;
    std::optional<PictureSize> pictureSize; ///< of the screenshot; not set: the window's
};

/// The outcome of reading a command line: options, or an exit code after help or an error was printed.
struct ParsedCommandLine {
    ViewerOptions options;
    std::optional<int> exitCode;
};

/// Reads the arguments (UTF-8, without the program's name).
ParsedCommandLine ParseCommandLine(const std::vector<std::string>& arguments);

} // namespace OrrinViewer
