#include "ViewerOptions.h"

#include "files/ImageFile.h"
#include "files/PathText.h"
#include "files/PictureFile.h"
#include "files/TextParsing.h"
#include "map/SymbolNames.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

namespace OrrinViewer {

namespace {

/// "a, b or c".
std::string ListInWords(const std::vector<std::string>& words) {
    std::string list;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const bool isLast = index + 1 == words.size();
        list += index == 0 ? "" : (isLast ? " or " : ", ");
        list += words[index];
    }
    return list;
}

/// A number as a person writes it.
std::string NumberInWords(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), number == std::floor(number) && std::abs(number) < 1e12 ? "%.0f" : "%g",
                  number);
    return text.data();
}

template <typename Value> using Choices = std::vector<std::pair<std::string, Value>>;

/// Lets the option take one of some words. What it takes stands in its help and in the complaint about another word.
template <typename Value> CLI::Option* TakeOneOf(CLI::Option* option, const Choices<Value>& choices) {
    std::vector<std::string> words;
    for (const auto& [word, value] : choices) {
        words.push_back(word);
    }
    option->description(option->get_description() + ": " + ListInWords(words));
    const auto check = [choices, words](std::string& word) {
        for (const auto& [known, value] : choices) {
            if (known == word) {
                word = std::to_string(static_cast<int>(value));
                return std::string();
            }
        }
        return "takes " + ListInWords(words) + ", not '" + word + "'";
    };
    return option->transform(CLI::Validator(check, ""))->type_name("WORD");
}

/// The same for an option that keeps the word.
CLI::Option* TakeWord(CLI::Option* option, const std::vector<std::string>& words) {
    option->description(option->get_description() + ": " + ListInWords(words));
    const auto check = [words](std::string& word) {
        const bool isTaken = std::find(words.begin(), words.end(), word) != words.end();
        return isTaken ? std::string() : "takes " + ListInWords(words) + ", not '" + word + "'";
    };
    return option->check(CLI::Validator(check, ""))->type_name("WORD");
}

/// Lets the option take a number of a range.
CLI::Option* TakeNumber(CLI::Option* option, double low, double high) {
    const std::string range = NumberInWords(low) + " to " + NumberInWords(high);
    option->description(option->get_description() + "; " + range);
    const auto check = [low, high, range](std::string& word) {
        const std::optional<double> number = ParseNumber(word);
        const bool isTaken = number && *number >= low && *number <= high;
        return isTaken ? std::string() : "takes a number from " + range + ", not '" + word + "'";
    };
    return option->check(CLI::Validator(check, ""))->type_name("NUMBER");
}

/// The same for what is counted.
CLI::Option* TakeCount(CLI::Option* option, double low, double high) {
    const auto check = [](std::string& word) {
        const std::optional<double> number = ParseNumber(word);
        return number && *number == std::floor(*number) ? std::string() : "takes a whole number, not '" + word + "'";
    };
    return TakeNumber(option, low, high)->check(CLI::Validator(check, ""));
}

/// Numbers with commas between them. One text rather than a list, which would also take the file names behind it.
std::vector<double> NumbersFromText(const char* option, const std::string& text) {
    std::vector<double> numbers;
    for (const std::string& part : CLI::detail::split(text, ',')) {
        const std::optional<double> number = ParseNumber(part);
        if (!number || !std::isfinite(*number)) {
            throw CLI::ValidationError(option, "takes numbers with commas between them; '" + part + "' is none");
        }
        numbers.push_back(*number);
    }
    return numbers;
}

/// "4000x3000".
PictureSize PictureSizeFromText(const std::string& text) {
    const std::size_t cross = text.find('x');
    const auto side = [](const std::string& word) {
        const std::optional<double> number = ParseNumber(word);
        return number && *number == std::floor(*number) && *number >= 1.0 && *number <= kLargestPictureSide
                   ? static_cast<int>(*number)
                   : 0;
    };
    const PictureSize size = cross == std::string::npos
                                 ? PictureSize()
                                 : PictureSize{side(text.substr(0, cross)), side(text.substr(cross + 1))};
    if (size.widthPixels == 0 || size.heightPixels == 0) {
        throw CLI::ValidationError("--picture-size", "takes a width and a height of up to " +
                                                         std::to_string(kLargestPictureSide) +
                                                         " pixels, such as 4000x3000, not '" + text + "'");
    }
    return size;
}

/// "west,south,east,north".
Extent AreaFromText(const std::string& text) {
    const std::vector<double> numbers = NumbersFromText("--area", text);
    if (numbers.size() != 4) {
        throw CLI::ValidationError("--area", "takes four numbers: west,south,east,north");
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
    double cellSize = 0.0;
    std::string area;
    std::string dashes;
    std::string pictureSize;

    CLI::App app(
        "Shows point clouds (LAS, LAZ, COPC, PLY, XYZ, CSV), meshes (PLY), images and elevations (GeoTIFF, PNG, "
        "JPEG, ESRI ASCII grid) and vectors (GeoJSON, shapefile, GeoPackage).",
        "OrrinViewer");
    app.set_help_flag("-h,--help", "Prints this and ends");
    app.set_version_flag("--version", "OrrinViewer " ORRIN_VIEWER_VERSION, "Prints the version and ends");
    app.get_formatter()->label("OPTIONS", "options");
    app.get_formatter()->label("REQUIRED", "");
    app.footer(
        "Mouse: a click tells what is there; the wheel zooms to what is under it, dragging pans, or turns the 3-D view "
        "about what was clicked, "
        "dragging with the right button pans there too; Shift and dragging zooms to a rectangle, Ctrl and dragging "
        "measures. Keys: F1 shows all of them over the map. 1 to 6 show the scene from the top, the bottom, the front, "
        "the back, the left and the right, V switches between map and 3-D view, Backspace goes to the previous view "
        "and with Shift to the next, Home shows everything, M measures paths and then areas, P draws a line and shows "
        "its profile, C switches the colouring, E the shading of clouds by their depths, + and - the point size, F "
        "lets it follow the scale, S turns the sun and A raises it (with Shift back), N shows what lies below what was "
        "clicked, Ctrl + C copies it, F4 hides the panel, Ctrl + O adds files, Ctrl + S saves the project and with "
        "Shift "
        "a picture of any size, Esc ends.");
    const auto text = [&app](const char* name, std::string& value, const char* description, const char* kind) {
        return app.add_option(name, value, description)->type_name(kind);
    };
    app.add_option("files", files, "Files to show, folders of such, and projects")->type_name("FILE");
    TakeOneOf<Pipeline>(app.add_option("--pipeline", options.pipeline, "How OpenGL is used (default auto)"),
                        {{"auto", Pipeline::Automatic}, {"legacy", Pipeline::Legacy}, {"gl4", Pipeline::OpenGL4}});
    const CLI::Option* colorOption = TakeOneOf<ColorMode>(
        app.add_option("--color", colorMode, "What colours of points show (default: what suits the cloud)"),
        {{"recorded", ColorMode::Recorded},
         {"elevation", ColorMode::Elevation},
         {"class", ColorMode::Class},
         {"intensity", ColorMode::Intensity}});
    TakeOneOf<Camera>(app.add_option("--view", options.camera, "From where the scene is seen first (default map)"),
                      {{"map", Camera::Map},
                       {"bottom", Camera::Bottom},
                       {"front", Camera::Front},
                       {"back", Camera::Back},
                       {"left", Camera::Left},
                       {"right", Camera::Right},
                       {"3d", Camera::Perspective}});
    TakeNumber(app.add_option("--exaggeration", options.exaggeration, "Multiplies heights (default 1)"), 0.01, 1000.0);
    const CLI::Option* gridOption = TakeNumber(
        app.add_option("--grid", cellSize, "Shows clouds as a relief of cells of this size, in the file's units"), 1e-9,
        1e9);
    app.add_flag_callback(
        "--no-eye-dome", [&options] { options.cloudsShaded = false; },
        "Does not shade clouds by their depths in the 3-D view");
    app.add_flag("--flat", options.flat, "Shows elevations as a coloured raster below everything, not as a relief");
    TakeCount(app.add_option("--computed", options.computedSide,
                             "Adds a computed relief of so many pixels each way, which no memory needs to hold"),
              1.0, 10'000'000.0);
    TakeNumber(app.add_option("--hillshade", options.hillshadePercent,
                              "Shades rasters by the elevations, which are only shown with --flat; in percent (default "
                              "0)"),
               0.0, 100.0);
    TakeNumber(app.add_option("--fill", options.fillPercent, "How opaque areas are filled, in percent (default 0)"),
               0.0, 100.0);
    TakeNumber(
        app.add_option("--line-width", options.features.lineWidthPixels, "Draws lines as roads of so many pixels"), 0.5,
        256.0);
    TakeNumber(
        app.add_option("--casing", options.features.casingWidthPixels, "Width of roads with their casing in pixels"),
        0.5, 512.0);
    text("--dash", dashes, "Dashes of roads: pixels drawn and left out in turn, such as 12,6", "NUMBERS");
    TakeNumber(
        app.add_option("--border", options.features.borderWidthPixels, "Width of the borders of areas in pixels"), 0.5,
        256.0);
    TakeWord(app.add_option("--symbol", options.features.symbol, "Symbol of points"),
             {std::begin(kSymbolNames), std::end(kSymbolNames)});
    text("--labels", options.labelProperty, "Labels features with this property", "NAME");
    text("--font", options.font, "Font family of all texts (default Arial)", "NAME");
    TakeCount(app.add_option("--font-size", options.fontPoints, "Its size in points (default 10)"), 6.0, 72.0);
    app.add_flag("--plain", options.plain, "Leaves out coordinates, scale bar and north arrow");
    const CLI::Option* unitsOption =
        TakeOneOf<MapUnits>(app.add_option("--units", units,
                                           "Units of the coordinates (default: what the files say, otherwise what they "
                                           "look like)"),
                            {{"metres", MapUnits::Metres},
                             {"feet", MapUnits::Feet},
                             {"us-feet", MapUnits::UsSurveyFeet},
                             {"degrees", MapUnits::Degrees}});
    text(
        "--crs", options.coordinateSystem,
        "Coordinate system that the files are shown in, such as EPSG:25832 (default: that of the first file that tells "
        "one)",
        "SYSTEM");
    text("--area", area, "What the map shows first (default: everything)", "WEST,SOUTH,EAST,NORTH");
    TakeCount(app.add_option("--windows", options.windows, "Number of windows on the same data (default 1)"), 1.0, 8.0);
    TakeNumber(app.add_option("--point-size", options.pointSizePixels,
                              "Size of a point in pixels (default: what the points' spacing wants)"),
               1.0, 64.0);
    const CLI::Option* budgetOption =
        TakeCount(app.add_option("--budget", options.budgetPoints,
                                 "Points of large clouds that a frame draws before the next one adds more (default: as "
                                 "many as there is time for)"),
                  1'000.0, 1e9);
    TakeCount(app.add_option("--pixels-per-inch", options.pixelsPerInch,
                             "Draws as on a screen of so many (default: what the screen has, 96 on usual ones)"),
              48.0, 960.0);
    TakeCount(app.add_option("--width", options.widthPixels,
                             "Width of the window in pixels (default 1200, and more on fine screens)"),
              64.0, 8192.0);
    TakeCount(app.add_option("--height", options.heightPixels,
                             "Height of the window in pixels (default 800, and more on fine screens)"),
              64.0, 8192.0);
    TakeCount(app.add_option("--frames", options.frames, "Ends after so many frames (default: when it is closed)"), 1.0,
              1e6);
    text("--screenshot", screenshot,
         "Saves the last frame and ends, as PNG or JPEG by the ending of the name; further windows with -2, -3, ...",
         "FILE");

    text("--picture-size", pictureSize,
         "Size of the screenshot, which may be larger than any screen: the window enlarged, with its texts and lines",
         "WIDTHxHEIGHT");

    // The parser takes the arguments from the back.
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
        const bool isForPerson = options.frames == 0 && screenshot.empty();
        if (files.empty() && options.computedSide == 0 && !isForPerson) {
            throw CLI::RequiredError("A file to show");
        }
        if (!area.empty()) {
            options.area = AreaFromText(area);
        }
        if (!pictureSize.empty()) {
            options.pictureSize = PictureSizeFromText(pictureSize);
            if (screenshot.empty()) {
                throw CLI::ValidationError("--picture-size", "needs --screenshot");
            }
        }
        if (!dashes.empty()) {
            options.features.dashesPixels = NumbersFromText("--dash", dashes);
        }
        if (!screenshot.empty() && !IsImageName(PathFromUtf8(screenshot))) {
            throw CLI::ValidationError("--screenshot",
                                       "takes a name that ends in .png, .jpg or .jpeg, not '" + screenshot + "'");
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
    if (gridOption->count() > 0) {
        options.cloudCellSize = cellSize;
    }
    if (!screenshot.empty()) {
        options.screenshot = PathFromUtf8(screenshot);
        options.frames = std::max(options.frames, 1);
    }
    return result;
}

} // namespace OrrinViewer
