#include "support/Outlines.h"
#include "support/Picture.h"

#include <GL/glu.h>

#include <limits>

namespace {

constexpr int kSide = 256;
/// Share of an area that its rim may be: which pixels a rim that passes through their middles takes is the driver's to
/// say.
constexpr double kRim = 0.01;
constexpr GLRGBAColor kFill{100, 60, 30, 255};
constexpr Pixel kFilled{100, 60, 30, 255};

Outline Star() {
    return {RingAround(128.3, 127.8, 14, false, [](double angle) { return 75.0 + 45.0 * std::cos(7.0 * angle); })};
}

Outline Comb() {
    Ring ring{{250.3, 10.4}, {250.3, 30.6}};
    for (int tooth = 19; tooth >= 0; --tooth) {
        const double x = 9.3 + tooth * 12.05;
        ring.insert(ring.end(), {{x + 6.2, 30.6}, {x + 5.1, 240.2}, {x + 1.4, 239.1}, {x, 30.6}});
    }
    ring.push_back({9.3, 10.4});
    return {ring};
}

// A lake with an island with a pond with an islet, and a second land beside it.
Outline LakesAndIslands() {
    const auto square = [](double x, double y, double half, bool hole) {
        Ring ring{{x - half, y - half}, {x + half, y - half}, {x + half, y + half}, {x - half, y + half}};
        return hole ? Ring(ring.rbegin(), ring.rend()) : ring;
    };
    return {square(100.3, 120.2, 90.7, false), square(95.1, 115.3, 70.9, true),  square(95.1, 115.3, 50.2, false),
            square(95.1, 115.3, 30.4, true),   square(95.1, 115.3, 10.8, false), square(225.2, 40.1, 25.3, false)};
}

Outline Spiral() {
    Ring ring;
    Ring back;
    for (int step = 0; step <= 400; ++step) {
        const double angle = step * 0.06;
        const double radius = 8.0 + angle * 4.6;
        ring.push_back({128.0 + radius * std::cos(angle), 128.0 + radius * std::sin(angle)});
        back.push_back({128.0 + (radius - 6.5) * std::cos(angle), 128.0 + (radius - 6.5) * std::sin(angle)});
    }
    ring.insert(ring.end(), back.rbegin(), back.rend());
    return {ring};
}

// A coast of 100,000 vertices with two hundred lakes.
Outline Country() {
    Outline outline{RingAround(128.0, 128.0, 100'000, false, [](double angle) {
        return 100.0 + 9.0 * std::sin(5.0 * angle) + 5.0 * std::sin(31.0 * angle) + 2.0 * std::sin(443.0 * angle);
    })};
    for (int lake = 0; lake < 200; ++lake) {
        const double turn = lake * 2.4;
        const double distance = 5.2 * std::sqrt(lake + 3.0);
        outline.push_back(RingAround(128.0 + distance * std::cos(turn), 128.0 + distance * std::sin(turn), 40, true,
                                     [](double angle) { return 2.3 + 0.9 * std::sin(3.0 * angle); }));
    }
    return outline;
}

// One corner that sees 80,000 others: a fan of more than two batches.
Outline QuarterDisc() {
    Ring ring{{6.3, 6.2}};
    for (int step = 0; step <= 80'000; ++step) {
        const double angle = 1.5707963 * step / 80'000;
        ring.push_back({6.3 + 240.0 * std::cos(angle), 6.2 + 240.0 * std::sin(angle)});
    }
    return {ring};
}

// Two shores of 60,000 vertices each that run side by side: strips of more than a batch.
Outline Band() {
    Ring ring;
    Ring back;
    for (int step = 0; step <= 60'000; ++step) {
        const double x = 5.2 + step * 245.0 / 60'000;
        ring.push_back({x, 80.1 + 30.0 * std::sin(x * 0.05)});
        back.push_back({x, 150.4 + 30.0 * std::sin(x * 0.05)});
    }
    ring.insert(ring.end(), back.rbegin(), back.rend());
    return {ring};
}

// What digitised files are full of: points given twice, a ring closed by its first point, points on a straight edge.
Outline RepeatedPoints() {
    return {{{20.3, 20.3},
             {20.3, 20.3},
             {120.0, 20.3},
             {230.4, 20.3},
             {230.4, 20.3},
             {230.4, 230.4},
             {20.3, 230.4},
             {20.3, 230.4},
             {20.3, 120.0},
             {20.3, 20.3}},
            {{60.2, 60.2}, {60.2, 200.1}, {60.2, 200.1}, {200.1, 200.1}, {200.1, 60.2}, {60.2, 60.2}}};
}

struct Shape {
    const char* name;
    Outline (*make)();
    /// Share of the pixels that may be filled twice, where corners lie closer than the driver's own grid.
    double allowedTwice = 0.0;
};

class Tesselator : public FreshProcessTest, public testing::WithParamInterface<Shape> {};

/// Colours are added up, so that a place that is filled twice shows.
Picture Fill(const Outline& outline) {
    LiveView live(kSide, kSide);
    EXPECT_EQ(live.created, 1);
    live.Clear();
    live->Enable(GL_BLEND);
    live->BlendFunc(GL_ONE, GL_ONE);
    FillOutline(*live.view, outline, kFill);
    EXPECT_EQ(live->GetError(), 0U);
    return TakePicture(*live.view, kSide, kSide);
}

TEST_P(Tesselator, FillsTheAreaOnceOnBothPipelines) {
    const Outline outline = GetParam().make();
    const double area = SignedArea(outline);
    ASSERT_GT(area, 5000.0);
    const Picture fixedFunctions = Fill(outline);
    ForgetFirstView();
    const auto first = ChoosePrograms();
    const Picture programs = Fill(outline);
    for (const Picture* picture : {&fixedFunctions, &programs}) {
        const int drawn = picture->CountDrawn();
        const auto filledOnce = std::count(picture->pixels.begin(), picture->pixels.end(), kFilled);
        EXPECT_GE(static_cast<double>(filledOnce), drawn * (1.0 - GetParam().allowedTwice));
        EXPECT_NEAR(drawn, area, area * kRim);
    }
    EXPECT_LE(Compare(fixedFunctions, programs, 0).otherPixels, area * 0.002);
}

INSTANTIATE_TEST_SUITE_P(Shapes, Tesselator,
                         testing::Values(Shape{"Star", Star}, Shape{"Comb", Comb},
                                         Shape{"LakesAndIslands", LakesAndIslands}, Shape{"Spiral", Spiral},
                                         Shape{"Country", Country, 0.001}, Shape{"QuarterDisc", QuarterDisc, 0.02},
                                         Shape{"Band", Band}, Shape{"RepeatedPoints", RepeatedPoints}),
                         [](const auto& shape) { return shape.param.name; });

struct Misuse {
    const char* name;
    void (*add)(GLTesselator& tesselator);
    int filled = 0; ///< pixels that it fills nevertheless
};

void AddVertex(GLTesselator& tesselator, double x, double y) {
    tesselator.AddIndex2DVertexRGBA(x, y, kFill.r, kFill.g, kFill.b, kFill.a);
}

void AddSquare(GLTesselator& tesselator, double x, double side) {
    AddVertex(tesselator, x, 20.0);
    AddVertex(tesselator, x + side, 20.0);
    AddVertex(tesselator, x + side, 20.0 + side);
    AddVertex(tesselator, x, 20.0 + side);
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const Misuse kMisuses[] = {
    {"Nothing", [](GLTesselator& tesselator) { AddOutline(tesselator, {{}}, kFill); }},
    {"OnePoint",
     [](GLTesselator& tesselator) {
         AddOutline(tesselator, {{{9, 9}}}, kFill);
     }},
    {"TwoPoints",
     [](GLTesselator& tesselator) {
         AddOutline(tesselator, {{{9, 9}, {90, 90}}}, kFill);
     }},
    {"SamePoint",
     [](GLTesselator& tesselator) {
         AddOutline(tesselator, {Ring(5000, PointXY{50, 50})}, kFill);
     }},
    {"StraightLine",
     [](GLTesselator& tesselator) {
         AddOutline(tesselator, {{{1, 1}, {50, 50}, {99, 99}}}, kFill);
     }},
    {"BowTie",
     [](GLTesselator& tesselator) {
         AddOutline(tesselator, {{{9, 9}, {99, 99}, {99, 9}, {9, 60}}}, kFill);
     }},
    {"Scribble",
     [](GLTesselator& tesselator) {
         Ring ring;
         for (unsigned int index = 0; index < 300; ++index) {
             ring.push_back({index * 2654435761U % 251U * 1.0, index * 2246822519U % 241U * 1.0});
         }
         AddOutline(tesselator, {ring}, kFill);
     }},
    {"VerticesBeforeAnyPolygon", [](GLTesselator& tesselator) { AddSquare(tesselator, 20.0, 50.0); }},
    {"VerticesOfNoPolygon",
     [](GLTesselator& tesselator) {
         tesselator.GetProperty(GLU_TESS_WINDING_RULE);
         AddSquare(tesselator, 20.0, 50.0);
         tesselator.EndContour();
         tesselator.EndPolygon();
     }},
    {"EndsWithoutBeginning",
     [](GLTesselator& tesselator) {
         tesselator.SetProperty(GLU_TESS_TOLERANCE, 0.0);
         tesselator.EndContour();
         tesselator.EndPolygon();
         tesselator.BeginContour();
         tesselator.EndPolygon();
     }},
    {"ContourLeftOpen",
     [](GLTesselator& tesselator) {
         tesselator.BeginPolygon();
         AddSquare(tesselator, 20.0, 50.0);
         tesselator.EndPolygon();
     },
     2500},
    {"PolygonLeftOpen",
     [](GLTesselator& tesselator) {
         tesselator.BeginPolygon();
         AddSquare(tesselator, 20.0, 90.0);
         tesselator.BeginPolygon();
         AddSquare(tesselator, 20.0, 30.0);
         tesselator.EndContour();
         tesselator.EndPolygon();
     },
     900},
    {"PointsNowhere",
     [](GLTesselator& tesselator) {
         tesselator.BeginPolygon();
         AddSquare(tesselator, 20.0, 50.0);
         AddVertex(tesselator, kNaN, 0.0);
         AddVertex(tesselator, 3.0, -kInfinity);
         AddVertex(tesselator, 1e300, 3.0);
         tesselator.EndContour();
         tesselator.EndPolygon();
     },
     2500},
};

class Misused : public FreshProcessTest, public testing::WithParamInterface<Misuse> {};

// The tessellator is the view's only one: after what went wrong the next polygon has to be filled as ever.
TEST_P(Misused, HarmsNothing) {
    for (const bool programs : {false, true}) {
        ForgetFirstView();
        const auto first = programs ? ChoosePrograms() : nullptr;
        LiveView live(kSide, kSide);
        live.Clear();
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        GetParam().add(*live->GetTesselator());
        EXPECT_EQ(TakePicture(*live.view, kSide, kSide).CountDrawn(), GetParam().filled);
        live->GetTesselator()->BeginPolygon();
        AddSquare(*live->GetTesselator(), 150.0, 40.0);
        live->GetTesselator()->EndContour();
        live->GetTesselator()->EndPolygon();
        live->DisableClientState();
        EXPECT_EQ(TakePicture(*live.view, kSide, kSide).CountDrawn(), GetParam().filled + 1600);
        EXPECT_EQ(live->GetError(), 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, Misused, testing::ValuesIn(kMisuses),
                         [](const auto& misuse) { return misuse.param.name; });

using TesselatorProperties = FreshProcessTest;

// Files differ in the direction of their rings. As long as holes run against what is around them, all is well; a host
// whose files do not promise that sets the rule once, before its first polygon.
TEST_F(TesselatorProperties, RingsOfAnyDirectionAreFilled) {
    LiveView live(kSide, kSide);
    const Outline outline = LakesAndIslands();
    const auto filled = [&](bool reverseHoles, bool reverseAll) {
        Outline turned = outline;
        for (Ring& ring : turned) {
            if (reverseAll != (reverseHoles && SignedArea(ring) < 0.0)) {
                std::reverse(ring.begin(), ring.end());
            }
        }
        live.Clear();
        FillOutline(*live.view, turned, kFill);
        return live.CountDrawn();
    };
    const int right = filled(false, false);
    EXPECT_EQ(filled(false, true), right);
    const double withoutHoles = SignedArea(outline.front()) + SignedArea(outline.back());
    EXPECT_NEAR(filled(true, false), withoutHoles, withoutHoles * kRim) << "no holes";

    GLTesselator& tesselator = *live->GetTesselator();
    EXPECT_EQ(tesselator.GetProperty(GLU_TESS_WINDING_RULE), GLU_TESS_WINDING_POSITIVE);
    live->ShutDownOpenGLContexts(live.window.Window());
    tesselator.SetProperty(GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
    EXPECT_EQ(filled(true, false), right);
    EXPECT_EQ(filled(false, false), right);
    EXPECT_EQ(tesselator.GetProperty(GLU_TESS_WINDING_RULE), GLU_TESS_WINDING_ODD);
}

// Points that differ by less than a float can tell at national-grid coordinates are one point to GLU and to the batch.
TEST_F(TesselatorProperties, NearPointsBecomeOneAndLeaveNoGap) {
    LiveView live(kSide, kSide);
    live.Clear();
    live->MatrixMode(GL_PROJECTION);
    live->Ortho(4'500'000.0, 4'500'256.0, 4'500'000.0, 4'500'256.0, -1.0, 1.0);
    Ring ring = Star().front();
    Ring doubled;
    for (const PointXY& point : ring) {
        doubled.push_back({4'500'000.0 + std::round(point.x), 4'500'000.0 + std::round(point.y)});
        doubled.push_back({doubled.back().x + 0.1, doubled.back().y - 0.1});
    }
    FillOutline(*live.view, {doubled}, kFill);
    EXPECT_NEAR(live.CountDrawn(), SignedArea(Star()), SignedArea(Star()) * 0.02);
}

} // namespace
