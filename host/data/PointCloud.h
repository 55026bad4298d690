#pragma once

#include "Extent.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrrinViewer {

/// A colour of 8 bits per channel; an array of these is `count × 3 bytes`.
struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    bool operator==(const Rgb&) const = default;
};
static_assert(sizeof(Rgb) == 3);

/// What a class number says.
enum class ClassMeaning {
    Survey, ///< The numbers that airborne surveys share (the ASPRS list): 2 is ground, 6 a building, 9 water.
    Labels, ///< Numbers that only this file's maker knows; they can be told apart, but have no names.
};

/// In a cloud with ClassMeaning::Labels, the class of a point that nobody labelled.
constexpr std::uint8_t kNoClass = 255;

/// Points in memory. Each attribute is either empty, when the file does not really have it, or as long as `positions`.
struct PointCloud {
    std::vector<Position> positions;
    std::vector<Rgb> colors;
    std::vector<std::uint8_t> classes;
    std::vector<float> intensities; ///< As recorded; comparable within the file only.

    ClassMeaning classMeaning = ClassMeaning::Survey;
    Extent extent;
    std::uint64_t skippedPoints = 0; ///< In the file, but withdrawn by its maker or without a position.

    std::size_t Count() const { return positions.size(); }
    bool HasColors() const { return !colors.empty(); }
    bool HasClasses() const { return !classes.empty(); }
    bool HasIntensities() const { return !intensities.empty(); }
};

} // namespace OrrinViewer
