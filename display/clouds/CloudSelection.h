#pragma once

#include "CloudChunks.h"

#include <glm/mat4x4.hpp>
#include <glm/vec2.hpp>

#include <optional>

namespace KTR {

/// What a view sees of a cloud's coordinates.
struct CloudCamera {
    glm::dmat4 placeToClip{1.0}; ///< from positions relative to the origin to clip coordinates
    glm::dvec3 origin{0.0};
    glm::dvec2 sizePixels{1.0};
    double marginPixels = 0.0; ///< how far beyond the edges a point still reaches in

    bool operator==(const CloudCamera&) const = default;
};

/// How many pixels the box covers, those beyond the edges included, but not less than 1; nothing where no point of it
/// is in view. A box that reaches behind the eye covers as many as can be.
std::optional<double> FindCoveredPixels(const CloudBox& box, const CloudCamera& camera);

constexpr double kMostCoveredPixels = 1e12;

/// The part that a chunk has in a budget of points.
struct ChunkShare {
    double pixels = 1.0;     ///< that it covers
    unsigned int drawn = 0;  ///< points that are there already
    unsigned int most = 0;   ///< points that can be there; not below `drawn`
    unsigned int wanted = 0; ///< the answer: points that are to be there, `drawn` at least
};

/// Spends a budget of points so that the picture gets equally dense all over: no chunk is to have more points a pixel
/// than another one that has more to give. No more than the budget is spent, and all of it but for less than a point a
/// chunk; something always, if there is a budget and something left to draw. 0 sets no limit. Returns the points a
/// pixel that are reached where chunks have more to give; infinity where none has.
double ShareBudget(std::span<ChunkShare> shares, unsigned long long budget);

} // namespace KTR
