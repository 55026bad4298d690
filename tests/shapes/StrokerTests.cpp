#include "shapes/StringCutter.h"
#include "shapes/Stroker.h"

#include "MeshMeasure.h"

#include <gtest/gtest.h>

using namespace KTR;
using namespace MeshMeasure;

namespace {

constexpr double kWidth = 10.0;
constexpr double kHalf = kWidth * 0.5;

Points Along(std::initializer_list<PointXY> places) {
    Points points;
    for (const PointXY& place : places) {
        points.push_back({place.x, place.y, 0.0});
    }
    return points;
}

/// A square's corners, far enough from the origin that floats would not do.
Points SquareRing(double side) {
    const double x = 500'000.0;
    const double y = 4'500'000.0;
    return Along({{x, y}, {x + side, y}, {x + side, y + side}, {x, y + side}});
}

struct AreaCase {
    const char* name;
    Stroke stroke;
    Points points;
    bool closed;
    double area;
    double tolerance = 1e-6;
};

Stroke With(GLLineJoin join, GLLineCap cap, double width = kWidth) {
    return {.width = width, .join = join, .miterLimit = 10.0, .cap = cap, .tolerance = 1e-4};
}

const Points kLine = Along({{0, 0}, {100, 0}});
const Points kCorner = Along({{0, 0}, {100, 0}, {100, 80}});
const Points kHairpin = Along({{0, 0}, {100, 0}, {0, 0}});
const double kRoundTolerance = 0.01;

const AreaCase kAreaCases[] = {
    {"Butt", With(GLLineJoinMiter, GLLineCapButt), kLine, false, 100 * kWidth},
    {"Square", With(GLLineJoinMiter, GLLineCapSquare), kLine, false, 110 * kWidth},
    {"RoundCap", With(GLLineJoinMiter, GLLineCapRound), kLine, false, 100 * kWidth + kPi* kHalf* kHalf,
     kRoundTolerance},
    {"RightAngleMiter", With(GLLineJoinMiter, GLLineCapButt), kCorner, false, 180 * kWidth},
    {"RightAngleBevel", With(GLLineJoinBevel, GLLineCapButt), kCorner, false, 180 * kWidth - kHalf* kHalf / 2},
    {"RightAngleRound", With(GLLineJoinRound, GLLineCapButt), kCorner, false, 180 * kWidth - kHalf* kHalf*(1 - kPi / 4),
     kRoundTolerance},
    {"MiterBeyondTheLimitIsABevel",
     {.width = kWidth, .join = GLLineJoinMiter, .miterLimit = 1.4, .tolerance = 1e-4},
     kCorner,
     false,
     180 * kWidth - kHalf* kHalf / 2},
    {"Ring", With(GLLineJoinMiter, GLLineCapButt), SquareRing(50), true, 200 * kWidth},
    {"RingBevel", With(GLLineJoinBevel, GLLineCapButt), SquareRing(50), true, 200 * kWidth - 2 * kHalf* kHalf},
    // Both ways of the hairpin cover the same place: twice its area.
    {"HairpinRound", With(GLLineJoinRound, GLLineCapButt), kHairpin, false, 200 * kWidth + kPi* kHalf* kHalf / 2,
     kRoundTolerance},
    {"HairpinMiter", With(GLLineJoinMiter, GLLineCapButt), kHairpin, false, 200 * kWidth},
    {"RepeatedPoints", With(GLLineJoinMiter, GLLineCapButt),
     Along({{0, 0}, {0, 0}, {50, 0}, {50, 0}, {50, 0}, {100, 0}, {100, 0}}), false, 100 * kWidth},
    {"DotRound", With(GLLineJoinRound, GLLineCapRound), Along({{3, 4}, {3, 4}}), false, kPi* kHalf* kHalf,
     kRoundTolerance},
    {"DotSquare", With(GLLineJoinRound, GLLineCapSquare), Along({{3, 4}}), false, kWidth* kWidth},
    {"DotButt", With(GLLineJoinRound, GLLineCapButt), Along({{3, 4}, {3, 4}}), false, 0.0},
    {"NoPoints", With(GLLineJoinRound, GLLineCapRound), {}, false, 0.0},
};

class StrokeArea : public testing::TestWithParam<AreaCase> {};

TEST_P(StrokeArea, IsExact) {
    const AreaCase& wanted = GetParam();
    ShapeMesh mesh;
    Stroker(wanted.stroke).Add(wanted.points, wanted.closed, mesh);
    EXPECT_NEAR(CoveredArea(mesh), wanted.area, wanted.tolerance);
}

// The fringe of a pixel fades half inside, half outside, so that the sum of the colour stays. Only at corners of a
// rectangle it is a third of a pixel off.
TEST_P(StrokeArea, StaysWhereEdgesFade) {
    AreaCase wanted = GetParam();
    wanted.stroke.fringe = 1.0;
    ShapeMesh mesh;
    Stroker stroker(wanted.stroke);
    stroker.Add(wanted.points, wanted.closed, mesh);
    EXPECT_GT(CoveredArea(mesh), wanted.area - 0.75);
    if (stroker.IsSimple()) {
        EXPECT_LT(CoveredArea(mesh), wanted.area + 0.75);
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, StrokeArea, testing::ValuesIn(kAreaCases),
                         [](const auto& tested) { return tested.param.name; });

// A line thinner than a pixel never gets the full colour; otherwise it would be as dark as one of a pixel.
TEST(Stroker, ThinLinesAreThinner) {
    for (const double width : {0.5, 0.75, 1.0, 1.25, 2.5}) {
        ShapeMesh mesh;
        Stroker({.width = width, .fringe = 1.0}).Add(kLine, false, mesh);
        EXPECT_NEAR(CoveredArea(mesh), 100 * width, 0.4) << width;
    }
}

// Opacity shows every place that is covered twice.
TEST(Stroker, BendsThatFitCoverNoPlaceTwice) {
    Points curve;
    for (int index = 0; index <= 200; ++index) {
        const double angle = index * 0.02;
        curve.push_back({60 * std::cos(angle), 40 * std::sin(2 * angle), 0.0});
    }
    Stroker stroker({.width = 8.0, .fringe = 1.0, .join = GLLineJoinRound});
    ShapeMesh mesh;
    stroker.Add(curve, false, mesh);
    EXPECT_TRUE(stroker.IsSimple());
    EXPECT_NEAR(CoveredArea(mesh), LengthOf(curve) * 8.0, 1.0);

    stroker.Add(Along({{0, 0}, {20, 0}, {20, 2}, {0, 2}}), false, mesh);
    EXPECT_FALSE(stroker.IsSimple()) << "two units between lines of eight";
}

TEST(Stroker, SharpCornersStayWithinTheMiterLimit) {
    for (const double limit : {1.0, 2.0, 4.0, 20.0}) {
        Stroker stroker({.width = kWidth, .fringe = 1.0, .join = GLLineJoinMiter, .miterLimit = limit});
        const Points needle = Along({{0, 0}, {100, 0}, {0, 0.001}, {0, 50}});
        ShapeMesh mesh;
        stroker.Add(needle, false, mesh);
        EXPECT_LE(ReachOf(mesh, needle, false), std::max(limit, 1.5) * (kHalf + 0.5) + 1e-9) << limit;
    }
}

/// The lengths that are drawn of a string along x, by where they begin and end.
std::vector<std::pair<double, double>> DashesOf(const Points& points, const DashPattern& pattern,
                                                const std::optional<PlaneBox>& visible = {}) {
    std::vector<std::pair<double, double>> dashes;
    VisitDashes(points, false, pattern, visible,
                [&](std::span<const PointXYZ> piece, bool) { dashes.emplace_back(piece.front().x, piece.back().x); });
    return dashes;
}

using Dashes = std::vector<std::pair<double, double>>;

struct DashCase {
    const char* name;
    std::vector<double> lengths;
    double phase;
    Dashes dashes;
};

class DashedString : public testing::TestWithParam<DashCase> {};

TEST_P(DashedString, HasItsDashesWhereThePatternSays) {
    const DashCase& wanted = GetParam();
    const Dashes dashes = DashesOf(kLine, DashPattern(wanted.lengths, wanted.phase, 0.5));
    ASSERT_EQ(dashes.size(), wanted.dashes.size());
    for (std::size_t index = 0; index < dashes.size(); ++index) {
        EXPECT_NEAR(dashes[index].first, wanted.dashes[index].first, 1e-9) << index;
        EXPECT_NEAR(dashes[index].second, wanted.dashes[index].second, 1e-9) << index;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, DashedString,
    testing::Values(DashCase{"Even", {30, 20}, 0, {{0, 30}, {50, 80}}},
                    DashCase{"Phase", {30, 20}, 40, {{10, 40}, {60, 90}}},
                    DashCase{"NegativePhase", {30, 20}, -10, {{10, 40}, {60, 90}}},
                    DashCase{"PhaseOfManyRounds", {30, 20}, 5'000'040, {{10, 40}, {60, 90}}},
                    DashCase{"OddNumberCountsTwice", {30, 20, 10}, 0, {{0, 30}, {50, 60}, {90, 100}}},
                    DashCase{"EndsWithTheString", {50, 50}, 50, {{50, 100}}},
                    DashCase{"GapEndsWithTheString", {50, 50}, 0, {{0, 50}}},
                    DashCase{"NegativeLengthIsNone", {30, -5}, 0, {{0, 100}}},
                    DashCase{"NoLengthAtAll", {0, 0}, 0, {{0, 100}}}, DashCase{"TooShort", {0.1, 0.1}, 0, {{0, 100}}},
                    DashCase{"NotANumber",
                             {std::nan(""), 10},
                             3,
                             {{7, 7.001},
                              {17, 17.001},
                              {27, 27.001},
                              {37, 37.001},
                              {47, 47.001},
                              {57, 57.001},
                              {67, 67.001},
                              {77, 77.001},
                              {87, 87.001},
                              {97, 97.001}}},
                    DashCase{"Endless", {INFINITY, 1}, 0, {{0, 100}}}),
    [](const auto& tested) { return tested.param.name; });

// A pattern that began anew at each corner would show them all.
TEST(Dashes, RunOnAroundCorners) {
    const Points zigzag = Along({{0, 0}, {10, 0}, {10, 7}, {3, 7}, {3, 30}, {40, 30}});
    std::vector<double> lengths;
    bool bends = false;
    VisitDashes(zigzag, false, DashPattern(std::vector{8.0, 3.0}, 0.0, 0.5), {},
                [&](std::span<const PointXYZ> piece, bool closed) {
                    EXPECT_FALSE(closed);
                    lengths.push_back(LengthOf(piece));
                    bends = bends || piece.size() > 2;
                });
    EXPECT_TRUE(bends);
    ASSERT_EQ(lengths.size(), 8U);
    for (std::size_t index = 0; index < 7; ++index) {
        EXPECT_NEAR(lengths[index], 8.0, 1e-9);
    }
    EXPECT_NEAR(lengths[7], 84.0 - 7 * 11.0, 1e-9);
}

// On a ring the last dash goes on in the first: no cap in the middle of a dash.
// Half a megabyte of dashes along a line that runs to and fro as often would be some hundred million of them.
TEST(Dashes, OfAnEndlessPatternAreNoneAtAll) {
    const std::vector<double> lengths(60'000, 0.02);
    Points zigzag;
    for (int corner = 0; corner < 20'000; ++corner) {
        zigzag.push_back({corner % 2 * 900.0, corner * 0.03, 0});
    }
    const auto countPieces = [&](std::size_t legs) {
        int pieces = 0;
        VisitDashes(std::span(zigzag).first(legs + 1), false, DashPattern(lengths, 0.0, 0.5), {},
                    [&](std::span<const PointXYZ>, bool) { ++pieces; });
        return pieces;
    };
    EXPECT_EQ(countPieces(19'999), 1) << "solid";
    EXPECT_NEAR(countPieces(2), 15'000, 10);
}

// A shape of many rings shares its dashes among them.
TEST(Dashes, AreNoMoreThanTheyMayBe) {
    DashPattern pattern(std::vector{3.0, 1.0}, 0.0, 0.5);
    pattern.LimitTo(100.0);
    EXPECT_EQ(DashesOf({{0, 0, 0}, {200, 0, 0}}, pattern).size(), 50U);
    EXPECT_EQ(DashesOf({{0, 0, 0}, {201, 0, 0}}, pattern).size(), 1U) << "solid";
}

TEST(Dashes, MeetWhereARingBegins) {
    std::vector<Points> pieces;
    VisitDashes(SquareRing(10), true, DashPattern(std::vector{6.0, 4.0}, 3.0, 0.5), {},
                [&](std::span<const PointXYZ> piece, bool) { pieces.emplace_back(piece.begin(), piece.end()); });
    ASSERT_EQ(pieces.size(), 4U);
    for (const Points& piece : pieces) {
        EXPECT_NEAR(LengthOf(piece), 6.0, 1e-9);
    }
    int rings = 0;
    VisitDashes(SquareRing(10), true, DashPattern(), {}, [&](std::span<const PointXYZ> piece, bool closed) {
        rings += closed ? 1 : 0;
        EXPECT_EQ(piece.size(), 4U);
    });
    EXPECT_EQ(rings, 1);
}

// A road of a thousand kilometres in a window of a hundred metres: the pattern is that of the whole road, and only what
// the window shows is cut.
TEST(Dashes, OutsideOfTheWindowCostNothingAndMoveNothing) {
    const Points road = Along({{0, 0}, {400'000, 0}, {1'000'000, 0}});
    const DashPattern pattern(std::vector{0.3, 0.2}, 0.1, 0.1);
    const Dashes shown = DashesOf(road, pattern, PlaneBox{{500'000.0, -1.0}, {500'100.0, 1.0}});
    ASSERT_GE(shown.size(), 200U);
    ASSERT_LE(shown.size(), 202U);
    for (std::size_t index = 1; index + 1 < shown.size(); ++index) {
        const double turn = std::fmod(shown[index].first + 0.1, 0.5);
        EXPECT_NEAR(std::min(turn, 0.5 - turn), 0.0, 1e-6);
    }
    EXPECT_EQ(DashesOf(road, pattern).size(), 1U) << "too fine without a window: solid";
}

TEST(FinitePoints, AreKeptAndBreakTheStringOnlyWhereTheyAreNot) {
    const double none = std::nan("");
    const Points string = Along({{0, 0}, {1, 0}, {none, 0}, {2, 0}, {3, INFINITY}, {1e300, 4}, {4, 0}, {5, 0}});
    std::vector<Points> parts;
    const auto collect = [&](std::span<const PointXYZ> part, bool closed) {
        EXPECT_FALSE(closed);
        parts.emplace_back(part.begin(), part.end());
    };
    VisitFiniteParts(string, false, collect);
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[0].size(), 2U);
    EXPECT_EQ(parts[1].size(), 1U);
    EXPECT_EQ(parts[2].size(), 2U);
    // A ring keeps the edge from its last point to its first.
    parts.clear();
    VisitFiniteParts(Along({{0, 0}, {1, 0}, {none, 1}, {0, 1}, {0, 0.5}}), true, collect);
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_NEAR(LengthOf(parts[0]), 0.5 + 0.5 + 1.0, 1e-12);
}

} // namespace
