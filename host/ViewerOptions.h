#pragma once

#include "SceneColors.h"

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
    Map,         ///< from above, north up
    Perspective, ///< from the side; the mouse turns it
};

/// What the command line asks for.
struct ViewerOptions {
    std::vector<std::filesystem::path> files;
    Pipeline pipeline = Pipeline::Automatic;
    std::optional<ColorMode> colorMode; ///< not set: what suits the cloud
    double pointSizePixels = 2.0;
    Camera camera = Camera::Map;
    double exaggeration = 1.0;           ///< of heights
    std::optional<double> cloudCellSize; ///< set: clouds are shown as surfaces of such cells
    int widthPixels = 1200;
    int heightPixels = 800;
    int frames = 0; ///< 0: until the window is closed
    std::filesystem::path screenshot;
};

/// The outcome of reading a command line: options, or an exit code after help or an error was printed.
struct ParsedCommandLine {
    ViewerOptions options;
    std::optional<int> exitCode;
};

/// Reads the arguments (UTF-8, without the program's name).
ParsedCommandLine ParseCommandLine(const std::vector<std::string>& arguments);

} // namespace OrrinViewer
