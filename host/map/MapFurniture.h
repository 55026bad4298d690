#pragma once

#include "MapFrame.h"
#include "MapTicks.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// A string in the window. (x, y) is the left end of its baseline, in pixels from the window's lower left, as OpenGL
/// counts.
struct PixelText {
    std::string text; ///< UTF-8
    double x = 0.0;
    double y = 0.0;
};

/// How large strings come out, in pixels.
struct TextSizes {
    std::function<double(const std::string&)> width;
    double ascent = 0.0;  ///< height of capital letters above the baseline
    double descent = 0.0; ///< depth of letters below it
};

/// What lies around and over the map, in pixels from the window's lower left.
struct MapFurniture {
    std::vector<std::array<Position, 2>> lines;
    std::vector<std::array<Position, 3>> triangles;
    std::vector<PixelText> texts;
};

/// Coordinates along the window's edges, a scale bar in its lower right corner and a north arrow in its upper right
/// one. What has no room is left out. No two texts touch, and the row at the top edge stays free for what the mouse
/// does.
MapFurniture LayOutMapFurniture(const MapFrame& frame, MapUnits units, const TextSizes& sizes);

/// The scale bar alone, for views that are no maps.
MapFurniture LayOutScaleBar(const MapFrame& frame, MapUnits units, const TextSizes& sizes);

/// Moves all of it up by so many pixels.
void RaiseFurniture(MapFurniture& furniture, double pixels);

/// The position in words, with as many digits as a pixel is worth. A height that is NaN is left out.
std::string FormatPosition(const Position& position, double unitsPerPixel);

/// Puts a text of this width beside the end `to` of a line, on the side where the line does not go, and whole within
/// the window.
PixelText PlaceBesideLine(std::string text, double widthPixels, const Position& from, const Position& to,
                          int windowWidth, int windowHeight);

} // namespace OrrinViewer
