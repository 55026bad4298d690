#include "shapes/OffsetString.h"

#include "MeshMeasure.h"

#include <gtest/gtest.h>

using namespace KTR;
using namespace MeshMeasure;

namespace {

Points Bend(double degrees) {
    const double angle = degrees * Plane::kRadiansPerDegree;
    return {{-100, 0, 5}, {0, 0, 5}, {100 * std::cos(angle), 100 * std::sin(angle), 5}};
}

const Points kSquare{{0, 0, 0}, {100, 0, 0}, {100, 100, 0}, {0, 100, 0}}; // against the clock: left is inside
/// Two halls of 100 × 100 with a passage of 20 between them.
const Points kHalls{{0, 0, 0},     {100, 0, 0},   {100, 40, 0}, {200, 40, 0}, {200, 0, 0},   {300, 0, 0},
                    {300, 100, 0}, {200, 100, 0}, {200, 60, 0}, {100, 60, 0}, {100, 100, 0}, {0, 100, 0}};

struct OffsetCase {
    const char* name;
    Points points;
    bool closed;
    Offset offset;
    std::vector<double> lengths; ///< of each piece
    double tolerance = 1e-6;
};

const double kTangent = std::tan(30.0 * Plane::kRadiansPerDegree); // of half a bend of 60 degrees

const OffsetCase kOffsetCases[] = {
    {"InsideOfABend", Bend(60), false, {10}, {200 - 20 * kTangent}},
    {"OutsideMiter", Bend(60), false, {-10}, {200 + 20 * kTangent}},
    {"OutsideRound", Bend(60), false, {-10, GLLineJoinRound, 4.0, 1e-4}, {200 + 10 * kPi / 3}, 0.01},
    {"OutsideBevel", Bend(60), false, {-10, GLLineJoinBevel}, {210}},
    {"MiterBeyondTheLimit", Bend(120), false, {-10, GLLineJoinMiter, 1.9}, {200 + 20 * std::sin(kPi / 3)}},
    {"Straight", Bend(0), false, {10}, {200}},
    {"HairpinRound", Bend(180), false, {10, GLLineJoinRound, 4.0, 1e-4}, {200 + 10 * kPi}, 0.01},
    {"RingInside", kSquare, true, {20}, {4 * 60}},
    {"RingOutside", kSquare, true, {-20}, {4 * 140}},
    {"RingOutsideRound", kSquare, true, {-20, GLLineJoinRound, 4.0, 1e-4}, {400 + 40 * kPi}, 0.01},
    {"RingTooSmall", kSquare, true, {51}, {}},
    {"RingFallsApart",
     kHalls,
     true,
     {15, GLLineJoinRound, 4.0, 1e-4},
     {260 + 30 * std::asin(10.0 / 15.0), 260 + 30 * std::asin(10.0 / 15.0)},
     0.01},
    {"RingHolds", kHalls, true, {5}, {920}},
    {"Nothing", Bend(60), false, {0}, {200}},
    {"Dot", {{3, 3, 0}, {3, 3, 0}}, false, {10}, {}},
    // A dent of 10 × 10 in a straight wall: nearer than 30 to it nothing of it is left.
    {"DentIsLeftBehind",
     {{-200, 0, 0}, {-5, 0, 0}, {-5, -10, 0}, {5, -10, 0}, {5, 0, 0}, {200, 0, 0}},
     false,
     {30, GLLineJoinRound, 4.0, 1e-4},
     {400},
     0.05},
};

class OffsetStrings : public testing::TestWithParam<OffsetCase> {};

TEST_P(OffsetStrings, HaveTheirExactLengths) {
    const OffsetCase& wanted = GetParam();
    const std::vector<OffsetPart> parts = OffsetString(wanted.points, wanted.closed, wanted.offset);
    ASSERT_EQ(parts.size(), wanted.lengths.size());
    for (std::size_t index = 0; index < parts.size(); ++index) {
        EXPECT_EQ(parts[index].closed, wanted.closed);
        EXPECT_NEAR(LengthOf(parts[index].points, parts[index].closed), wanted.lengths[index], wanted.tolerance);
    }
}

// Nowhere nearer to the string than the offset, bevels apart, and nowhere beyond the miters.
TEST_P(OffsetStrings, KeepTheirDistance) {
    const OffsetCase& wanted = GetParam();
    const double distance = std::abs(wanted.offset.distance);
    for (const OffsetPart& part : OffsetString(wanted.points, wanted.closed, wanted.offset)) {
        for (const PointXYZ& point : part.points) {
            const double away = DistanceFrom(wanted.points, wanted.closed, {point.x, point.y});
            EXPECT_GE(away, distance * (1.0 - 1e-6) -
                                (wanted.offset.join == GLLineJoinRound ? wanted.offset.tolerance : 0.0));
            EXPECT_LE(away, distance * wanted.offset.miterLimit * (1.0 + 1e-6));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, OffsetStrings, testing::ValuesIn(kOffsetCases),
                         [](const auto& tested) { return tested.param.name; });

bool AreCrossing(const PointXYZ& a, const PointXYZ& b, const PointXYZ& c, const PointXYZ& d) {
    const auto side = [](const PointXYZ& p, const PointXYZ& q, const PointXYZ& r) {
        return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
    };
    return side(a, b, c) * side(a, b, d) < 0.0 && side(c, d, a) * side(c, d, b) < 0.0;
}

// A winding road beside which everything from a kerb to a far parallel is drawn: no loop on the inside of a bend.
TEST(OffsetString, LeavesNoLoops) {
    Points road;
    for (int index = 0; index <= 300; ++index) {
        road.push_back({index * 2.0, 40.0 * std::sin(index * 0.06) + 6.0 * std::sin(index * 0.9), index * 1.0});
    }
    for (const GLLineJoin join : {GLLineJoinMiter, GLLineJoinRound, GLLineJoinBevel}) {
        for (const double distance : {-60.0, -25.0, -8.0, 3.0, 15.0, 40.0, 90.0}) {
            const std::vector<OffsetPart> parts = OffsetString(road, false, {distance, join});
            ASSERT_EQ(parts.size(), 1U) << distance << ' ' << join;
            const std::vector<PointXYZ>& points = parts.front().points;
            EXPECT_GT(LengthOf(points), 400.0) << distance;
            for (std::size_t first = 0; first + 1 < points.size(); ++first) {
                for (std::size_t second = first + 2; second + 1 < points.size(); ++second) {
                    ASSERT_FALSE(AreCrossing(points[first], points[first + 1], points[second], points[second + 1]))
                        << distance << ' ' << join;
                }
                EXPECT_GE(points[first].z, 0.0);
                EXPECT_LE(points[first].z, 300.0);
            }
        }
    }
}

// What hosts call: rings stay rings, and what does not meet has no number in between.
// Far away each of many bends has a large arc. Together they must not take all memory: 20,000 of 4,096 points did.
TEST(OffsetString, ManyBendsHaveCoarserArcs) {
    Points zigzag;
    for (int corner = 0; corner < 20'000; ++corner) {
        zigzag.push_back({corner % 2 * 900.0, corner * 0.03, 0});
    }
    constexpr double distance = 1e6;
    std::size_t points = 0;
    double farthest = 0.0;
    for (const OffsetPart& part : OffsetString(zigzag, false, {distance, GLLineJoinRound, 4.0, 0.1})) {
        points += part.points.size();
        for (const PointXYZ& point : part.points) {
            farthest = std::max(farthest, std::hypot(point.x, point.y));
        }
    }
    EXPECT_GT(points, 1U);
    EXPECT_LT(points, 1'100'000U);
    EXPECT_LT(farthest, distance * 1.01);
}

TEST(OffsetPlaces, ComeAsOneList) {
    std::vector<PointXY> places;
    Points ring = kSquare;
    ring.push_back(ring.front());
    OffsetPlaces(ring, 20.0, GLLineJoinMiter, 4.0, places);
    ASSERT_EQ(places.size(), 5U);
    EXPECT_TRUE(Plane::IsSame(places.front(), places.back()));

    places.clear();
    OffsetPlaces(ring, 0.0, GLLineJoinMiter, 4.0, places);
    ASSERT_EQ(places.size(), 5U);
    for (std::size_t index = 0; index < 5; ++index) {
        EXPECT_TRUE(Plane::IsSame(places[index], Plane::Flat(ring[index])));
    }

    places.clear();
    Points broken = Bend(60);
    broken.insert(broken.begin() + 2, {std::nan(""), 0, 0});
    broken.push_back({300, 300, 0});
    OffsetPlaces(broken, 1.0, GLLineJoinMiter, 4.0, places);
    ASSERT_EQ(places.size(), 5U);
    EXPECT_FALSE(Plane::IsFinite(places[2]));

    places.clear();
    OffsetPlaces(ring, std::nan(""), GLLineJoinMiter, 4.0, places);
    EXPECT_TRUE(places.empty());
}

} // namespace
