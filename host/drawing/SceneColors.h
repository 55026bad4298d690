#pragma once

#include "data/PointCloud.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace OrrinViewer {

/// Texts and lines over the map are light with a dark edge, which shows on any ground.
constexpr Rgb kLight{255, 255, 255};
constexpr Rgb kDarkEdge{26, 30, 38};

/// From low ground to peaks, at equal distances; each step is brighter than the one before, so that the order also
/// shows without colour.
constexpr std::array<Rgb, 6> kElevationRamp = {{
    {24, 40, 110},
    {22, 92, 140},
    {44, 138, 100},
    {136, 176, 70},
    {228, 204, 110},
    {248, 244, 236},
}};

/// By what the points of a cloud are coloured.
enum class ColorMode {
    Recorded,
    Elevation,
    Class,
    Intensity,
};

/// Elevations between which the colours run, in the file's units.
struct ElevationRange {
    double low = 0.0;
    double high = 0.0;
};

/// The range that holds all but the lowest and the highest fiftieth of the points: a few birds and echoes from below
/// the ground would otherwise take most of the colours. 0 to 0 for a cloud without points.
ElevationRange FindElevationRange(const PointCloud& cloud);
/// The same for elevations in any order.
ElevationRange FindElevationRange(std::vector<double> elevations);

/// A colour from deep blue at the range's low end over green and yellow to near white; the ends' own beyond them.
Rgb ColorOfElevation(double elevation, const ElevationRange& range);

/// The colour in which a class is customarily drawn, or for labels one that tells it from its neighbours.
Rgb ColorOfClass(std::uint8_t classNumber, ClassMeaning meaning);

/// The name of a class in plain words, for a legend.
std::string NameOfClass(std::uint8_t classNumber, ClassMeaning meaning);

/// The mode that shows most of the cloud: its own colours, else its classes, else its elevations. Colours and classes
/// count only where most points have one: files made to train a classifier leave the rest black and without a label.
ColorMode ChooseColorMode(const PointCloud& cloud);

/// One colour per point. Where the cloud lacks the attribute that the mode asks for, its elevations are shown.
std::vector<Rgb> ColorPoints(const PointCloud& cloud, ColorMode mode);

} // namespace OrrinViewer
