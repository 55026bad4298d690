#pragma once

#include "data/CloudSurvey.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
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

/// Where a ramp of colours begins and ends, if not where the data do.
struct RampEnds {
    std::optional<double> low;
    std::optional<double> high;

    /// These ends, the others those of the data. What would be no range, or run backwards, is one value.
    ElevationRange Of(const ElevationRange& data) const;
    bool operator==(const RampEnds&) const = default;
};

/// The mode that follows it where a key leads through all of them.
ColorMode NextAfter(ColorMode mode);
/// In words, for a title.
const char* NameOf(ColorMode mode);

/// How the points of a cloud are coloured, and which of them are left out.
struct PointColoring {
    ColorMode mode = ColorMode::Elevation;
    RampEnds elevationRamp{};
    RampEnds intensityRamp{};
    std::bitset<256> hiddenClasses{};
};

/// The colour of a layer of features that has none of its own: another one for each number, orange for 0.
Rgb ColorOfLayer(std::size_t number);

/// A colour from deep blue at the range's low end over green and yellow to near white; the ends' own beyond them.
Rgb ColorOfElevation(double elevation, const ElevationRange& range);

/// Grey, from a dark tone to white.
Rgb ColorOfIntensity(double intensity, const ElevationRange& range);

/// The colour in which a class is customarily drawn, or for labels one that tells it from its neighbours.
Rgb ColorOfClass(std::uint8_t classNumber, ClassMeaning meaning);

/// The name of a class in plain words, for a legend.
std::string NameOfClass(std::uint8_t classNumber, ClassMeaning meaning);

/// The mode that shows most of the cloud: its own colours, else its classes, else its elevations. Colours and classes
/// count only where most points have one: files made to train a classifier leave the rest black and without a label.
ColorMode ChooseColorMode(const CloudTraits& traits);

/// The mode, or elevations where the cloud lacks the attribute that it asks for.
ColorMode ModeThatShows(const CloudTraits& traits, ColorMode mode);

/// Intensities between which the greys run.
ElevationRange RangeOfIntensities(const CloudTraits& traits);

/// Colours the points of one cloud. Where the cloud lacks the attribute that the mode asks for, elevations are shown.
class PointColors {
public:
    PointColors(const CloudTraits& traits, const PointColoring& coloring);

    Rgb ColorOf(const CloudPoint& point) const;
    bool Hides(const CloudPoint& point) const { return m_hidden[point.classNumber]; }

private:
    ColorMode m_mode;
    bool m_hasWideColors;
    ClassMeaning m_classMeaning;
    ElevationRange m_elevations;
    ElevationRange m_intensities;
    std::bitset<256> m_hidden;
};

} // namespace OrrinViewer
