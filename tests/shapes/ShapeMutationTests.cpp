#include "shapes/Hatch.h"
#include "shapes/OffsetString.h"
#include "shapes/SoftArea.h"
#include "shapes/StringCutter.h"
#include "shapes/Stroker.h"
#include "shapes/Symbols.h"

#include "MeshMeasure.h"

#include <gtest/gtest.h>

using namespace KTR;
using namespace MeshMeasure;

namespace {

/// Damages good data as files and programs do: repeats, spikes, lines on lines, no numbers, numbers without end.
class Mutator {
public:
    explicit Mutator(unsigned int seed) : m_random(seed) {}

    int Below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned int>(limit)); }
    double Between(double low, double high) {
        return low + (high - low) * static_cast<double>(m_random() & 0xFFFFFFU) / 16777216.0;
    }

    Points String() {
        Points points;
        const int count = Below(9);
        const bool onGrid = Below(2) == 0;
        for (int index = 0; index < count; ++index) {
            points.push_back(onGrid ? PointXYZ{Below(6) * 1.0, Below(6) * 1.0, 0.0}
                                    : PointXYZ{Between(0.0, 40.0), Between(0.0, 40.0), Between(0.0, 9.0)});
        }
        for (int change = Below(4); change > 0 && !points.empty(); --change) {
            PointXYZ& point = points[static_cast<std::size_t>(Below(count))];
            const PointXYZ& other = points[static_cast<std::size_t>(Below(count))];
            switch (Below(9)) {
            case 0:
                point = other;
                break;
            case 1:
                point.x = std::nan("");
                break;
            case 2:
                point.y = Below(2) == 0 ? HUGE_VAL : -HUGE_VAL;
                break;
            case 3:
                point.x *= 1e9;
                break;
            case 4:
                point = {other.x + 1e-9, other.y, other.z};
                break;
            case 5:
                point.y = 1e300;
                break;
            case 6:
                point = {other.x, other.y + 1e-13, other.z};
                break;
            case 7:
                point = {-0.0, 5e-324, 0.0};
                break;
            default:
                point.z = std::nan("");
                break;
            }
        }
        return points;
    }
    Stroke Style() {
        const double widths[] = {0.5, 0.99, 1.0, 3.0, 17.5, 256.0};
        return {.width = widths[Below(6)],
                .fringe = Below(4) == 0 ? 0.0 : 1.0,
                .join = static_cast<GLLineJoin>(Below(3)),
                .miterLimit = Below(2) == 0 ? 4.0 : Between(1.0, 100.0),
                .cap = static_cast<GLLineCap>(Below(3))};
    }
    DashPattern Dashes() {
        std::vector<double> lengths;
        for (int count = Below(5); count > 0; --count) {
            const double choices[] = {0.0, 3.0, 1.7, std::nan(""), 1e-9, 40.0};
            lengths.push_back(choices[Below(6)]);
        }
        return {lengths, Between(-50.0, 50.0), 0.5};
    }

private:
    std::mt19937 m_random;
};

// Whatever a file holds: no crash, no vertex without a place, and nothing drawn where the string does not reach.
TEST(MutatedShapes, StringsStayWithinTheirReach) {
    for (unsigned int seed = 0; seed < 50'000; ++seed) {
        Mutator mutator(seed);
        const Points points = mutator.String();
        const bool closed = mutator.Below(3) == 0;
        Stroker stroker(mutator.Style());
        const DashPattern dashes = mutator.Dashes();
        std::optional<PlaneBox> window;
        if (mutator.Below(2) == 0) {
            window = PlaneBox{{-300.0, -300.0}, {mutator.Between(-200.0, 300.0), 300.0}};
        }
        VisitFiniteParts(points, closed, [&](std::span<const PointXYZ> part, bool partClosed) {
            ShapeMesh mesh;
            VisitDashes(part, partClosed, dashes, window, [&](std::span<const PointXYZ> piece, bool pieceClosed) {
                stroker.Add(piece, pieceClosed, mesh);
            });
            double largest = 0.0;
            for (const PointXYZ& point : part) {
                largest = std::max({largest, std::abs(point.x), std::abs(point.y)});
            }
            const double reach = ReachOf(mesh, {part.begin(), part.end()}, partClosed);
            ASSERT_LE(reach, stroker.Reach() * (1.0 + 1e-9) + largest * 1e-9) << "seed " << seed;
        });
    }
}

TEST(MutatedShapes, OffsetsStayWithinTheirReach) {
    for (unsigned int seed = 0; seed < 10'000; ++seed) {
        Mutator mutator(seed);
        const Points points = mutator.String();
        const bool closed = mutator.Below(2) == 0;
        const Offset offset{mutator.Between(-20.0, 20.0), static_cast<GLLineJoin>(mutator.Below(3))};
        VisitFiniteParts(points, closed, [&](std::span<const PointXYZ> part, bool partClosed) {
            double largest = 1.0;
            for (const PointXYZ& point : part) {
                largest = std::max({largest, std::abs(point.x), std::abs(point.y)});
            }
            for (const OffsetPart& beside : OffsetString(part, partClosed, offset)) {
                for (const PointXYZ& point : beside.points) {
                    const double away = DistanceFrom({part.begin(), part.end()}, partClosed, {point.x, point.y});
                    ASSERT_LE(away, std::abs(offset.distance) * offset.miterLimit + largest * 1e-6) << "seed " << seed;
                }
            }
        });
    }
}

// Each place that is inside of the outlines is covered once, and no other place at all.
TEST(MutatedShapes, PolygonsCoverTheirPlacesOnce) {
    for (unsigned int seed = 0; seed < 40'000; ++seed) {
        Mutator mutator(seed);
        Points rings[] = {mutator.String(), mutator.String()};
        const auto isBroken = [](const PointXYZ& point) { return !IsFinite(point) || std::abs(point.y) > 1e200; };
        const FillRule rules[] = {FillRule::First, FillRule::Both, FillRule::FirstWithoutSecond};
        const FillRule rule = rules[mutator.Below(3)];
        for (Points& ring : rings) {
            std::erase_if(ring, [](const PointXYZ& point) { return std::abs(point.y) > 1e200 && IsFinite(point); });
        }
        const FillRing outlines[] = {{rings[0], 0}, {rings[1], 1}};
        const TriangulatedArea area = FillRings(outlines, rule);
        double largest = 0.0;
        for (Points& ring : rings) {
            std::erase_if(ring, isBroken);
            for (const PointXYZ& point : ring) {
                largest = std::max(largest, std::abs(point.x));
            }
        }
        const double step = largest / kLargestGridNumber; // beside a point a million kilometres away all is coarse
        for (int probe = 0; probe < 3; ++probe) {
            const PointXY place{mutator.Between(-1.0, 7.0), mutator.Between(-1.0, 7.0)};
            const bool inside = IsInside(rule, {WindingAt(rings[0], place), WindingAt(rings[1], place)});
            int covered = 0;
            bool onEdge = false;
            for (const std::array<int, 3>& triangle : area.triangles) {
                double sides[3];
                for (std::size_t corner = 0; corner < 3; ++corner) {
                    const PointXY a = Flat(area.points[static_cast<std::size_t>(triangle[corner])]);
                    const PointXY b = Flat(area.points[static_cast<std::size_t>(triangle[(corner + 1) % 3])]);
                    ASSERT_TRUE(IsFinite(a)) << "seed " << seed;
                    sides[corner] = Cross(b - a, place - a) / std::max(Length(b - a), 1e-300);
                    onEdge = onEdge || std::abs(sides[corner]) < 1e-3 + 10.0 * step;
                }
                covered += (sides[0] > 0.0) == (sides[1] > 0.0) && (sides[1] > 0.0) == (sides[2] > 0.0) ? 1 : 0;
            }
            ASSERT_TRUE(onEdge || step > 1e-3 || covered == (inside ? 1 : 0)) << "seed " << seed;
        }
    }
}

// The lines of a hatch end where the area does.
TEST(Hatch, CoversItsShareOfTheArea) {
    const Points square{{10, 10, 4}, {110, 10, 4}, {110, 110, 4}, {10, 110, 4}};
    const Points hole{{30, 30, 4}, {30, 90, 4}, {90, 90, 4}, {90, 30, 4}};
    const FillRing outlines[] = {{square, 0}, {hole, 1}};
    for (const double angle : {0.0, 30.0, 45.0, 90.0, -120.0}) {
        const Hatch hatch{.angleDegrees = angle, .spacing = 4.0, .width = 1.5, .fringe = 1.0, .anchor = {2.2, 1.3}};
        ShapeMesh mesh;
        AddHatch(outlines, FillRule::FirstWithoutSecond, hatch, {}, mesh);
        EXPECT_NEAR(CoveredArea(mesh), 6'400 * 1.5 / 4.0, 60.0) << angle;
        for (const ShapeVertex& vertex : mesh.Strip()) {
            EXPECT_EQ(vertex.z, 4.0);
            EXPECT_GT(vertex.x, 5.0);
            EXPECT_LT(vertex.y, 115.0);
        }
    }
    // Lines finer than anybody sees on an area larger than the earth: thinned out, not endless.
    const Points earth{{-2e7, -1e7, 0}, {2e7, -1e7, 0}, {2e7, 1e7, 0}, {-2e7, 1e7, 0}};
    const FillRing one{earth, 0};
    ShapeMesh mesh;
    AddHatch({&one, 1}, FillRule::First, {.spacing = 0.001, .width = 0.001, .anchor = {}}, {}, mesh);
    EXPECT_LT(mesh.Strip().size(), 2'000'000U);
    EXPECT_FALSE(mesh.IsEmpty());
}

// Half the fringe lies outside of a symbol, half inside: the sum of the colour is its area.
TEST(Symbols, HaveTheirAreas) {
    const struct {
        GLSymbolKind kind;
        double area; ///< of a symbol of size 1
    } symbols[] = {
        {GLSymbolCircle, kPi / 4},
        {GLSymbolSquare, 1.0},
        {GLSymbolTriangle, 0.5},
        {GLSymbolDiamond, 0.5},
        {GLSymbolPlus, 5.0 / 9.0},
        {GLSymbolCross, 5.0 / 9.0 * 1.125},
        {GLSymbolStar, 5.0 / 2.0 * 0.25 * 0.381966 * 2.0 * std::sin(kPi / 5)},
        {GLSymbolArrow, 0.5 * 0.24 + 0.2},
    };
    for (const auto& symbol : symbols) {
        for (const double size : {5.0, 12.0, 40.0}) {
            for (const double outline : {0.0, 1.0, size * 0.25}) {
                GLSymbolStyle style;
                style.size = size;
                style.outlineWidth = outline;
                style.angleDegrees = 17.0;
                ShapeMesh mesh;
                AddSymbol(symbol.kind, style, mesh);
                EXPECT_NEAR(CoveredArea(mesh), symbol.area * size * size, 0.06 * size + 0.02 * size * size + 0.3)
                    << symbol.kind << " size " << size << " outline " << outline;
            }
        }
    }
}

} // namespace
