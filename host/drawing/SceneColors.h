#pragma once

#include "data/CloudSurvey.h"

#include <array>
#include <cstdint>
#include <string>

namespace OrrinViewer {

/// Texts and lines over the map are light with a dark edge, which shows on any ground.
constexpr Rgb kLight{255, 255, 255};
constexpr Rgb kDarkEdge{26, 30, 38};

/// From low ground to peaks, at equal distances; each step is brighter than the one before, so that the order also
/// shows without colour.
constexpr std::array<Rgb, 6> kElevationRamp = {{
    {52, 64, 150},
    {24, 98, 150},
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

/// The mode that follows it where a key leads through all of them.
ColorMode NextAfter(ColorMode mode);
/// In words, for a title.
const char* NameOf(ColorMode mode);

/// A colour from deep blue at the range's low end over green and yellow to near white; the ends' own beyond them.
Rgb ColorOfElevation(double elevation, const ElevationRange& range);

/// The colour in which a class is customarily drawn, or for labels one that tells it from its neighbours.
Rgb ColorOfClass(std::uint8_t classNumber, ClassMeaning meaning);

/// The name of a class in plain words, for a legend.
std::string NameOfClass(std::uint8_t classNumber, ClassMeaning meaning);

/// The mode that shows most of the cloud: its own colours, else its classes, else its elevations. Colours and classes
/// count only where most points have one: files made to train a classifier leave the rest black and without a label.
ColorMode ChooseColorMode(const CloudTraits& traits);

/// Colours the points of one cloud. Where the cloud lacks the attribute that the mode asks for, elevations are shown.
class PointColors {
public:
    PointColors(const CloudTraits& traits, ColorMode mode);

    Rgb ColorOf(const CloudPoint& point) const;

private:
    CloudTraits m_traits;
    ColorMode m_mode;
};

} // namespace OrrinViewer
