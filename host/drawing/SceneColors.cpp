#include "SceneColors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace OrrinViewer {

namespace {

struct SurveyClass {
    std::string_view name;
    Rgb color;
};

/// The numbers that airborne surveys share; those after the table are free for each survey.
constexpr std::array<SurveyClass, 23> kSurveyClasses = {{
    {"never classified", {150, 150, 150}},
    {"unclassified", {180, 180, 180}},
    {"ground", {166, 116, 66}},
    {"low vegetation", {150, 200, 90}},
    {"medium vegetation", {86, 168, 60}},
    {"high vegetation", {24, 120, 40}},
    {"building", {226, 82, 60}},
    {"low point (noise)", {200, 0, 200}},
    {"model key point", {250, 150, 200}},
    {"water", {50, 120, 220}},
    {"rail", {110, 80, 130}},
    {"road surface", {96, 96, 104}},
    {"overlap", {210, 210, 140}},
    {"wire guard", {240, 200, 60}},
    {"wire conductor", {250, 230, 0}},
    {"transmission tower", {230, 150, 0}},
    {"wire connector", {200, 170, 90}},
    {"bridge deck", {150, 90, 90}},
    {"high noise", {255, 0, 128}},
    {"overhead structure", {130, 130, 180}},
    {"ignored ground", {120, 96, 74}},
    {"snow", {240, 248, 255}},
    {"temporal exclusion", {90, 70, 110}},
}};

constexpr Rgb kOtherClassColor = {150, 150, 150};

/// Colours that are easy to tell apart side by side; labels take them in turn.
constexpr std::array<Rgb, 10> kLabelColors = {{
    {232, 120, 40},
    {60, 140, 220},
    {80, 180, 80},
    {210, 60, 80},
    {150, 100, 200},
    {240, 200, 60},
    {70, 190, 190},
    {230, 130, 190},
    {140, 100, 70},
    {170, 200, 120},
}};

std::uint8_t Blend(std::uint8_t from, std::uint8_t to, double share) {
    return static_cast<std::uint8_t>(std::lround(from + (to - from) * share));
}

/// Grey, from a dark tone that still shows on black to white at the strongest return.
Rgb ColorOfIntensity(float intensity, float strongest) {
    const double share = intensity > 0.0F ? std::min(1.0, static_cast<double>(intensity) / strongest) : 0.0;
    const std::uint8_t grey = Blend(40, 255, share);
    return {grey, grey, grey};
}

/// Many programs write 0 to 255 into 16-bit fields, which read as 16-bit colours are all but black. Which of the two a
/// file does shows only at its first channel above 255; all colours before turn out to have been black then.
Rgb RecordedColor(const CloudPoint& point, bool wide) {
    const int shift = wide ? 8 : 0;
    return {static_cast<std::uint8_t>(point.red >> shift), static_cast<std::uint8_t>(point.green >> shift),
            static_cast<std::uint8_t>(point.blue >> shift)};
}

} // namespace

ColorMode NextAfter(ColorMode mode) {
    switch (mode) {
    case ColorMode::Recorded:
        return ColorMode::Elevation;
    case ColorMode::Elevation:
        return ColorMode::Class;
    case ColorMode::Class:
        return ColorMode::Intensity;
    case ColorMode::Intensity:
        break;
    }
    return ColorMode::Recorded;
}

const char* NameOf(ColorMode mode) {
    switch (mode) {
    case ColorMode::Recorded:
        return "recorded colours";
    case ColorMode::Elevation:
        return "elevation";
    case ColorMode::Class:
        return "class";
    case ColorMode::Intensity:
        return "intensity";
    }
    return "";
}

Rgb ColorOfElevation(double elevation, const ElevationRange& range) {
    const double span = range.high - range.low;
    const double share = span > 0.0 ? std::clamp((elevation - range.low) / span, 0.0, 1.0) : 0.5;
    const double step = share * (kElevationRamp.size() - 1);
    const auto below = std::min(static_cast<std::size_t>(step), kElevationRamp.size() - 2);
    const double beyond = step - static_cast<double>(below);
    const Rgb& from = kElevationRamp[below];
    const Rgb& to = kElevationRamp[below + 1];
    return {Blend(from.red, to.red, beyond), Blend(from.green, to.green, beyond), Blend(from.blue, to.blue, beyond)};
}

Rgb ColorOfClass(std::uint8_t classNumber, ClassMeaning meaning) {
    if (meaning == ClassMeaning::Labels) {
        return classNumber == kNoClass ? kOtherClassColor : kLabelColors[classNumber % kLabelColors.size()];
    }
    return classNumber < kSurveyClasses.size() ? kSurveyClasses[classNumber].color : kOtherClassColor;
}

std::string NameOfClass(std::uint8_t classNumber, ClassMeaning meaning) {
    if (meaning == ClassMeaning::Labels) {
        return classNumber == kNoClass ? "no label" : "label " + std::to_string(classNumber);
    }
    if (classNumber < kSurveyClasses.size()) {
        return std::string(kSurveyClasses[classNumber].name);
    }
    return "class " + std::to_string(classNumber);
}

ColorMode ChooseColorMode(const CloudTraits& traits) {
    const auto isMostOf = [&traits](std::uint64_t count) { return 2 * count > traits.count; };
    if (traits.hasColors && isMostOf(traits.coloredPoints)) {
        return ColorMode::Recorded;
    }
    if (traits.hasClasses && isMostOf(traits.classifiedPoints)) {
        return ColorMode::Class;
    }
    return ColorMode::Elevation;
}

PointColors::PointColors(const CloudTraits& traits, ColorMode mode) : m_traits(traits), m_mode(mode) {
    const bool isThere = mode == ColorMode::Elevation || (mode == ColorMode::Recorded && traits.hasColors) ||
                         (mode == ColorMode::Class && traits.hasClasses) ||
                         (mode == ColorMode::Intensity && traits.hasIntensities);
    m_mode = isThere ? mode : ColorMode::Elevation;
}

Rgb PointColors::ColorOf(const CloudPoint& point) const {
    switch (m_mode) {
    case ColorMode::Recorded:
        return RecordedColor(point, m_traits.wideColors);
    case ColorMode::Class:
        return ColorOfClass(point.classNumber, m_traits.classMeaning);
    case ColorMode::Intensity:
        return ColorOfIntensity(point.intensity, m_traits.strongestIntensity);
    case ColorMode::Elevation:
        break;
    }
    return ColorOfElevation(point.position.z, m_traits.elevations);
}

} // namespace OrrinViewer
