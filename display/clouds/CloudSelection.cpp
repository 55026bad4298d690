#include "CloudSelection.h"

#include <glm/common.hpp>
#include <glm/vec4.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace KTR {

namespace {

unsigned int PointsAt(const ChunkShare& share, double density) {
    const double points = density * share.pixels;
    const unsigned int wanted =
        points < static_cast<double>(share.most) ? static_cast<unsigned int>(points) : share.most;
    return std::max(wanted, share.drawn);
}

unsigned long long Cost(std::span<const ChunkShare> shares, double density) {
    unsigned long long points = 0;
    for (const ChunkShare& share : shares) {
        points += PointsAt(share, density) - share.drawn;
    }
    return points;
}

/// So little a chunk that all shares were rounded down to nothing: some get one point each.
void SpendOnePointEach(std::span<ChunkShare> shares, unsigned long long budget) {
    for (ChunkShare& share : shares) {
        if (budget > 0 && share.wanted < share.most) {
            ++share.wanted;
            --budget;
        }
    }
}

} // namespace

std::optional<double> FindCoveredPixels(const CloudBox& box, const CloudCamera& camera) {
    std::array<glm::dvec4, 8> corners;
    for (unsigned int corner = 0; corner < 8; ++corner) {
        const glm::dvec3 place((corner & 1) != 0 ? box.high.x : box.low.x, (corner & 2) != 0 ? box.high.y : box.low.y,
                               (corner & 4) != 0 ? box.high.z : box.low.z);
        corners[corner] = camera.placeToClip * glm::dvec4(place - camera.origin, 1.0);
    }
    // How far the planes of the view lie out, in halves of its size.
    const glm::dvec3 reach(1.0 + 2.0 * camera.marginPixels / camera.sizePixels.x,
                           1.0 + 2.0 * camera.marginPixels / camera.sizePixels.y, 1.0);
    for (int axis = 0; axis < 3; ++axis) {
        const auto isBelow = [&](const glm::dvec4& corner) { return corner[axis] < -reach[axis] * corner.w; };
        const auto isAbove = [&](const glm::dvec4& corner) { return corner[axis] > reach[axis] * corner.w; };
        if (std::all_of(corners.begin(), corners.end(), isBelow) ||
            std::all_of(corners.begin(), corners.end(), isAbove)) {
            return std::nullopt;
        }
    }
    glm::dvec2 low(std::numeric_limits<double>::infinity());
    glm::dvec2 high = -low;
    for (const glm::dvec4& corner : corners) {
        if (!(corner.w > 0.0)) {
            return kMostCoveredPixels;
        }
        const glm::dvec2 at = glm::dvec2(corner) / corner.w * 0.5 * camera.sizePixels;
        low = glm::min(low, at);
        high = glm::max(high, at);
    }
    const double pixels = std::max(high.x - low.x, 1.0) * std::max(high.y - low.y, 1.0);
    return std::min(pixels, kMostCoveredPixels);
}

double ShareBudget(std::span<ChunkShare> shares, unsigned long long budget) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (budget == 0 || Cost(shares, kInfinity) <= budget) {
        for (ChunkShare& share : shares) {
            share.wanted = share.most;
        }
        return kInfinity;
    }
    // What is spent grows with the density: halving the span between too little and too much finds it.
    double affordable = 0.0;
    double excessive = 0.0;
    for (const ChunkShare& share : shares) {
        excessive = std::max(excessive, static_cast<double>(share.most) / share.pixels);
    }
    while (excessive - affordable > 1e-9 * excessive) {
        const double middle = (affordable + excessive) / 2.0;
        (Cost(shares, middle) <= budget ? affordable : excessive) = middle;
    }
    unsigned long long spent = 0;
    for (ChunkShare& share : shares) {
        share.wanted = PointsAt(share, affordable);
        spent += share.wanted - share.drawn;
    }
    if (spent == 0) {
        SpendOnePointEach(shares, budget);
    }
    return affordable;
}

} // namespace KTR
