#include "support/Picture.h"
#include "support/RecordedFixture.h"

#include <cmath>
#include <functional>
#include <numbers>

namespace {

constexpr int kSide = 128;
constexpr double kPi = std::numbers::pi;

/// What the shapes of a view come to in pixels.
class Shapes : public BothPipelinesTest {
protected:
    void SetColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a = 255) {
        View().SetCurrentColor(r, g, b, a, false);
    }
    Picture FrameOf(const std::function<void()>& draw) {
        live->Clear();
        draw();
        return TakePicture(View(), kSide, kSide);
    }
    std::size_t DrawsOf(const std::function<void()>& draw) {
        driver.StartJournal();
        draw();
        driver.StopJournal();
        return driver.Journal("glDrawArrays").size() + driver.Journal("glDrawElements").size();
    }
    /// The share of the red of white that a picture shows, in pixels.
    static double SumOf(const Picture& picture) {
        double sum = 0.0;
        for (const Pixel& pixel : picture.pixels) {
            sum += pixel.r / 255.0;
        }
        return sum;
    }
    void DrawString(const std::vector<PointXYZ>& points, const GLLineStyle& style) {
        View().DrawLineString(points.data(), static_cast<int>(points.size()), style);
    }
    /// One of each shape, in styles of their own.
    void DrawOneOfEach(double x, double y, bool hatched = true);
};

void Shapes::DrawOneOfEach(double x, double y, bool hatched) {
    GLLineStyle road;
    road.width = 5.0;
    road.color = GLRGBAColor{240, 230, 120, 255};
    road.casingWidth = 8.0;
    road.casingColor = {120, 60, 20, 255};
    road.join = GLLineJoinRound;
    GLLineStyle dashes;
    dashes.color = GLRGBAColor{40, 120, 250, 160};
    dashes.width = 2.5;
    dashes.dashes = {6.0, 3.0};
    const std::vector<PointXYZ> bend{{x + 2, y + 2, 0}, {x + 40, y + 30, 0}, {x + 50, y + 4, 0}};
    DrawString(bend, road);
    View().DrawOffsetLineString(bend.data(), 3, 8.0, dashes);
    GLPolygonStyle parcel;
    parcel.fillColor = GLRGBAColor{200, 90, 90, 255};
    parcel.outline = dashes;
    if (hatched) {
        parcel.hatch = GLHatchStyle{.color = GLRGBAColor{20, 20, 20, 255}};
    }
    View().DrawPolygon({{{x + 5, y + 34, 0}, {x + 30, y + 34, 0}, {x + 30, y + 58, 0}, {x + 5, y + 58, 0}},
                        {{x + 12, y + 40, 0}, {x + 20, y + 40, 0}, {x + 16, y + 50, 0}}},
                       parcel);
    SetColor(90, 250, 120);
    View().Rect(x + 34, y + 36, x + 44, y + 44, true);
    View().DrawArc2D(x + 52, y + 40, 6.0, true, 20.0, 250.0);
    View().DrawSymbol(GLSymbolStar, x + 40, y + 52, 0.0, {});
    View().DrawSymbol(GLSymbolArrow, x + 52, y + 52, 0.0, {});
}

// A layer is many shapes. Nobody should see whether they were drawn one by one.
TEST_P(Shapes, RunIsOneDrawAndTheSameFrame) {
    const auto draw = [&] {
        for (const auto& [x, y] : {std::pair{0, 0}, {64, 0}, {0, 64}, {64, 64}}) {
            DrawOneOfEach(x, y);
        }
    };
    const Picture single = FrameOf(draw);
    EXPECT_GT(single.CountDrawn(), 4'000);
    Picture together;
    EXPECT_EQ(DrawsOf([&] {
                  together = FrameOf([&] {
                      View().BeginShapes();
                      draw();
                      View().EndShapes();
                  });
              }),
              1U);
    EXPECT_TRUE(together.pixels == single.pixels);
}

TEST_P(Shapes, TenThousandSymbolsAreOneDraw) {
    for (int kind = GLSymbolCircle; kind <= GLSymbolArrow; ++kind) {
        const std::size_t draws = DrawsOf([&] {
            View().BeginShapes();
            GLSymbolStyle style;
            style.outlineWidth = 1.0;
            for (int symbol = 0; symbol < 10'000; ++symbol) {
                View().DrawSymbol(static_cast<GLSymbolKind>(kind), symbol % 100 * 1.28, symbol / 100 * 1.28, 0.0,
                                  style);
            }
            View().EndShapes();
        });
        EXPECT_EQ(draws, 1U) << kind;
    }
    EXPECT_EQ(View().GetError(), 0U);
}

// What comes behind a shape must come behind it, and with its own matrices, state and program.
TEST_P(Shapes, KeepTheirPlaceAmongWhatElseIsDrawn) {
    const auto draw = [&] {
        SetColor(250, 40, 40);
        View().Rect(10, 10, 60, 60, true);
        View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        View().Rect(14, 20, 50, 30, true); // does not disturb what was just set up
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (const auto& [x, y] : {std::pair{20, 20}, {50, 20}, {20, 50}}) {
            View().AddIndex2DVertexRGBA(x, y, 40, 250, 40, 255);
        }
        View().EndArrays();
        SetColor(40, 40, 250);
        View().DrawLine(5, 30.5, 0, 70, 30.5, 0);
        View().PushMatrix(GL_MODELVIEW, L"test");
        View().MatrixMode(GL_MODELVIEW);
        View().Translate(50.0, 50.0, 0.0);
        View().Rect(0, 0, 30, 30, true);
        View().PopMatrix(GL_MODELVIEW, L"test");
        View().DrawLine(5, 40.5, 0, 70, 40.5, 0);
        View().SetUpViewport(64, 0, 64, 64);
        SetColor(250, 250, 40);
        View().DrawCircle2D(64, 64, 40, true);
        View().SetUpViewport(0, 0, kSide, kSide);
        SetColor(40, 250, 250);
        View().DrawSymbol(GLSymbolDiamond, 30, 30, 0, {});
        View().DisableClientState();
    };
    const Picture single = FrameOf(draw);
    EXPECT_EQ(single.At(22, 27), (Pixel{40, 250, 40, 255}));
    EXPECT_EQ(single.At(60, 70), (Pixel{40, 40, 250, 255}));
    EXPECT_EQ(single.At(96, 32), (Pixel{250, 250, 40, 255}));
    const Picture together = FrameOf([&] {
        View().BeginShapes();
        draw();
        View().EndShapes();
    });
    EXPECT_TRUE(together.pixels == single.pixels);
}

// The state that a host has set, and what OpenGL says of it.
TEST_P(Shapes, LeaveTheStateAsItWas) {
    const auto stateOf = [&] {
        std::vector<int> values;
        for (const GLenum capability : {GL_BLEND, GL_CULL_FACE, GL_DEPTH_TEST}) {
            values.push_back(glIsEnabled(capability));
        }
        for (const GLenum name : {GL_BLEND_SRC, GL_BLEND_DST, GL_DEPTH_FUNC, GL_POLYGON_MODE, GL_CURRENT_PROGRAM}) {
            GLint value[2] = {};
            glGetIntegerv(name, value);
            values.push_back(value[0]);
        }
        if (!GetParam()) {
            for (const GLenum name :
                 {GL_SHADE_MODEL, GL_MATRIX_MODE, GL_ATTRIB_STACK_DEPTH, GL_CLIENT_ATTRIB_STACK_DEPTH}) {
                GLint value = 0;
                glGetIntegerv(name, &value);
                values.push_back(value);
            }
            for (const GLenum name : {GL_PROJECTION_MATRIX, GL_MODELVIEW_MATRIX}) {
                GLdouble matrix[16];
                glGetDoublev(name, matrix);
                std::transform(matrix, matrix + 16, std::back_inserter(values),
                               [](double value) { return static_cast<int>(value * 1e6); });
            }
            for (const GLenum array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY}) {
                values.push_back(glIsEnabled(array));
            }
        }
        return values;
    };
    View().PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    View().BlendFunc(GL_ONE, GL_ZERO);
    View().Enable(GL_CULL_FACE);
    View().Enable(GL_DEPTH_TEST);
    View().MatrixMode(GL_PROJECTION);
    if (!GetParam()) {
        View().EnableClientStateNormal();
    }
    SetColor(250, 40, 40);
    const std::vector<int> before = stateOf();
    const GLAttributes attributes = View().GetContextRecord(GLContextMain).attributes;
    live->Clear();
    View().Rect(20, 20, 40, 40, true);
    DrawString({{10, 60, 0}, {60, 60, 0}}, {});
    View().BeginShapes();
    View().DrawLine(10, 80, 0, 60, 90, 0);
    SetColor(40, 250, 40);
    View().Rect(60, 40, 40, 20, true); // the other way around: filled all the same
    View().EndShapes();
    EXPECT_EQ(stateOf(), before);
    EXPECT_EQ(View().GetCurrentColor(), (GLRGBAColor{40, 250, 40, 255})) << "set while shapes waited";
    SetColor(250, 40, 40);
    const GLAttributes& after = View().GetContextRecord(GLContextMain).attributes;
    EXPECT_TRUE(after == attributes);
    EXPECT_EQ(live->At(30, 30), (Pixel{250, 40, 40, 255}));
    EXPECT_EQ(live->At(50, 30), (Pixel{40, 250, 40, 255}));
    EXPECT_EQ(View().GetError(), 0U);
}

// A line over its casing has the same depth.
TEST_P(Shapes, LineShowsOverItsCasingWithDepthTest) {
    View().Enable(GL_DEPTH_TEST);
    GLLineStyle style;
    style.width = 6.0;
    style.color = GLRGBAColor{250, 250, 250, 255};
    style.casingWidth = 12.0;
    style.casingColor = {250, 0, 0, 255};
    const Picture picture = FrameOf([&] { DrawString({{10, 60, 0}, {110, 60, 0}}, style); });
    EXPECT_EQ(picture.At(60, 60), (Pixel{250, 250, 250, 255}));
    EXPECT_EQ(picture.At(60, 64), (Pixel{250, 0, 0, 255}));
    EXPECT_EQ(picture.At(60, 68), kBlack);
    View().Disable(GL_DEPTH_TEST);
}

// Filled shapes without fading edges are exact to the pixel.
TEST_P(Shapes, RectanglesLinesAndCirclesCoverTheirPixels) {
    SetColor(255, 255, 255);
    EXPECT_EQ(SumOf(FrameOf([&] { View().Rect(10, 20, 50, 80, true); })), 40 * 60);
    EXPECT_EQ(SumOf(FrameOf([&] { View().Rect(50, 80, 10, 20, true); })), 40 * 60) << "its corners the other way";
    View().LineWidth(1.0F);
    EXPECT_EQ(SumOf(FrameOf([&] { View().DrawLine(10.5, 20.5, 0, 60.5, 20.5, 0); })), 50);
    EXPECT_NEAR(SumOf(FrameOf([&] { View().Rect(10.5, 20.5, 50.5, 80.5, false); })), 2 * (40 + 60), 2);
    EXPECT_NEAR(SumOf(FrameOf([&] { View().DrawCircle2D(64, 64, 50, true); })), kPi * 50 * 50, 60);
    EXPECT_NEAR(SumOf(FrameOf([&] { View().DrawEllipse2D(64, 64, 50, 20, true, 30); })), kPi * 50 * 20, 40);
    EXPECT_NEAR(SumOf(FrameOf([&] { View().DrawArc2D(64, 64, 50, true, 200, -90); })), kPi * 50 * 50 / 4, 30);
    const Picture arc = FrameOf([&] { View().DrawArc2D(64, 64, 50, false, 0, 90); });
    EXPECT_GT(arc.CountDrawn(), 50);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            if (arc.At(x, y) != kBlack) {
                ASSERT_NEAR(std::hypot(x + 0.5 - 64, y + 0.5 - 64), 50, 1.0);
                ASSERT_TRUE(x >= 63 && y >= 63);
            }
        }
    }
}

struct StringCase {
    const char* name;
    std::vector<PointXYZ> points;
    GLLineStyle style;
    double area;
};

GLLineStyle StyleOf(double width, GLLineJoin join = GLLineJoinMiter, GLLineCap cap = GLLineCapButt,
                    std::vector<double> dashes = {}) {
    GLLineStyle style;
    style.width = width;
    style.join = join;
    style.cap = cap;
    style.dashes = std::move(dashes);
    return style;
}

// The sum of what the pixels show of a white string on black is its area.
TEST_P(Shapes, StringsCoverTheirArea) {
    const std::vector<PointXYZ> slope{{20, 20, 0}, {92, 50, 0}};               // 78 long
    const std::vector<PointXYZ> corner{{20, 20, 0}, {80, 20, 0}, {80, 60, 0}}; // 100 long
    const std::vector<PointXYZ> ring{{30, 30, 0}, {90, 30, 0}, {90, 80, 0}, {30, 80, 0}, {30, 30, 0}};
    const StringCase cases[] = {
        {"butt", slope, StyleOf(7.3), 78 * 7.3},
        {"half a pixel", slope, StyleOf(0.5), 39},
        {"below the range", slope, StyleOf(0.1), 39},
        {"round caps", slope, StyleOf(9, GLLineJoinMiter, GLLineCapRound), 78 * 9 + kPi * 20.25},
        {"square caps", slope, StyleOf(9, GLLineJoinMiter, GLLineCapSquare), 87 * 9},
        {"miter", corner, StyleOf(12), 1200},
        {"round", corner, StyleOf(12, GLLineJoinRound), 1200 - 36 * (1 - kPi / 4)},
        {"bevel", corner, StyleOf(12, GLLineJoinBevel), 1200 - 18},
        {"ring", ring, StyleOf(5), 220 * 5},
        {"dashes", slope, StyleOf(6, GLLineJoinMiter, GLLineCapButt, {8, 5}), (6 * 8) * 6},
        {"dots", slope, StyleOf(6, GLLineJoinMiter, GLLineCapRound, {0, 13}), 6 * kPi * 9},
        {"dashed ring", ring, StyleOf(4, GLLineJoinRound, GLLineCapButt, {7, 3}),
         220 * 0.7 * 4 - 4 * 4 * (1 - kPi / 4)},
        {"dot", {{60, 60, 0}, {60, 60, 0}}, StyleOf(9, GLLineJoinMiter, GLLineCapRound), kPi * 20.25},
    };
    SetColor(255, 255, 255);
    for (const StringCase& one : cases) {
        const Picture picture = FrameOf([&] { DrawString(one.points, one.style); });
        EXPECT_NEAR(SumOf(picture), one.area, 1.5 + one.area * 0.02) << one.name;
        GLLineStyle faint = one.style;
        faint.opacity = 0.5;
        EXPECT_NEAR(SumOf(FrameOf([&] { DrawString(one.points, faint); })), one.area * 0.5, 2.5 + one.area * 0.02)
            << one.name << ", transparent";
    }
}

// With opacity a place must not be the darker for being covered twice, or by the casing too.
TEST_P(Shapes, TransparentStringsAreNowhereDarker) {
    const std::vector<PointXYZ> tangle{{20, 20, 0},  {100, 90, 0}, {100, 30, 0}, {20, 100, 0}, {22, 20, 0},
                                       {24, 100, 0}, {30, 60, 0},  {29, 62, 0},  {31, 61, 0}};
    for (const GLLineJoin join : {GLLineJoinMiter, GLLineJoinRound, GLLineJoinBevel}) {
        GLLineStyle style = StyleOf(11, join);
        style.color = GLRGBAColor{255, 255, 255, 255};
        style.opacity = 0.5;
        for (const double casing : {0.0, 17.0}) {
            style.casingWidth = casing;
            style.casingColor = {255, 255, 255, 255};
            const Picture picture = FrameOf([&] { DrawString(tangle, style); });
            int darker = 0;
            for (const Pixel& pixel : picture.pixels) {
                darker += pixel.r > 140 ? 1 : 0;
            }
            EXPECT_GT(picture.CountDrawn(), 3'000);
            // In a notch that is narrower than the two edges that fade into it these lie over each other.
            EXPECT_LT(darker, 24) << "join " << join << " casing " << casing;
        }
    }
}

TEST_P(Shapes, OffsetStringsLieBeside) {
    SetColor(255, 255, 255);
    const std::vector<PointXYZ> line{{20, 60, 0}, {100, 60, 0}};
    for (const double offset : {-20.0, 0.0, 15.0}) {
        const Picture picture = FrameOf([&] { View().DrawOffsetLineString(line.data(), 2, offset, StyleOf(4)); });
        EXPECT_NEAR(SumOf(picture), 80 * 4, 1.0);
        EXPECT_EQ(picture.At(60, static_cast<int>(60 + offset)), (Pixel{255, 255, 255, 255})) << offset;
    }
}

// Polygons that cross themselves are filled all over, holes stay free whichever way they run.
TEST_P(Shapes, PolygonsCoverTheirArea) {
    const std::vector<PointXYZ> outer{{10, 10, 0}, {110, 10, 0}, {110, 110, 0}, {10, 110, 0}};
    const std::vector<PointXYZ> hole{{30, 30, 0}, {90, 30, 0}, {90, 90, 0}, {30, 90, 0}};
    const std::vector<PointXYZ> island{{112, 10, 0}, {122, 10, 0}, {122, 20, 0}, {112, 20, 0}};
    const std::vector<PointXYZ> turned(hole.rbegin(), hole.rend());
    SetColor(255, 255, 255);
    const auto sumOf = [&](const std::vector<std::vector<PointXYZ>>& rings, const GLPolygonStyle& style = {}) {
        return SumOf(FrameOf([&] { View().DrawPolygon(rings, style); }));
    };
    EXPECT_EQ(sumOf({outer}), 10'000);
    EXPECT_EQ(sumOf({outer, hole}), 6'400);
    EXPECT_EQ(sumOf({outer, turned}), 6'400);
    EXPECT_EQ(sumOf({outer, hole, island}), 6'500);
    EXPECT_EQ(sumOf({{{10, 10, 0}, {110, 110, 0}, {110, 10, 0}, {10, 110, 0}}}), 5'000) << "a bow tie";
    EXPECT_EQ(sumOf({{{10, 10, 0}, {std::nan(""), 3, 0}, {110, 10, 0}, {110, 110, 0}, {10, 110, 0}}}), 10'000);
    EXPECT_EQ(sumOf({}), 0);
    GLPolygonStyle hatched;
    hatched.fill = false;
    hatched.hatch = GLHatchStyle{.color = {}, .unit = GLSizePixels, .angleDegrees = 30, .spacing = 6, .width = 2};
    EXPECT_NEAR(sumOf({outer, hole}, hatched), 6'400 / 3.0, 60);
    GLPolygonStyle outlined;
    outlined.fill = false;
    outlined.outline = StyleOf(4);
    EXPECT_NEAR(sumOf({outer, hole}, outlined), 400 * 4 + 240 * 4, 2);
}

// National grids, with and without the offsets that hosts subtract: nothing moves by a pixel.
TEST_P(Shapes, FarFromTheOriginTheFrameIsTheSame) {
    // Hatches begin at the model's origin, so theirs are others there.
    const Picture atOrigin = FrameOf([&] { DrawOneOfEach(10, 10, false); });
    constexpr double east = 500'000.0;
    constexpr double north = 4'500'000.0;
    View().MatrixMode(GL_MODELVIEW);
    View().Translate(-east, -north, 0.0);
    const Picture onGrid = FrameOf([&] { DrawOneOfEach(east + 10, north + 10, false); });
    View().LoadIdentity();
    View().SetCurrentCoordinateOffsets(east, north);
    const Picture offset = FrameOf([&] { DrawOneOfEach(east + 10, north + 10, false); });
    for (const Picture* other : {&onGrid, &offset}) {
        const PictureDifference difference = Compare(atOrigin, *other, 3);
        EXPECT_LE(difference.otherPixels, 3);
    }
}

// Pixels are pixels, whatever the matrices do to the model; units grow with it.
TEST_P(Shapes, SizesAreOfTheWindowOrOfTheModel) {
    SetColor(255, 255, 255);
    View().MatrixMode(GL_MODELVIEW);
    View().Translate(64.0, 64.0, 0.0);
    View().Rotate(30.0, 0.0, 0.0, 1.0);
    View().Scale(4.0, 2.0, 1.0);
    GLSymbolStyle style;
    style.size = 21.0;
    const Picture square = FrameOf([&] { View().DrawSymbol(GLSymbolSquare, 0, 0, 0, style); });
    EXPECT_NEAR(SumOf(square), 21 * 21, 1.5);
    EXPECT_EQ(square.At(64 - 9, 64 - 9), (Pixel{255, 255, 255, 255})) << "upright";
    EXPECT_EQ(square.At(64 - 12, 64), kBlack);
    const std::vector<PointXYZ> line{{-10, 0, 0}, {10, 0, 0}};
    EXPECT_NEAR(SumOf(FrameOf([&] { DrawString(line, StyleOf(5)); })), 80 * 5, 1.5);
    GLLineStyle units = StyleOf(3);
    units.unit = GLSizeModelUnits;
    EXPECT_NEAR(SumOf(FrameOf([&] { DrawString(line, units); })), 80 * 3 * 2, 8.0);
    View().DrawCircle2D(0, 0, 1e-12, true); // less than a pixel, and nothing at all
    View().DrawCircle2D(0, 0, 0.0, true);
    View().DrawCircle2D(0, 0, std::nan(""), false);
    EXPECT_EQ(View().GetError(), 0U);
}

// A string of more vertices than a batch holds goes on without a gap.
TEST_P(Shapes, LongStringsHaveNoGaps) {
    std::vector<PointXYZ> points;
    for (int index = 0; index <= 30'000; ++index) {
        const double angle = index * 2.0 * kPi / 30'000;
        points.push_back({64 + 50 * std::cos(angle), 64 + 50 * std::sin(angle), 0});
    }
    SetColor(255, 255, 255);
    const Picture picture = FrameOf([&] { DrawString(points, StyleOf(3)); });
    EXPECT_NEAR(SumOf(picture), 100 * kPi * 3, 3.0);
    for (int degree = 0; degree < 360; ++degree) {
        const double angle = degree * kPi / 180.0;
        EXPECT_GE(
            picture.At(static_cast<int>(64 + 50 * std::cos(angle)), static_cast<int>(64 + 50 * std::sin(angle))).r, 254)
            << degree;
    }
}

// Drawn as they are, ten times as many wide legs to and fro take a software driver half a minute. The window shows the
// same.
TEST_P(Shapes, WhatCoversTheWindowHundredsOfTimesIsMerged) {
    std::vector<PointXYZ> points;
    for (int leg = 0; leg <= 4'000; ++leg) {
        points.push_back({leg % 2 == 0 ? -400.0 : 528.0, leg * kSide / 4'000.0, 0});
    }
    SetColor(255, 255, 255);
    Picture merged;
    EXPECT_EQ(DrawsOf([&] { merged = FrameOf([&] { DrawString(points, StyleOf(256)); }); }), 1U);
    EXPECT_EQ(SumOf(merged), kSide * kSide);
}

// Ten thousand outlines of a polygon, each dashed and merged with itself, would take minutes.
TEST_P(Shapes, DashesAreForAllRingsTogether) {
    GLPolygonStyle style;
    style.fill = false;
    style.outline = StyleOf(2);
    style.outline->color = GLRGBAColor{255, 255, 255, 255};
    style.outline->dashes = {4.0, 4.0}; // a hundred dashes and gaps a ring
    const std::vector<PointXYZ> ring{{10, 10, 0}, {110, 10, 0}, {110, 110, 0}, {10, 110, 0}};
    const auto gapWith = [&](std::size_t count) {
        return FrameOf([&] {
                   View().BeginShapes();
                   View().DrawPolygon(std::vector<std::vector<PointXYZ>>(count, ring), style);
                   View().EndShapes();
               })
            .At(16, 10)
            .r;
    };
    EXPECT_EQ(gapWith(2'400), 0);
    EXPECT_EQ(gapWith(2'600), 255) << "solid";
}

TEST_P(Shapes, WithoutAContextNothingHappens) {
    View().BeginShapes();
    View().Rect(10, 10, 20, 20, true);
    View().MakeNull();
    EXPECT_EQ(DrawsOf([&] {
                  View().Rect(30, 10, 40, 20, true);
                  DrawString({{10, 60, 0}, {60, 60, 0}}, {});
                  View().EndShapes();
              }),
              0U);
    View().MakeCurrent(GLContextMain);
    SetColor(255, 255, 255);
    EXPECT_EQ(SumOf(FrameOf([&] { View().Rect(10, 10, 20, 20, true); })), 100) << "and goes on";
}

// Shapes that wait go with their context.
TEST_P(Shapes, WaitingShapesDoNotOutliveTheirContext) {
    View().BeginShapes();
    View().Rect(10, 10, 20, 20, true);
    View().RecreateContext(true, live->window.DeviceContext(), L"test");
    live->DrawInPixels();
    live->Clear();
    View().EndShapes();
    EXPECT_EQ(live->CountDrawn(), 0);
    SetColor(255, 255, 255);
    EXPECT_EQ(SumOf(FrameOf([&] { View().Rect(10, 10, 20, 20, true); })), 100);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, Shapes, testing::Bool(), PipelineName);

} // namespace
