#include "ViewerOptions.h"

#include "files/TextParsing.h"
#include "map/SymbolNames.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <map>

namespace OrrinViewer {

namespace {

std::filesystem::path PathFromUtf8(const std::string& text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

/// Numbers with commas between them. One text rather than a list, which would also take the file names behind it.
std::vector<double> NumbersFromText(const char* option, const std::string& text) {
    std::vector<double> numbers;
    for (const std::string& part : CLI::detail::split(text, ',')) {
        const std::optional<double> number = ParseNumber(part);
        if (!number || !std::isfinite(*number)) {
            throw CLI::ValidationError(option, "'" + part + "' is not a number");
        }
        numbers.push_back(*number);
    }
    return numbers;
}

/// "west,south,east,north".
Extent AreaFromText(const std::string& text) {
    const std::vector<double> numbers = NumbersFromText("--area", text);
    if (numbers.size() != 4) {
        throw CLI::ValidationError("--area", "needs four numbers: west,south,east,north");
    }
    if (!(numbers[0] < numbers[2] && numbers[1] < numbers[3])) {
        throw CLI::ValidationError("--area", "west must be below east, south below north");
    }
    return {{numbers[0], numbers[1], 0.0}, {numbers[2], numbers[3], 0.0}};
}

} // namespace

ParsedCommandLine ParseCommandLine(const std::vector<std::string>& arguments) {
    ParsedCommandLine result;
    ViewerOptions& options = result.options;
    std::vector<std::string> files;
    std::string screenshot;
    ColorMode colorMode = ColorMode::Recorded;
    MapUnits units = MapUnits::Metres;
    std::string area;
    std::string dashes;

    CLI::App app("Shows point clouds (LAS, PLY), shaded reliefs (ESRI ASCII grid), images with a world file (PNG, "
                 "JPEG) and vectors (GeoJSON).",
                 "OrrinViewer");
    app.footer(
        "Mouse: the wheel zooms to what is under it, dragging pans, or turns the 3-D view about what was clicked, "
        "dragging with the right button pans there too; Shift and dragging zooms to a rectangle, Ctrl and dragging "
        "measures. Keys: F1 shows all of them over the map. 1 to 6 show the scene from the top, the bottom, the front, "
        "the back, the left and the right, V switches between map and 3-D view, Backspace goes to the previous view "
        "and with Shift to the next, Home shows everything, M measures paths and then areas, P draws a line and shows "
        "its profile, C switches the colouring, E the shading of clouds by their depths, + and - the point size, F "
        "lets "
        "it follow the scale, S "
        "turns the sun and A raises it (with Shift back), Esc ends.");
    app.add_option("files", files, "Files to show; they should share one coordinate system");
    app.add_option("--pipeline", options.pipeline, "auto, legacy or gl4")
        ->transform(CLI::CheckedTransformer(std::map<std::string, Pipeline>{
            {"auto", Pipeline::Automatic}, {"legacy", Pipeline::Legacy}, {"gl4", Pipeline::OpenGL4}}));
    const CLI::Option* colorOption =
        app.add_option("--color", colorMode, "recorded, elevation, class or intensity")
            ->transform(CLI::CheckedTransformer(std::map<std::string, ColorMode>{{"recorded", ColorMode::Recorded},
                                                                                 {"elevation", ColorMode::Elevation},
                                                                                 {"class", ColorMode::Class},
                                                                                 {"intensity", ColorMode::Intensity}}));
    app.add_option("--view", options.camera, "map (from above, north up), bottom, front, back, left, right or 3d")
        ->transform(CLI::CheckedTransformer(std::map<std::string, Camera>{{"map", Camera::Map},
                                                                          {"bottom", Camera::Bottom},
                                                                          {"front", Camera::Front},
                                                                          {"back", Camera::Back},
                                                                          {"left", Camera::Left},
                                                                          {"right", Camera::Right},
                                                                          {"3d", Camera::Perspective}}));
    app.add_option("--exaggeration", options.exaggeration, "Multiplies heights")->check(CLI::Range(0.01, 1000.0));
    app.add_option("--grid", options.cloudCellSize,
                   "Shows clouds as a shaded relief of cells of this size, in the file's units")
        ->check(CLI::PositiveNumber);
    app.add_flag("!--no-eye-dome", options.cloudsShaded, "Does not shade clouds by their depths in the 3-D view");
    app.add_flag("--flat", options.flat, "Shows elevations as a coloured raster below everything, not as a relief");
    app.add_option("--computed", options.computedSide,
                   "Adds a computed relief of so many pixels each way, which no memory needs to hold")
        ->check(CLI::Range(1, 10'000'000));
    app.add_option("--hillshade", options.hillshadePercent,
                   "Shades rasters by the elevations, which are only shown with --flat; how strongly in percent")
        ->check(CLI::Range(0.0, 100.0));
    app.add_option("--fill", options.fillPercent, "Fills areas; how opaque in percent")->check(CLI::Range(0.0, 100.0));
    app.add_option("--line-width", options.features.lineWidthPixels, "Draws lines as roads of so many pixels")
        ->check(CLI::Range(0.5, 256.0));
    app.add_option("--casing", options.features.casingWidthPixels, "Width of roads with their casing, in pixels")
        ->check(CLI::Range(0.5, 512.0));
    app.add_option("--dash", dashes, "Dashes of roads: lengths drawn and left out in turn, in pixels: 12,6");
    app.add_option("--border", options.features.borderWidthPixels, "Width of the borders of areas in pixels")
        ->check(CLI::Range(0.5, 256.0));
    app.add_option("--symbol", options.features.symbol,
                   "Shows points as circle, square, triangle, diamond, cross, plus, star or arrow")
        ->check(CLI::IsMember(std::vector<std::string>(std::begin(kSymbolNames), std::end(kSymbolNames))));
    app.add_option("--labels", options.labelProperty, "Labels features with this property");
    app.add_option("--font", options.font, "Font family of all texts");
    app.add_option("--font-size", options.fontPoints, "Its size in points")->check(CLI::Range(6, 72));
    app.add_flag("--plain", options.plain, "Leaves out coordinates, scale bar and north arrow");
    const CLI::Option* unitsOption =
        app.add_option("--units", units, "metres or degrees, for lengths; otherwise what the coordinates look like")
            ->transform(CLI::CheckedTransformer(
                std::map<std::string, MapUnits>{{"metres", MapUnits::Metres}, {"degrees", MapUnits::Degrees}}));
    app.add_option("--area", area, "What the map shows first: west,south,east,north");
    app.add_option("--windows", options.windows, "Number of windows on the same data")->check(CLI::Range(1, 8));
    app.add_option("--point-size", options.pointSizePixels,
                   "Size of a point in pixels; otherwise as large as its distance to the others wants")
        ->check(CLI::Range(1.0, 64.0));
    const CLI::Option* budgetOption =
        app.add_option("--budget", options.budgetPoints,
                       "Points of large clouds that a frame draws before the next one adds more; otherwise as many as "
                       "there is time for")
            ->check(CLI::Range(1'000, 1'000'000'000));
    app.add_option("--width", options.widthPixels, "Width of the window in pixels")->check(CLI::Range(64, 8192));
    app.add_option("--height", options.heightPixels, "Height of the window in pixels")->check(CLI::Range(64, 8192));
    app.add_option("--frames", options.frames, "Ends after so many frames")->check(CLI::Range(1, 1'000'000));
    app.add_option("--screenshot", screenshot,
                   "Saves the last frame as a PNG file and ends; of further windows too, with -2, -3, ... in the name");

    // The parser takes the arguments from the back.
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
        if (files.empty() && options.computedSide == 0) {
            throw CLI::RequiredError("files");
        }
        if (!area.empty()) {
            options.area = AreaFromText(area);
        }
        if (!dashes.empty()) {
            options.features.dashesPixels = NumbersFromText("--dash", dashes);
        }
    } catch (const CLI::ParseError& error) {
        result.exitCode = app.exit(error);
        return result;
    }
    for (const std::string& file : files) {
        options.files.push_back(PathFromUtf8(file));
    }
    if (budgetOption->count() > 0) {
        options.budgetMilliseconds = 0.0;
    }
    if (colorOption->count() > 0) {
        options.colorMode = colorMode;
    }
    if (unitsOption->count() > 0) {
        options.units = units;
    }
    if (!screenshot.empty()) {
        options.screenshot = PathFromUtf8(screenshot);
        options.frames = std::max(options.frames, 1);
    }
    return result;
}

} // namespace OrrinViewer
