#include "LinePath.h"

#include <glm/geometric.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace KTR {

namespace {

constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;

/// Roundings of a length, or of a cosine.
constexpr double kTolerance = 1e-6;

/// Strings along one line that the window shows, and pixels that they take of it together: far more than one can read.
constexpr double kMostStrings = 50'000.0;
constexpr double kMostTextPixels = 2e6;

/// A letter takes the direction of at least so many pixels of the line: marks have no width of their own.
constexpr double kLeastSpan = 4.0;

double InRange(double value, double low, double high, double otherwise) {
    return std::isnan(value) ? otherwise : std::clamp(value, low, high);
}

/// The part of a segment that lies in a rectangle, as shares of it; the first is the larger one when there is none.
glm::dvec2 ClipShares(const glm::dvec2& from, const glm::dvec2& to, const glm::dvec2& low, const glm::dvec2& high) {
    glm::dvec2 part(0.0, 1.0);
    const glm::dvec2 step = to - from;
    for (int axis = 0; axis < 2; ++axis) {
        if (step[axis] == 0.0) {
            if (from[axis] < low[axis] || from[axis] > high[axis]) {
                return {1.0, 0.0};
            }
            continue;
        }
        const double first = (low[axis] - from[axis]) / step[axis];
        const double second = (high[axis] - from[axis]) / step[axis];
        part.x = std::max(part.x, std::min(first, second));
        part.y = std::min(part.y, std::max(first, second));
    }
    return part;
}

} // namespace

LinePath::LinePath(std::span<const glm::dvec3> places) {
    for (const glm::dvec3& place : places) {
        const double step = m_places.empty() ? 0.0 : glm::distance(glm::dvec2(m_places.back()), glm::dvec2(place));
        if (m_places.empty() || step > 0.0) {
            m_lengths.push_back(Length() + step);
            m_places.push_back(place);
        }
    }
}

glm::dvec3 LinePath::At(double length) const {
    const auto behind = std::upper_bound(m_lengths.begin() + 1, m_lengths.end() - 1, length) - m_lengths.begin();
    const auto index = static_cast<std::size_t>(behind);
    const double share = (length - m_lengths[index - 1]) / (m_lengths[index] - m_lengths[index - 1]);
    return m_places[index - 1] + (m_places[index] - m_places[index - 1]) * share;
}

std::vector<glm::dvec2> LinePath::VisibleParts(const glm::dvec2& low, const glm::dvec2& high, double width) const {
    std::vector<glm::dvec2> parts;
    for (std::size_t index = 1; index < m_places.size(); ++index) {
        const glm::dvec2 shares = ClipShares(m_places[index - 1], m_places[index], low - width, high + width);
        if (shares.x > shares.y) {
            continue;
        }
        const double step = m_lengths[index] - m_lengths[index - 1];
        const glm::dvec2 part = m_lengths[index - 1] + step * shares;
        if (!parts.empty() && part.x <= parts.back().y) {
            parts.back().y = part.y;
        } else {
            parts.push_back(part);
        }
    }
    return parts;
}

GLLineTextStyle CleanStyle(const GLLineTextStyle& style) {
    const GLLineTextStyle defaults;
    GLLineTextStyle clean = style;
    clean.margin = InRange(style.margin, 0.0, 1e6, defaults.margin);
    clean.repeatDistance = InRange(style.repeatDistance, 1.0, 1e6, defaults.repeatDistance);
    clean.offset = InRange(style.offset, -1e4, 1e4, defaults.offset);
    clean.maximumBendDegrees = InRange(style.maximumBendDegrees, 1.0, 180.0, defaults.maximumBendDegrees);
    return clean;
}

std::vector<double> PlaceLabels(const LinePath& path, double width, const GLLineTextStyle& style, const glm::dvec2& low,
                                const glm::dvec2& high) {
    const double free = path.Length() - 2.0 * style.margin;
    if (free + kTolerance < width || !(width > 0.0)) {
        return {};
    }
    switch (style.placement) {
    case GLLineTextStart:
        return {style.margin};
    case GLLineTextEnd:
        return {path.Length() - style.margin - width};
    case GLLineTextCenter:
        return {(path.Length() - width) * 0.5};
    default:
        break;
    }
    const std::vector<glm::dvec2> parts = path.VisibleParts(low, high, width + std::abs(style.offset));
    double visible = 0.0;
    for (const glm::dvec2& part : parts) {
        visible += part.y - part.x;
    }
    const double most = std::clamp(kMostTextPixels / width, 1.0, kMostStrings);
    const double distance = std::max({style.repeatDistance, width + style.margin, visible / most});
    const double count = std::max(std::floor(free / distance), 1.0);
    const double step = free / count;
    std::vector<double> starts;
    double next = 0.0; // number of the first label that is not placed yet
    for (const glm::dvec2& part : parts) {
        const double first = std::max(std::ceil((part.x - style.margin) / step - 0.5), next);
        const double last = std::min(std::floor((part.y - style.margin) / step - 0.5), count - 1.0);
        if (!(first <= last)) {
            continue;
        }
        const auto labels = static_cast<long long>(last - first) + 1;
        for (long long label = 0; label < labels; ++label) {
            starts.push_back(style.margin + (first + static_cast<double>(label) + 0.5) * step - width * 0.5);
        }
        next = last + 1.0;
    }
    return starts;
}

std::vector<PlacedLetter> PlaceAlong(const LinePath& path, const TextLayout& layout, double start,
                                     const GLLineTextStyle& style) {
    const double width = layout.advance;
    if (start < -kTolerance || start + width > path.Length() + kTolerance) {
        return {};
    }
    const glm::dvec3 first = path.At(start);
    const glm::dvec3 last = path.At(start + width);
    const bool turned = style.upright && last.x < first.x;
    const double leastCosine = std::cos(style.maximumBendDegrees * kRadiansPerDegree) - kTolerance;
    // Along the string's own reading direction.
    const auto at = [&](double pen) { return path.At(turned ? start + width - pen : start + pen); };
    std::vector<PlacedLetter> letters;
    glm::dvec2 before(0.0);
    for (const PlacedGlyph& glyph : layout.glyphs) {
        const double middle = glyph.x + glyph.advance * 0.5;
        const double reach = std::max(glyph.advance, kLeastSpan) * 0.5;
        const glm::dvec2 chord = glm::dvec2(at(middle + reach)) - glm::dvec2(at(middle - reach));
        const double length = glm::length(chord);
        if (!(length > 0.0)) {
            return {}; // back where it came from within a letter
        }
        const glm::dvec2 along = chord / length;
        if (!letters.empty() && glm::dot(along, before) < leastCosine) {
            return {};
        }
        before = along;
        const glm::dvec2 up(-along.y, along.x);
        const glm::dvec3 on = at(middle);
        const glm::dvec2 pen = glm::dvec2(on) + up * (style.offset + glyph.y) - along * (glyph.advance * 0.5);
        letters.push_back({glyph.glyph, {pen, on.z}, along, up});
    }
    return letters;
}

} // namespace KTR
