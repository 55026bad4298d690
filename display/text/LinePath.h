#pragma once

// Where letters stand along a line, in pixels of the window. Knows nothing of fonts or OpenGL.

#include "LineTextStyle.h"
#include "SheetDrawing.h"
#include "TextLayout.h"

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <span>
#include <vector>

namespace KTR {

/// A line of at least two different places; z goes along evenly.
class LinePath {
public:
    /// Places that repeat the one before in x and y are left out.
    explicit LinePath(std::span<const glm::dvec3> places);

    double Length() const { return m_lengths.empty() ? 0.0 : m_lengths.back(); }
    /// The place so far from the start; before it and behind the end, the line goes on straight.
    glm::dvec3 At(double length) const;
    /// Where along the line a label of `width` may have its middle to be seen within the rectangle from `low` to
    /// `high`: pairs of lengths, ascending.
    std::vector<glm::dvec2> VisibleParts(const glm::dvec2& low, const glm::dvec2& high, double width) const;

private:
    std::vector<glm::dvec3> m_places;
    std::vector<double> m_lengths; ///< from the start to each place
};

/// A style with each value in its range; what is no number becomes the default.
GLLineTextStyle CleanStyle(const GLLineTextStyle& style);

/// Where strings of `width` begin along the line, of those that can be seen.
std::vector<double> PlaceLabels(const LinePath& path, double width, const GLLineTextStyle& style, const glm::dvec2& low,
                                const glm::dvec2& high);

/// The letters of a string that begins `start` along the line. Empty where the line is too short or bends too much.
std::vector<PlacedLetter> PlaceAlong(const LinePath& path, const TextLayout& layout, double start,
                                     const GLLineTextStyle& style);

} // namespace KTR
