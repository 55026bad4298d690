#include "shapes/PolygonFill.h"
#include "shapes/SoftArea.h"

#include "MeshMeasure.h"

#include <gtest/gtest.h>

using namespace KTR;
using namespace MeshMeasure;

namespace {

struct FillCase {
    const char* name;
    std::vector<Points> rings;
    std::vector<Points> others; ///< of the second layer
    FillRule rule;
    double area;
    double tolerance = 0.0;
};

Points Square(double x, double y, double side) {
    return {{x, y, 0.0}, {x + side, y, 0.0}, {x + side, y + side, 0.0}, {x, y + side, 0.0}};
}

Points Star(int tips, int step, double radius) {
    Points points;
    for (int tip = 0; tip < tips; ++tip) {
        const double angle = 2.0 * kPi * static_cast<double>(static_cast<long long>(tip) * step % tips) / tips;
        points.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
    }
    return points;
}

/// A ring that alternates between two radii.
Points Spikes(int tips, double outer, double inner) {
    Points points;
    for (int corner = 0; corner < 2 * tips; ++corner) {
        const double angle = kPi * corner / tips;
        const double radius = corner % 2 == 0 ? outer : inner;
        points.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
    }
    return points;
}

Points Reversed(Points points) {
    std::reverse(points.begin(), points.end());
    return points;
}

double SpikesArea(int tips, double outer, double inner) {
    return tips * outer * inner * std::sin(kPi / tips);
}

/// Of a star whose edges skip `step` tips: a pentagram is (5, 2).
double StarArea(int tips, int step, double radius) {
    const double inner = radius * std::cos(kPi * step / tips) / std::cos(kPi * (step - 1) / tips);
    return SpikesArea(tips, radius, inner);
}

const FillCase kFillCases[] = {
    {"Square", {Square(0, 0, 10)}, {}, FillRule::First, 100},
    {"SquareClockwise", {Reversed(Square(0, 0, 10))}, {}, FillRule::First, 100},
    {"NationalGrid", {Square(500'000, 4'500'000, 0.25)}, {}, FillRule::First, 0.0625},
    {"TenthsOfMillimetres",
     {Square(4'500'000.0, 4'500'000.0, 0.0001220703125)},
     {},
     FillRule::First,
     0.0001220703125 * 0.0001220703125},
    {"BowTie", {{{0, 0, 0}, {10, 10, 0}, {10, 0, 0}, {0, 10, 0}}}, {}, FillRule::First, 50},
    {"Pentagram", {Star(5, 2, 10)}, {}, FillRule::First, StarArea(5, 2, 10)},
    {"TwiceAround",
     {{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}, {0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}}},
     {},
     FillRule::First,
     100},
    {"Overlapping", {Square(0, 0, 10), Square(5, 5, 10)}, {}, FillRule::First, 175},
    {"OpposedOverlap", {Square(0, 0, 10), Reversed(Square(5, 5, 10))}, {}, FillRule::First, 150},
    {"SharedEdge", {Square(0, 0, 10), Square(10, 0, 10)}, {}, FillRule::First, 200},
    {"Spike",
     {{{0, 0, 0}, {10, 0, 0}, {10, 5, 0}, {20, 5, 0}, {10, 5, 0}, {10, 10, 0}, {0, 10, 0}}},
     {},
     FillRule::First,
     100},
    {"Flat", {{{0, 0, 0}, {10, 0, 0}, {5, 0, 0}}}, {}, FillRule::First, 0},
    {"Hole", {Square(0, 0, 10)}, {Square(2, 2, 5)}, FillRule::FirstWithoutSecond, 75},
    {"HoleAcrossTheEdge", {Square(0, 0, 10)}, {Square(8, 8, 5)}, FillRule::FirstWithoutSecond, 96},
    {"HolesThatOverlap", {Square(0, 0, 10)}, {Square(1, 1, 4), Square(3, 3, 4)}, FillRule::FirstWithoutSecond, 72},
    {"HoleThatTouches", {Square(0, 0, 10)}, {{{0, 5, 0}, {5, 2, 0}, {5, 8, 0}}}, FillRule::FirstWithoutSecond, 85},
    {"Both", {Square(0, 0, 10)}, {Square(8, 8, 5)}, FillRule::Both, 4},
    {"NoRing", {}, {}, FillRule::First, 0},
    {"ManyTips", {Spikes(2'000, 100, 60)}, {}, FillRule::First, SpikesArea(2'000, 100, 60)},
    {"Needles", {Spikes(2'000, 100, 1e-4)}, {}, FillRule::First, SpikesArea(2'000, 100, 1e-4), 1e-8},
    {"StarOfManyCrossings", {Star(201, 100, 50)}, {}, FillRule::First, StarArea(201, 100, 50)},
};

TriangulatedArea Fill(const std::vector<Points>& rings, const std::vector<Points>& others, FillRule rule) {
    std::vector<FillRing> all;
    for (const Points& ring : rings) {
        all.push_back({ring, 0});
    }
    for (const Points& ring : others) {
        all.push_back({ring, 1});
    }
    return FillRings(all, rule);
}

class PolygonFill : public testing::TestWithParam<FillCase> {};

TEST_P(PolygonFill, HasTheExactArea) {
    const FillCase& wanted = GetParam();
    const TriangulatedArea area = Fill(wanted.rings, wanted.others, wanted.rule);
    EXPECT_NEAR(AreaOf(area), wanted.area, std::max(wanted.area * 1e-9, wanted.tolerance));
}

// The same as the crow flies: a border that encloses something else than the triangles would fade in the wrong place.
TEST_P(PolygonFill, HasABorderAroundItsTriangles) {
    const FillCase& wanted = GetParam();
    const TriangulatedArea area = Fill(wanted.rings, wanted.others, wanted.rule);
    double enclosed = 0.0;
    const PointXYZ origin = area.points.empty() ? PointXYZ{} : area.points.front();
    for (const TriangulatedArea::Border& border : area.border) {
        const PointXYZ& a = area.points[static_cast<std::size_t>(border.from)];
        const PointXYZ& b = area.points[static_cast<std::size_t>(border.to)];
        enclosed += ((a.x - origin.x) * (b.y - origin.y) - (a.y - origin.y) * (b.x - origin.x)) * 0.5;
    }
    EXPECT_NEAR(enclosed, wanted.area, std::max(wanted.area * 1e-9, wanted.tolerance));
}

INSTANTIATE_TEST_SUITE_P(Outlines, PolygonFill, testing::ValuesIn(kFillCases),
                         [](const auto& tested) { return tested.param.name; });

// Heights come from the outline; where two edges cross, from one of them.
TEST(PolygonFill, KeepsHeights) {
    const TriangulatedArea area = Fill({{{0, 0, 1}, {10, 10, 3}, {10, 0, 5}, {0, 10, 7}}}, {}, FillRule::First);
    ASSERT_EQ(area.points.size(), 5U);
    for (const PointXYZ& point : area.points) {
        const bool crossing = point.x == 5.0;
        EXPECT_TRUE(crossing ? point.z == 2.0 || point.z == 6.0
                             : point.z == 1.0 || point.z == 3.0 || point.z == 5.0 || point.z == 7.0)
            << point.z;
    }
}

// A million crossings cannot be found one by one: such outlines are filled in steps, and no piece of them is lost.
TEST(PolygonFill, TangleIsFilledInSteps) {
    std::mt19937 random(7);
    Points ring;
    for (int point = 0; point < 3'000; ++point) {
        ring.push_back({static_cast<double>(random() % 100'000), static_cast<double>(random() % 100'000), 2.0});
    }
    const TriangulatedArea area = Fill({ring}, {}, FillRule::First);
    EXPECT_TRUE(area.border.empty());
    // Sampled, the area comes out within a thousandth.
    int inside = 0;
    constexpr int samples = 3'000;
    for (int sample = 0; sample < samples; ++sample) {
        const PointXY place{(sample * 0.754877666 - std::floor(sample * 0.754877666)) * 1e5,
                            (sample * 0.569840291 - std::floor(sample * 0.569840291)) * 1e5};
        inside += WindingAt(ring, place) != 0 ? 1 : 0;
    }
    EXPECT_NEAR(AreaOf(area) / 1e10, static_cast<double>(inside) / samples, 0.02);
    EXPECT_EQ(area.points.front().z, 2.0);

    // Of a part of it the steps are finer.
    const FillRing one{ring, 0};
    const PlaneBox window{{40'000.0, 40'000.0}, {50'000.0, 50'000.0}};
    const TriangulatedArea part = FillRings({&one, 1}, FillRule::First, window);
    for (const PointXYZ& point : part.points) {
        ASSERT_GE(point.x, 40'000.0);
        ASSERT_LE(point.x, 50'000.0);
    }
}

// A star of 100,000 tips, whose edges all pass the middle, and one that is only a ring of spikes.
TEST(PolygonFill, LargeStarsAreFilled) {
    EXPECT_NEAR(AreaOf(Fill({Star(100'001, 50'000, 1000.0)}, {}, FillRule::First)) / StarArea(100'001, 50'000, 1000.0),
                1.0, 0.01);
    const double exact = SpikesArea(50'000, 1000.0, 500.0);
    EXPECT_NEAR(AreaOf(Fill({Spikes(50'000, 1000.0, 500.0)}, {}, FillRule::First)) / exact, 1.0, 1e-9);
}

// A fringe of 1 outside of the border adds half its area, and little at corners.
TEST(SoftArea, FadesAroundItsBorder) {
    const struct {
        std::vector<Points> rings;
        std::vector<Points> others;
        double area;
        double tolerance;
    } cases[] = {
        {{Square(0, 0, 10)}, {}, 100.0 + 20.0, 2.0},
        {{Square(0, 0, 10), Square(5, 5, 10)}, {}, 175.0 + 30.0, 2.0},
        {{Square(0, 0, 30)}, {Square(10, 10, 10)}, 800.0 + 80.0, 2.0},
        {{Square(0, 0, 10), Square(20, 20, 0.01)}, {}, 120.0, 2.0}, // next to nothing does not grow a fringe
        {{Square(0, 0, 10), Square(10, 10, 10)}, {}, 200.0 + 40.0, 3.0},
    };
    for (const auto& wanted : cases) {
        ShapeMesh mesh;
        AddSoftArea(Fill(wanted.rings, wanted.others, FillRule::FirstWithoutSecond), {1.0, 1.0F, 0}, mesh);
        EXPECT_NEAR(CoveredArea(mesh), wanted.area, wanted.tolerance);
    }
}

} // namespace
