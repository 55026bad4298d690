#include "data/PathThinning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace OrrinViewer {
namespace {

double Between(std::mt19937& random, double low, double high) {
    return low + (high - low) * static_cast<double>(random()) / 4294967295.0;
}

/// Paths at national-grid coordinates that wander, turn back and stand still; every other one is a ring.
DrawnPaths WanderingPaths(std::mt19937& random, std::size_t count, std::size_t mostPositions) {
    DrawnPaths paths;
    for (std::size_t path = 0; path < count; ++path) {
        Position place = {500'000.0 + Between(random, 0, 100), 4'500'000.0 + Between(random, 0, 100), 300.0};
        const std::size_t positions = 1 + random() % mostPositions;
        const double reach = std::pow(10.0, Between(random, -2, 1));
        for (std::size_t index = 0; index < positions; ++index) {
            paths.positions.push_back(place);
            const double step = random() % 5 == 0 ? 0.0 : reach;
            place = {place.x + Between(random, -step, step), place.y + Between(random, -step, step),
                     place.z + Between(random, -1, 1)};
        }
        paths.ends.push_back({paths.positions.size(), path % 2 == 1});
    }
    return paths;
}

double DistanceToLeg(const Position& place, const Position& from, const Position& to) {
    const double x = to.x - from.x;
    const double y = to.y - from.y;
    const double squaredLength = x * x + y * y;
    const double along = squaredLength > 0.0 ? ((place.x - from.x) * x + (place.y - from.y) * y) / squaredLength : 0.0;
    const double share = std::clamp(along, 0.0, 1.0);
    return std::hypot(place.x - from.x - share * x, place.y - from.y - share * y);
}

double DistanceToPaths(const Position& place, const DrawnPaths& paths) {
    double nearest = std::numeric_limits<double>::infinity();
    std::size_t first = 0;
    for (const DrawnPaths::End& end : paths.ends) {
        for (std::size_t index = first; index + 1 < end.position; ++index) {
            nearest = std::min(nearest, DistanceToLeg(place, paths.positions[index], paths.positions[index + 1]));
        }
        if (end.isClosed) {
            nearest =
                std::min(nearest, DistanceToLeg(place, paths.positions[end.position - 1], paths.positions[first]));
        }
        first = end.position;
    }
    return nearest;
}

/// Corners and the middles of legs.
std::vector<Position> PlacesOn(const DrawnPaths& paths) {
    std::vector<Position> places = paths.positions;
    std::size_t first = 0;
    for (const DrawnPaths::End& end : paths.ends) {
        for (std::size_t index = first; index + (end.isClosed ? 0 : 1) < end.position; ++index) {
            const Position& from = paths.positions[index];
            const Position& to = paths.positions[index + 1 < end.position ? index + 1 : first];
            places.push_back({(from.x + to.x) * 0.5, (from.y + to.y) * 0.5, (from.z + to.z) * 0.5});
        }
        first = end.position;
    }
    return places;
}

double FarthestFrom(const DrawnPaths& paths, const std::vector<Position>& places) {
    double farthest = 0.0;
    for (const Position& place : places) {
        farthest = std::max(farthest, DistanceToPaths(place, paths));
    }
    return farthest;
}

TEST(PathThinning, NothingIsFartherFromThinnedPathsThanTheTolerance) {
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        const DrawnPaths whole = WanderingPaths(random, 1 + random() % 8, 120);
        const double tolerance = std::pow(10.0, Between(random, -2, 2));
        const ThinnedPaths thinned = Thin(whole, tolerance);
        ASSERT_FALSE(thinned.paths.ends.empty());
        EXPECT_EQ(thinned.groundError, tolerance);
        EXPECT_LE(thinned.paths.positions.size(), whole.positions.size());
        EXPECT_LE(FarthestFrom(thinned.paths, PlacesOn(whole)), tolerance + 1e-6) << "round " << round;
        EXPECT_LE(FarthestFrom(whole, PlacesOn(thinned.paths)), tolerance + 1e-6) << "round " << round;
        for (const Position& corner : whole.positions) {
            EXPECT_TRUE(std::any_of(thinned.paths.positions.begin(), thinned.paths.positions.end(),
                                    [&](const Position& kept) {
                                        return std::hypot(kept.x - corner.x, kept.y - corner.y) <= tolerance + 1e-6 &&
                                               std::abs(kept.z - corner.z) <= thinned.heightError;
                                    }))
                << "round " << round;
        }
    }
}

// A path that ends before its end no longer meets the next one.
TEST(PathThinning, PathsKeepTheirEndsAndRingsAreClosed) {
    std::mt19937 random(5);
    const DrawnPaths whole = WanderingPaths(random, 40, 400);
    for (const double tolerance : {0.0, 0.01, 0.1}) {
        const ThinnedPaths thinned = Thin(whole, tolerance);
        ASSERT_EQ(thinned.paths.ends.size(), whole.ends.size()) << "all are far larger";
        std::size_t first = 0;
        std::size_t wholeFirst = 0;
        for (std::size_t path = 0; path < whole.ends.size(); ++path) {
            const DrawnPaths::End& end = thinned.paths.ends[path];
            const DrawnPaths::End& wholeEnd = whole.ends[path];
            EXPECT_EQ(end.isClosed, wholeEnd.isClosed);
            EXPECT_EQ(thinned.paths.positions[first], whole.positions[wholeFirst]);
            EXPECT_GE(end.position - first, std::min<std::size_t>(wholeEnd.position - wholeFirst, 2));
            if (!end.isClosed && end.position - first > 2) {
                EXPECT_EQ(thinned.paths.positions[end.position - 1], whole.positions[wholeEnd.position - 1]);
            }
            first = end.position;
            wholeFirst = wholeEnd.position;
        }
    }
}

// An island must not vanish from a map for being small, and a thousand at one place need not all be drawn.
TEST(PathThinning, WhatIsTinyStaysAsALegUnlessThereIsOneAlready) {
    DrawnPaths whole;
    const auto addIsland = [&](double x, double y, double z) {
        for (const Position& corner : {Position{0, 0, 0}, Position{2, 0, 0}, Position{3, 3, 0}, Position{0, 2, 0}}) {
            whole.positions.push_back({x + corner.x, y + corner.y, z});
        }
        whole.ends.push_back({whole.positions.size(), true});
        whole.points.push_back({x, y, z});
    };
    addIsland(1000, 1000, 5);
    addIsland(1001, 1001, 9);
    addIsland(2000, 1000, 5);
    const ThinnedPaths thinned = Thin(whole, 20.0);
    EXPECT_EQ(thinned.paths.positions, (std::vector<Position>{{1000, 1000, 5},
                                                              {1003, 1003, 5}, //
                                                              {2000, 1000, 5},
                                                              {2003, 1003, 5}}));
    ASSERT_EQ(thinned.paths.ends.size(), 2U);
    EXPECT_TRUE(thinned.paths.ends[1].isClosed);
    EXPECT_EQ(thinned.paths.points, (std::vector<Position>{{1000, 1000, 5}, {2000, 1000, 5}}));
    EXPECT_EQ(thinned.heightError, 4.0) << "of the one that is left out";
}

TEST(PathThinning, VersionsAreFinerAndFinerAndTakeLittleTogether) {
    DrawnPaths coast;
    for (int index = 0; index < 20'000; ++index) {
        coast.positions.push_back({index * 0.05, 10.0 * std::sin(index * 0.01) + (index % 2) * 0.05, 0.0});
    }
    coast.ends.push_back({coast.positions.size(), false});
    const std::vector<ThinnedPaths> versions = ThinRepeatedly(coast, 5.0, 0.4);
    ASSERT_GE(versions.size(), 3U);
    EXPECT_EQ(versions.front().groundError, 5.0);
    std::size_t together = 0;
    for (std::size_t index = 0; index < versions.size(); ++index) {
        together += versions[index].paths.CountPositions();
        if (index > 0) {
            EXPECT_LT(versions[index].groundError, versions[index - 1].groundError);
            EXPECT_GT(versions[index].paths.CountPositions(), versions[index - 1].paths.CountPositions());
        }
    }
    EXPECT_LE(together, 8'000U);
    EXPECT_LT(versions.back().groundError, 1.0) << "the finest one that there is room for";

    DrawnPaths sparse;
    for (int index = 0; index < 20'000; ++index) {
        sparse.positions.push_back({index % 100 * 50.0, index * 50.0, 0.0});
    }
    sparse.ends.push_back({sparse.positions.size(), false});
    EXPECT_TRUE(ThinRepeatedly(sparse, 5.0, 0.4).empty()) << "nothing to leave out";
    EXPECT_TRUE(ThinRepeatedly(coast, 0.0, 0.4).empty()) << "of a layer that is one place";
}

} // namespace
} // namespace OrrinViewer
