#include "SceneColors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>

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

std::vector<Rgb> ColorByElevation(const PointCloud& cloud) {
    const ElevationRange range = FindElevationRange(cloud);
    std::vector<Rgb> colors;
    colors.reserve(cloud.Count());
    for (const Position& position : cloud.positions) {
        colors.push_back(ColorOfElevation(position.z, range));
    }
    return colors;
}

std::vector<Rgb> ColorByClass(const PointCloud& cloud) {
    std::vector<Rgb> colors;
    colors.reserve(cloud.Count());
    for (const std::uint8_t classNumber : cloud.classes) {
        colors.push_back(ColorOfClass(classNumber, cloud.classMeaning));
    }
    return colors;
}

/// Grey, from a dark tone that still shows on black to white at the strongest return.
std::vector<Rgb> ColorByIntensity(const PointCloud& cloud) {
    float strongest = 0.0f;
    for (const float intensity : cloud.intensities) {
        strongest = intensity > strongest && std::isfinite(intensity) ? intensity : strongest;
    }
    std::vector<Rgb> colors;
    colors.reserve(cloud.Count());
    for (const float intensity : cloud.intensities) {
        const double share = intensity > 0.0f ? std::min(1.0, static_cast<double>(intensity) / strongest) : 0.0;
        const std::uint8_t grey = Blend(40, 255, share);
        colors.push_back({grey, grey, grey});
    }
    return colors;
}

} // namespace

ElevationRange FindElevationRange(const PointCloud& cloud) {
    // Some ten thousand points, spread over the file, tell as much as all of them.
    constexpr std::size_t kSampleSize = 10000;
    const std::size_t step = std::max<std::size_t>(1, cloud.Count() / kSampleSize);
    std::vector<double> elevations;
    for (std::size_t index = 0; index < cloud.Count(); index += step) {
        elevations.push_back(cloud.positions[index].z);
    }
    return FindElevationRange(std::move(elevations));
}

ElevationRange FindElevationRange(std::vector<double> elevations) {
    if (elevations.empty()) {
        return {};
    }
    std::sort(elevations.begin(), elevations.end());
    const std::size_t cutOff = elevations.size() / 50;
    return {elevations[cutOff], elevations[elevations.size() - 1 - cutOff]};
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

ColorMode ChooseColorMode(const PointCloud& cloud) {
    const auto isMostOf = [&cloud](std::ptrdiff_t count) {
        return 2 * static_cast<std::size_t>(count) > cloud.Count();
    };
    const auto isColored = [](const Rgb& color) { return color != Rgb{}; };
    if (isMostOf(std::count_if(cloud.colors.begin(), cloud.colors.end(), isColored))) {
        return ColorMode::Recorded;
    }
    const bool isSurvey = cloud.classMeaning == ClassMeaning::Survey;
    const auto isClassified = [isSurvey](std::uint8_t number) { return isSurvey ? number > 1 : number != kNoClass; };
    if (isMostOf(std::count_if(cloud.classes.begin(), cloud.classes.end(), isClassified))) {
        return ColorMode::Class;
    }
    return ColorMode::Elevation;
}

std::vector<Rgb> ColorPoints(const PointCloud& cloud, ColorMode mode) {
    if (mode == ColorMode::Recorded && cloud.HasColors()) {
        return cloud.colors;
    }
    if (mode == ColorMode::Class && cloud.HasClasses()) {
        return ColorByClass(cloud);
    }
    if (mode == ColorMode::Intensity && cloud.HasIntensities()) {
        return ColorByIntensity(cloud);
    }
    return ColorByElevation(cloud);
}

} // namespace OrrinViewer
