#include "support/Outlines.h"
#include "support/Picture.h"
#include "support/PipelineFixture.h"

#include <GL/glu.h>

#include <cmath>
#include <functional>
#include <thread>

namespace {

constexpr int kSide = 128;

void Enable(COpenGLView& view, GLShaderTypes shader = GLShaderColorPassThrough) {
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
}

/// A square of 8 × 8 pixels at one of 144 places.
void AddSquareAt(COpenGLView& view, int place, const Pixel& color) {
    const double x = place % 12 * 10;
    const double y = place / 12 % 12 * 10;
    for (const auto& [right, up] : {std::pair{0, 0}, {8, 0}, {8, 8}, {0, 0}, {8, 8}, {0, 8}}) {
        view.AddIndex2DVertexRGBA(x + right, y + up, color.r, color.g, color.b, 255);
    }
}

void BatchOfSquare(COpenGLView& view, int place, const Pixel& color) {
    view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddSquareAt(view, place, color);
    view.EndArrays();
}

Pixel AtPlace(const Picture& picture, int place) {
    return picture.At(place % 12 * 10 + 4, place / 12 * 10 + 4);
}

void Fill(COpenGLView& view, GLGeometry& geometry, const std::function<void()>& add) {
    ASSERT_EQ(view.BeginGeometry(geometry), S_OK);
    add();
    ASSERT_EQ(view.EndGeometry(), S_OK);
}

Picture FrameOf(LiveView& live, const std::function<void()>& draw) {
    live.Clear();
    Enable(*live.view);
    draw();
    live->DisableClientState();
    return TakePicture(*live.view, kSide, kSide);
}

Picture FrameOf(LiveView& live, const GLGeometry& geometry) {
    return FrameOf(live, [&] { EXPECT_EQ(live->DrawGeometry(geometry), S_OK); });
}

class KeptDrawing : public BothPipelinesTest {
protected:
    Picture Frame(const std::function<void()>& draw) { return FrameOf(*live, draw); }
    Picture Frame(const GLGeometry& geometry) { return FrameOf(*live, geometry); }
    void Square(int place, const Pixel& color) { BatchOfSquare(View(), place, color); }
    std::size_t Calls(const char* function) { return driver.Journal(function).size(); }
};

// What is added

struct Content {
    const char* name;
    unsigned int mode;     ///< of the batches
    unsigned int keptMode; ///< of the geometry
    int vertices;          ///< of each batch; 0 for a filled polygon
};

class KeptContent : public RecordedViewTest, public testing::WithParamInterface<std::tuple<bool, Content>> {
protected:
    KeptContent() : RecordedViewTest(std::get<0>(GetParam())) {}

    /// Two batches that wind around the window's middle, in colours that change from vertex to vertex.
    void AddBatches(const Content& content) {
        for (const double radius : {40.25, 60.25}) {
            View().BeginArrays(content.mode, GLShaderColorPassThrough);
            for (int vertex = 0; vertex < content.vertices; ++vertex) {
                const double turn = 6.2 * vertex / content.vertices;
                const double reach = vertex % 2 != 0 ? radius : radius - 15.0;
                View().AddIndex2DVertexRGBA(64.0 + reach * std::cos(turn), 64.0 + reach * std::sin(turn),
                                            static_cast<unsigned char>(50 + vertex % 200), 200,
                                            static_cast<unsigned char>(vertex), 255);
            }
            View().EndArrays();
        }
    }
    void AddParcels() {
        for (int parcel = 0; parcel < 9; ++parcel) {
            const double x = 22 + parcel % 3 * 40;
            const double y = 22 + parcel / 3 * 40;
            AddOutline(*View().GetTesselator(),
                       {RingAround(x, y, 7 + 3 * parcel, false,
                                   [parcel](double angle) { return 15.0 + parcel % 3 * std::cos(5.0 * angle); }),
                        RingAround(x, y, 5, true, [](double) { return 5.0; })},
                       {static_cast<unsigned char>(20 * parcel), 200, 50, 255});
        }
    }
    void Add(const Content& content) { content.vertices == 0 ? AddParcels() : AddBatches(content); }
};

TEST_P(KeptContent, IsDrawnAsTheBatchesAre) {
    const Content& content = std::get<1>(GetParam());
    // Triangles that are taken out of a strip or a fan have to show the side that they showed there.
    View().GetContextRecord(GLContextMain).glCement->glEnable(GL_CULL_FACE);
    const Picture drawn = FrameOf(*live, [&] { Add(content); });
    EXPECT_GT(drawn.CountDrawn(), 20);
    GLGeometry geometry;
    Fill(View(), geometry, [&] { Add(content); });
    EXPECT_EQ(geometry.GetMode(), content.keptMode);
    for (const char* frame : {"first", "second"}) {
        EXPECT_EQ(Compare(FrameOf(*live, geometry), drawn, 0).otherPixels, 0) << frame;
    }
}

constexpr Content kContents[] = {
    {"Points", GL_POINTS, GL_POINTS, 30},
    {"Lines", GL_LINES, GL_LINES, 31},
    {"LineStrips", GL_LINE_STRIP, GL_LINE_STRIP, 30},
    {"LineLoops", GL_LINE_LOOP, GL_LINE_STRIP, 30},
    {"LongLineLoops", GL_LINE_LOOP, GL_LINE_STRIP, 70'000},
    {"Triangles", GL_TRIANGLES, GL_TRIANGLES, 31},
    {"ManyTriangles", GL_TRIANGLES, GL_TRIANGLES, 40'001},
    {"TriangleStrips", GL_TRIANGLE_STRIP, GL_TRIANGLES, 31},
    {"TriangleFans", GL_TRIANGLE_FAN, GL_TRIANGLES, 30},
    {"Polygons", GL_POLYGON, GL_TRIANGLES, 5},
    {"FilledPolygons", GL_TRIANGLES, GL_TRIANGLES, 0},
};

INSTANTIATE_TEST_SUITE_P(Pipelines, KeptContent, testing::Combine(testing::Bool(), testing::ValuesIn(kContents)),
                         [](const auto& tested) {
                             return std::string(std::get<1>(tested.param).name) +
                                    (std::get<0>(tested.param) ? "OnPrograms" : "OnFixedFunctions");
                         });

// A host fills geometry while it reads a file, before there is a window.
TEST_P(KeptDrawing, FillingCallsNothingOfOpenGL) {
    GLGeometry geometry;
    Enable(View());
    driver.StartJournal();
    Fill(View(), geometry, [&] {
        for (int place = 0; place < 10'000; ++place) {
            Square(place, kRed);
        }
        View().GetTesselator()->BeginPolygon();
        for (const auto& [x, y] : {std::pair{0, 0}, {8, 0}, {8, 8}}) {
            View().GetTesselator()->AddIndex2DVertexRGBA(x, y, 255, 255, 255, 255);
        }
        View().GetTesselator()->EndContour();
        View().GetTesselator()->EndPolygon();
    });
    driver.StopJournal();
    EXPECT_EQ(driver.JournalText(), std::vector<std::string>{});
    EXPECT_EQ(geometry.GetCount(), 60'003);

    View().MakeNull();
    GLGeometry second;
    Fill(View(), second, [&] { Square(0, kGreen); });
    View().MakeCurrent(GLContextMain);
    EXPECT_EQ(Frame(second).At(4, 4), kGreen);
}

TEST_P(KeptDrawing, IsUploadedOnceAndWaitsForNothing) {
    GLGeometry geometry;
    Fill(View(), geometry, [&] {
        for (int place = 0; place < 144; ++place) {
            Square(place, kRed);
        }
    });
    Frame(geometry);
    driver.StartJournal();
    Enable(View());
    const auto binding = driver.Journal().size();
    EXPECT_EQ(View().DrawGeometry(geometry), S_OK);
    driver.StopJournal();
    EXPECT_EQ(Calls("glDrawArrays"), 1U);
    EXPECT_EQ(driver.Journal("glDrawArrays").front().Integer(2), 864);
    for (const char* function : {"glBufferData", "glFenceSync", "glFlush", "glUniformMatrix4fv", "glLoadMatrixd"}) {
        const auto calls = driver.Journal(function);
        const auto sinceBinding =
            std::count_if(calls.begin(), calls.end(), [&](const DriverCall& call) { return call.sequence > binding; });
        EXPECT_EQ(sinceBinding, 0) << function;
    }
    View().DisableClientState();
}

// Batches before and behind it, from the view's own arrays.
TEST_P(KeptDrawing, BatchesAroundItAreDrawnFromTheirOwnArrays) {
    GLGeometry geometry;
    Fill(View(), geometry, [&] { Square(30, kRed); });
    const Picture picture = Frame([&] {
        Square(0, kGreen);
        EXPECT_EQ(View().DrawGeometry(geometry), S_OK);
        Square(1, kBlue);
        const SharedDraws shared(View());
        Square(2, kGreen);
        EXPECT_EQ(View().DrawGeometry(geometry), S_OK);
        Square(3, kBlue);
    });
    EXPECT_EQ(picture.CountDrawn(), 5 * 64);
    EXPECT_EQ(AtPlace(picture, 0), kGreen);
    EXPECT_EQ(AtPlace(picture, 1), kBlue);
    EXPECT_EQ(AtPlace(picture, 2), kGreen);
    EXPECT_EQ(AtPlace(picture, 3), kBlue);
    EXPECT_EQ(AtPlace(picture, 30), kRed);
}

TEST_P(KeptDrawing, RangesAreDrawnAlone) {
    GLGeometry geometry;
    std::vector<int> ends;
    Fill(View(), geometry, [&] {
        for (int place = 0; place < 4; ++place) {
            Square(place, kRed);
            ends.push_back(geometry.GetCount());
        }
    });
    EXPECT_EQ(ends, (std::vector<int>{6, 12, 18, 24}));
    const Picture picture = Frame([&] { EXPECT_EQ(View().DrawGeometry(geometry, ends[0], ends[2] - ends[0]), S_OK); });
    EXPECT_EQ(picture.CountDrawn(), 2 * 64);
    EXPECT_EQ(AtPlace(picture, 1), kRed);
    EXPECT_EQ(AtPlace(picture, 2), kRed);
}

// Strips of three, five, one and four vertices, the last one a loop; what a range cuts is drawn as far as it is inside.
TEST_P(KeptDrawing, StripsAreCutWhereTheRangeEnds) {
    GLGeometry geometry;
    Fill(View(), geometry, [&] {
        for (const auto& [mode, vertices] :
             {std::pair{GL_LINE_STRIP, 3}, {GL_LINE_STRIP, 5}, {GL_LINE_STRIP, 1}, {GL_LINE_LOOP, 4}}) {
            View().BeginArrays(static_cast<unsigned int>(mode), GLShaderLine);
            for (int vertex = 0; vertex < vertices; ++vertex) {
                View().AddIndex2DVertexRGBA(geometry.GetCount() + vertex, 0.0, 255, 255, 255, 255);
            }
            View().EndArrays();
        }
    });
    ASSERT_EQ(geometry.GetCount(), 13) << "a strip of one vertex draws nothing, a loop ends with its first vertex";
    EXPECT_EQ(geometry.GetRecords()[12].x, geometry.GetRecords()[8].x);
    Enable(View(), GLShaderLine);
    const auto drawn = [&](int first, int count) {
        driver.StartJournal();
        EXPECT_EQ(View().DrawGeometry(geometry, first, count), S_OK);
        driver.StopJournal();
        std::vector<std::string> draws;
        for (const DriverCall& call : driver.Journal()) {
            if (call.function == "glDrawArrays") {
                draws.push_back(std::to_string(call.Integer(1)) + "+" + std::to_string(call.Integer(2)));
            } else if (call.function == "glMultiDrawArrays") {
                draws.push_back("strips: " + std::to_string(call.Integer(3)));
            }
        }
        return draws;
    };
    using Draws = std::vector<std::string>;
    EXPECT_EQ(drawn(0, 13), (Draws{"strips: 3"}));
    EXPECT_EQ(drawn(3, 10), (Draws{"strips: 2"}));
    EXPECT_EQ(drawn(1, 9), (Draws{"1+2", "strips: 1", "8+2"}));
    EXPECT_EQ(drawn(4, 3), (Draws{"4+3"}));
    EXPECT_EQ(drawn(2, 2), Draws{}) << "one vertex each of two strips";
    EXPECT_EQ(drawn(7, 6), (Draws{"strips: 1"}));
    View().DisableClientState();
}

// A part is changed, as a selection is.
TEST_P(KeptDrawing, SelectionIsColoured) {
    GLGeometry geometry;
    Fill(View(), geometry, [&] {
        for (int place = 0; place < 100; ++place) {
            Square(place, kRed);
        }
    });
    Frame(geometry);
    EXPECT_EQ(geometry.UpdateColor(30, 6, {0, 255, 0, 255}), S_OK);
    const std::vector<GLDrawGeometry> moved(geometry.GetRecords(), geometry.GetRecords() + 6);
    EXPECT_EQ(geometry.UpdateRecords(60, 6, moved.data()), S_OK);
    driver.StartJournal();
    const Picture picture = Frame(geometry);
    driver.StopJournal();
    EXPECT_EQ(AtPlace(picture, 4), kRed);
    EXPECT_EQ(AtPlace(picture, 5), kGreen);
    EXPECT_EQ(AtPlace(picture, 6), kRed);
    EXPECT_EQ(AtPlace(picture, 10), kBlack) << "moved to the first place";
    EXPECT_EQ(picture.CountDrawn(), 99 * 64);
    EXPECT_EQ(Calls("glBufferData"), 0U);
    ASSERT_EQ(Calls("glBufferSubData"), GetParam() ? 1U : 0U);
    if (GetParam()) {
        const DriverCall change = driver.Journal("glBufferSubData").front();
        EXPECT_EQ(change.Integer(1), 30 * 36);
        EXPECT_EQ(change.Integer(2), 36 * 36) << "from the first changed record to the last";
    }
}

TEST_P(KeptDrawing, FilledAgainShowsTheNewContent) {
    GLGeometry geometry;
    EXPECT_EQ(geometry.Reserve(100), S_OK);
    Fill(View(), geometry, [&] { Square(0, kRed); });
    Frame(geometry);
    Fill(View(), geometry, [&] {
        Square(5, kGreen);
        Square(6, kBlue);
    });
    const Picture picture = Frame(geometry);
    EXPECT_EQ(picture.CountDrawn(), 2 * 64);
    EXPECT_EQ(AtPlace(picture, 6), kBlue);
    geometry.Clear();
    EXPECT_EQ(geometry.GetCount(), 0);
    EXPECT_EQ(Frame(geometry).CountDrawn(), 0);
    Fill(View(), geometry, [&] { Square(7, kRed); });
    EXPECT_EQ(AtPlace(Frame(geometry), 7), kRed);
}

// Records named by their indices, as hosts do that write them by other means.
TEST_P(KeptDrawing, IndicesChooseTheRecords) {
    GLGeometry geometry;
    Fill(View(), geometry, [&] {
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        AddSquareAt(View(), 3, kRed);
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (const unsigned int index : {0U, 1U, 2U, 3U, 4U, 5U, 2U, 1U, 0U}) {
            View().AddDataIndex(index);
        }
        View().EndArrays();
    });
    EXPECT_EQ(geometry.GetCount(), 9);
    const Picture picture = Frame(geometry);
    EXPECT_EQ(picture.CountDrawn(), 64);
    EXPECT_EQ(AtPlace(picture, 3), kRed);
}

// Where it stands

TEST_P(KeptDrawing, StandsWhereItWouldAtTheOriginWhateverTheGrid) {
    const double gridX = 500'000.37;
    const double gridY = 4'500'000.81;
    const auto addAll = [&](double x, double y) {
        View().BeginArrays(GL_LINE_LOOP, GLShaderColorPassThrough);
        for (int vertex = 0; vertex < 7; ++vertex) {
            View().AddIndex2DVertexRGBA(64.0 + 50.0 * std::cos(vertex) - x, 64.0 + 50.0 * std::sin(vertex) - y, 255,
                                        static_cast<unsigned char>(30 * vertex), 0, 255);
        }
        View().EndArrays();
    };
    const Picture atOrigin = Frame([&] { addAll(0.0, 0.0); });
    EXPECT_GT(atOrigin.CountDrawn(), 50);

    GLGeometry geometry;
    ASSERT_EQ(View().BeginGeometry(geometry, {gridX, gridY, 0.0}), S_OK);
    addAll(0.0, 0.0);
    ASSERT_EQ(View().EndGeometry(), S_OK);
    // The camera looks at the grid; projection and modelview share the way there.
    View().MatrixMode(GL_PROJECTION);
    View().Ortho(gridX - 1'000.0, gridX - 1'000.0 + kSide, gridY, gridY + kSide, -1.0, 1.0);
    View().MatrixMode(GL_MODELVIEW);
    View().Translate(-1'000.0, 0.0, 0.0);
    EXPECT_EQ(Compare(Frame(geometry), atOrigin, 0).otherPixels, 0);

    // The host subtracts offsets before it adds, and later takes other ones.
    live->DrawInPixels();
    View().SetCurrentCoordinateOffsets(gridX, gridY);
    Fill(View(), geometry, [&] { addAll(0.0, 0.0); });
    EXPECT_EQ(Compare(Frame(geometry), atOrigin, 0).otherPixels, 0);
    View().SetCurrentCoordinateOffsets(gridX - 10.0, gridY + 10.0);
    const Picture moved = Frame(geometry);
    const Picture wanted = Frame([&] { addAll(-10.0, 10.0); });
    EXPECT_EQ(Compare(moved, wanted, 0).otherPixels, 0);
    EXPECT_GT(Compare(moved, atOrigin, 0).otherPixels, 50);

    // What comes behind it stands where the matrices say.
    const Picture behind = Frame([&] {
        EXPECT_EQ(View().DrawGeometry(geometry), S_OK);
        Square(0, kBlue);
    });
    EXPECT_EQ(AtPlace(behind, 0), kBlue);
    EXPECT_EQ(View().GetMatrix(GL_MODELVIEW), glm::dmat4(1.0));
    View().SetCurrentCoordinateOffsets(0.0, 0.0);
    EXPECT_EQ(geometry.SetOrigin({10.0, 20.0, 0.0}), S_OK);
    EXPECT_EQ(Compare(Frame(geometry), Frame([&] { addAll(-10.0, -20.0); }), 0).otherPixels, 0);
}

// One binding, many places: symbols, blocks. Both pipelines take the matrices at the draw.
TEST_P(KeptDrawing, TakesTheMatricesOfTheDraw) {
    GLGeometry geometry;
    Fill(View(), geometry, [&] { Square(0, kRed); });
    const Picture picture = Frame([&] {
        for (int step = 0; step < 3; ++step) {
            View().Translate(20.0, 30.0, 0.0);
            EXPECT_EQ(View().DrawGeometry(geometry), S_OK);
        }
    });
    EXPECT_EQ(picture.CountDrawn(), 3 * 64);
    EXPECT_EQ(AtPlace(picture, 2 + 3 * 12), kRed);
    EXPECT_EQ(AtPlace(picture, 6 + 9 * 12), kRed);
}

// A relief: its normals turn with the matrices and do not move with the origin.
TEST_P(KeptDrawing, LitGeometryIsLitAlikeWhereverItStands) {
    const auto addAll = [&] {
        View().BeginArrays(GL_TRIANGLES, GLShaderShadedColor3Stage);
        for (const auto& [x, y] : {std::pair{10, 10}, {110, 10}, {60, 110}}) {
            View().AddIndex3DVertexNormalRGBA(x, y, 0.0, 0.3, x * 0.005, 0.8, 255, 255, 255, 255);
        }
        View().EndArrays();
    };
    const float towardsLight[] = {0.5F, 0.5F, 0.7F, 0.0F};
    View().Light(GL_LIGHT0, GL_POSITION, towardsLight);
    if (!GetParam()) {
        View().Enable(GL_LIGHTING);
        View().Enable(GL_LIGHT0);
    }
    const auto frame = [&](const std::function<void()>& draw) {
        live->Clear();
        View().EnableClientStateInternalBuffers(true, true, true, false, GLShaderShadedColor3Stage);
        draw();
        View().DisableClientState();
        return TakePicture(View(), kSide, kSide);
    };
    const Picture batch = frame(addAll);
    EXPECT_GT(batch.CountDrawn(), 4'000);
    GLGeometry geometry;
    Fill(View(), geometry, addAll);
    const auto draw = [&] { EXPECT_EQ(View().DrawGeometry(geometry), S_OK); };
    EXPECT_EQ(Compare(frame(draw), batch, 0).otherPixels, 0);
    EXPECT_EQ(geometry.SetOrigin({300.0, 200.0, 0.0}), S_OK);
    View().Translate(-300.0, -200.0, 0.0);
    EXPECT_EQ(Compare(frame(draw), batch, 0).otherPixels, 0);
    View().Disable(GL_LIGHTING);
    View().Disable(GL_LIGHT0);
}

// Text and images between the batches of a geometry are drawn, and leave it alone.
TEST_P(KeptDrawing, TextAndImagesMeanwhileAreDrawn) {
    const std::vector<unsigned char> image(16 * 3, 180);
    GLGeometry geometry;
    View().Color(255, 255, 255);
    const Picture meanwhile = Frame([&] {
        Fill(View(), geometry, [&] {
            Square(100, kRed);
            View().DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
            View().DrawFontAtlasText(L"ab", 4.0, 4.0, 0.0, false, false);
            View().DrawFontAtlasText(L"cd", 4.0, 40.0, 0.0, false, false);
            Square(101, kRed);
            View().DrawTeardownFontAtlasText(false, false);
            EXPECT_EQ(View().DrawImage(80, 20, 84, 24, 0, GL_RGB, 4, 4, 1, GL_NEAREST, image.data()), S_OK);
            Square(102, kRed);
        });
    });
    EXPECT_EQ(meanwhile.At(82, 22), (Pixel{180, 180, 180, 255}));
    EXPECT_EQ(AtPlace(meanwhile, 100), kBlack);
    EXPECT_EQ(meanwhile.CountDrawn() > 40, GetParam()) << "the fixed functions have no lists to draw text with here";
    EXPECT_EQ(geometry.GetCount(), 18);
    EXPECT_EQ(Frame(geometry).CountDrawn(), 3 * 64);
}

// The same between shared draws.
TEST_P(KeptDrawing, ImagesMeanwhileShareNothingWithIt) {
    const std::vector<unsigned char> image(16 * 3, 180);
    GLGeometry geometry;
    const Picture meanwhile = Frame([&] {
        const SharedDraws shared(View());
        Square(120, kGreen);
        Fill(View(), geometry, [&] {
            Square(100, kRed);
            for (const double x : {20.0, 80.0}) {
                EXPECT_EQ(View().DrawImage(x, 20, x + 4, 24, 0, GL_RGB, 4, 4, 1, GL_NEAREST, image.data()), S_OK);
            }
            Square(101, kRed);
        });
    });
    EXPECT_EQ(meanwhile.CountDrawn(), 64 + 2 * 16);
    EXPECT_EQ(geometry.GetCount(), 12);
    EXPECT_EQ(Frame(geometry).CountDrawn(), 2 * 64);
}

// A ring of one contour line that is longer than the arrays.
TEST_P(KeptDrawing, LongOutlineOfTheTessellatorStaysOneLoop) {
    GLTesselator& tesselator = *View().GetTesselator();
    tesselator.SetProperty(GLU_TESS_BOUNDARY_ONLY, GL_TRUE);
    GLGeometry geometry;
    constexpr int kVertices = 40'000;
    Fill(View(), geometry, [&] {
        AddOutline(tesselator, {RingAround(64, 64, kVertices, false, [](double) { return 50'000.0; })}, {1, 2, 3, 255});
    });
    tesselator.SetProperty(GLU_TESS_BOUNDARY_ONLY, GL_FALSE);
    EXPECT_EQ(geometry.GetMode(), static_cast<unsigned int>(GL_LINE_STRIP));
    ASSERT_EQ(geometry.GetCount(), kVertices + 1);
    EXPECT_EQ(geometry.GetRecords()[0].x, geometry.GetRecords()[kVertices].x);
}

// Bad input

TEST_P(KeptDrawing, WhatCannotBeIsRefused) {
    GLGeometry geometry;
    EXPECT_EQ(View().EndGeometry(), E_FAIL) << "nothing was begun";
    EXPECT_EQ(geometry.Reserve(-1), E_INVALIDARG);
    EXPECT_EQ(geometry.UpdateColor(0, 0, {}), S_OK);
    EXPECT_EQ(geometry.UpdateColor(0, 1, {}), E_INVALIDARG);
    EXPECT_EQ(View().DrawGeometry(geometry), S_OK) << "empty";
    EXPECT_EQ(View().DrawGeometry(geometry, 0, 1), E_INVALIDARG);

    ASSERT_EQ(View().BeginGeometry(geometry), S_OK);
    GLGeometry other;
    EXPECT_EQ(View().BeginGeometry(other), E_FAIL);
    EXPECT_EQ(View().BeginGeometry(geometry), E_FAIL);
    EXPECT_EQ(COpenGLView(View()).BeginGeometry(geometry), E_FAIL) << "another view fills it";
    Square(0, kRed);
    EXPECT_EQ(View().DrawGeometry(geometry), E_FAIL);
    EXPECT_EQ(geometry.UpdateColor(0, 6, {}), E_FAIL);
    EXPECT_EQ(View().EndGeometry(), S_OK);

    for (const auto& [first, count] : {std::pair{-1, 2}, {0, -1}, {0, 7}, {7, 0}, {3, 4}, {6, 0x7FFFFFFF}}) {
        EXPECT_EQ(View().DrawGeometry(geometry, first, count), E_INVALIDARG) << first << ", " << count;
        EXPECT_EQ(geometry.UpdateColor(first, count, {}), E_INVALIDARG) << first << ", " << count;
    }
    EXPECT_EQ(geometry.UpdateRecords(0, 1, nullptr), E_INVALIDARG);
    EXPECT_EQ(View().DrawGeometry(geometry), E_FAIL) << "nothing is bound";
    View().MakeNull();
    EXPECT_EQ(View().DrawGeometry(geometry), E_FAIL);
    View().MakeCurrent(GLContextMain);
    EXPECT_EQ(AtPlace(Frame(geometry), 0), kRed) << "none of it did harm";
}

TEST_P(KeptDrawing, BatchesThatDoNotAgreeLeaveItEmpty) {
    const std::pair<const char*, std::function<void()>> additions[] = {
        {"points behind triangles",
         [&] {
             Square(0, kRed);
             View().BeginArrays(GL_POINTS, GLShaderPoint);
             View().AddIndex2DVertexRGBA(1.0, 1.0, 255, 255, 255, 255);
             View().EndArrays();
             Square(1, kRed);
         }},
        {"a mode that is not kept",
         [&] {
             View().BeginArrays(GL_QUAD_STRIP, GLShaderColorPassThrough);
             AddSquareAt(View(), 0, kRed);
             View().EndArrays();
         }},
        {"an index of no record",
         [&] {
             View().BeginArrays(GL_POINTS, GLShaderPoint);
             View().AddDataIndex(40'000);
             View().EndArrays();
         }},
        {"a batch over a caller's geometry",
         [&] {
             GLVBO vbo;
             const std::vector<GLDrawGeometry> records(3);
             View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough, vbo, records.data(), records.size());
             View().EndArrays();
         }},
    };
    GLGeometry geometry;
    for (const auto& [name, add] : additions) {
        ASSERT_EQ(View().BeginGeometry(geometry), S_OK);
        add();
        EXPECT_EQ(View().EndGeometry(), E_INVALIDARG) << name;
        EXPECT_EQ(geometry.GetCount(), 0) << name;
        EXPECT_EQ(geometry.GetRecords(), nullptr) << name;
    }
    Fill(View(), geometry, [&] { Square(3, kRed); });
    EXPECT_EQ(AtPlace(Frame(geometry), 3), kRed);
}

TEST_P(KeptDrawing, OpenBatchIsDiscarded) {
    GLGeometry geometry;
    View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddSquareAt(View(), 0, kRed);
    Fill(View(), geometry, [&] {
        EXPECT_EQ(View().GetBatchVertexCount(), 0) << "the batch before it is gone";
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (int square = 0; square < 10'000; ++square) {
            AddSquareAt(View(), 1, kRed);
        }
        Square(2, kGreen);
        View().BeginArrays(GL_TRIANGLE_STRIP, GLShaderColorPassThrough);
        for (int vertex = 0; vertex < 40'000; ++vertex) {
            View().AddIndex2DVertexRGBA(vertex, vertex % 2, 255, 255, 255, 255);
        }
    });
    EXPECT_EQ(geometry.GetCount(), 6);
    const Picture picture = Frame(geometry);
    EXPECT_EQ(AtPlace(picture, 2), kGreen);
    EXPECT_EQ(picture.CountDrawn(), 64);
}

// The host frees it, or the view goes, in the middle.
TEST_P(KeptDrawing, EitherMayGoWhileItIsFilled) {
    auto geometry = std::make_unique<GLGeometry>();
    ASSERT_EQ(View().BeginGeometry(*geometry), S_OK);
    Square(0, kRed);
    GLGeometry moved = std::move(*geometry);
    geometry.reset();
    Square(1, kRed);
    EXPECT_EQ(View().EndGeometry(), S_OK) << "it has moved";
    EXPECT_EQ(moved.GetCount(), 12);

    ASSERT_EQ(View().BeginGeometry(moved), S_OK);
    Square(0, kRed);
    moved.Clear();
    Square(1, kRed);
    EXPECT_EQ(View().EndGeometry(), E_FAIL);

    {
        COpenGLView shortLived;
        ASSERT_EQ(shortLived.BeginGeometry(moved), S_OK);
        BatchOfSquare(shortLived, 0, kRed);
    }
    EXPECT_EQ(moved.GetCount(), 0);
    Fill(View(), moved, [&] { Square(5, kRed); });
    EXPECT_EQ(AtPlace(Frame(moved), 5), kRed);
}

// Callers' own buffers

TEST_P(KeptDrawing, CallersBufferIsDrawnFromAnyVertexOn) {
    std::vector<GLDrawGeometry> records;
    for (int place = 0; place < 4; ++place) {
        const auto x = static_cast<float>(place * 10);
        for (const auto& [right, up] : {std::pair{0.0F, 0.0F}, {8.0F, 0.0F}, {8.0F, 8.0F}}) {
            records.push_back({x + right, up, 0, 0, 0, 0, 0, 0, 255, 0, 0, 255});
        }
    }
    const unsigned int indices[] = {0, 1, 2, 6, 7, 8, 9, 10, 11};
    GLVBO vbo;
    const auto frame = [&](const std::function<void()>& draw) {
        live->Clear();
        Enable(View());
        View().InitializeVBO(GL_TRIANGLES, GLShaderColorPassThrough, vbo, records.data(), records.size());
        draw();
        View().EndVBOArraysAndDisableClientState();
        std::vector<int> shown;
        const Picture picture = TakePicture(View(), kSide, kSide);
        for (int place = 0; place < 4; ++place) {
            if (picture.At(place * 10 + 6, 2) == kRed) {
                shown.push_back(place);
            }
        }
        return shown;
    };
    EXPECT_EQ(frame([&] { View().DrawArrays(GL_TRIANGLES, 3, 6, vbo, nullptr); }), (std::vector<int>{1, 2}));
    EXPECT_EQ(frame([&] { View().DrawArrays(GL_TRIANGLES, 3, 3, vbo, indices); }), (std::vector<int>{2}));
    EXPECT_EQ(frame([&] { View().DrawArrays(GL_TRIANGLES, -3, 3, vbo, nullptr); }), std::vector<int>{});
    View().DeleteVBO(vbo);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, KeptDrawing, testing::Bool(), PipelineName);

// On the card

class KeptOnCard : public OnPrograms {
protected:
    static void FillSquare(COpenGLView& view, GLGeometry& geometry) {
        Fill(view, geometry, [&] { BatchOfSquare(view, 0, kRed); });
    }
    static void ExpectShows(LiveView& live, const GLGeometry& geometry) {
        EXPECT_EQ(AtPlace(FrameOf(live, geometry), 0), kRed);
    }
    std::uint64_t Uploads() const { return driver.CallCount("glBufferData"); }
};

TEST_F(KeptOnCard, ViewsOfTheGroupDrawFromOneBuffer) {
    {
        GLGeometry geometry;
        LiveView first;
        auto second = std::make_unique<LiveView>();
        FillSquare(*first.view, geometry);
        ExpectShows(*second, geometry);
        first->MakeCurrent(GLContextMain);
        ExpectShows(first, geometry);
        EXPECT_EQ(Uploads(), 1U);
        EXPECT_EQ(geometry.UpdateColor(0, 6, {0, 255, 0, 255}), S_OK);
        EXPECT_EQ(AtPlace(FrameOf(first, geometry), 0), kGreen);
        (*second)->MakeCurrent(GLContextMain);
        EXPECT_EQ(AtPlace(FrameOf(*second, geometry), 0), kGreen);
        second.reset();
        first->MakeCurrent(GLContextMain);
        EXPECT_EQ(AtPlace(FrameOf(first, geometry), 0), kGreen) << "the view that uploaded it is gone";
        EXPECT_EQ(Uploads(), 1U);
        geometry.Clear();
        EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), 1U) << "the ring";
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

TEST_F(KeptOnCard, IsUploadedAnewWhenItsContextWasLost) {
    LiveView live;
    GLGeometry geometry;
    GLGeometry freed;
    FillSquare(*live.view, geometry);
    FillSquare(*live.view, freed);
    EXPECT_EQ(freed.FreeRecordsAfterUpload(true), S_OK);
    ExpectShows(live, geometry);
    ExpectShows(live, freed);
    EXPECT_EQ(freed.GetRecords(), nullptr);
    EXPECT_EQ(freed.GetCount(), 6);
    EXPECT_EQ(freed.UpdateColor(0, 6, {}), E_FAIL);
    ExpectShows(live, freed);

    live->RecreateContext(true, live.window.DeviceContext(), L"lost");
    live.DrawInPixels();
    ExpectShows(live, geometry);
    EXPECT_EQ(Uploads(), 3U);
    const Picture picture = FrameOf(live, [&] { EXPECT_EQ(live->DrawGeometry(freed), E_HANDLE); });
    EXPECT_EQ(picture.CountDrawn(), 0);
    FillSquare(*live.view, freed);
    ExpectShows(live, freed);
}

TEST_F(KeptOnCard, IsFreedWhereverTheHostFreesIt) {
    LiveView live;
    ExpectDraws(*live.view, kRed);
    const auto buffers = driver.LiveObjects(DriverObject::Buffer);
    const auto upload = [&] {
        auto geometry = std::make_unique<GLGeometry>();
        FillSquare(*live.view, *geometry);
        ExpectShows(live, *geometry);
        EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), buffers + 1);
        return geometry;
    };
    upload().reset();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), buffers) << "with the context current";

    auto geometry = upload();
    live->MakeNull();
    geometry.reset();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), buffers + 1) << "it waits";
    live->MakeCurrent(GLContextMain);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), buffers);

    geometry = upload();
    std::thread([&] { geometry.reset(); }).join();
    GLGeometry next;
    FillSquare(*live.view, next);
    ExpectShows(live, next);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), buffers + 1) << "with the next upload";

    next.Clear();

    // Names of a group that is gone may be others' in the next one.
    geometry = upload();
    live->DeleteContext(L"its group goes", GLContextMain);
    ASSERT_EQ(CreateMain(*live.view, live.window), 1);
    ExpectDraws(*live.view, kGreen);
    const auto deletions = driver.CallCount("glDeleteBuffers");
    geometry.reset();
    EXPECT_EQ(driver.CallCount("glDeleteBuffers"), deletions);
    ExpectDraws(*live.view, kBlue);
}

// The card is full: nothing is drawn, and what needs no further room goes on.
TEST_F(KeptOnCard, UploadThatFailsDrawsNothingAndIsTriedAgain) {
    LiveView live;
    ExpectDraws(*live.view, kRed);
    const auto buffers = driver.LiveObjects(DriverObject::Buffer);
    GLGeometry geometry;
    FillSquare(*live.view, geometry);
    EXPECT_EQ(geometry.FreeRecordsAfterUpload(true), S_OK);
    for (const char* function : {"glGenBuffers", "glBufferData"}) {
        driver.FailCall(function);
        const Picture picture = FrameOf(live, [&] {
            EXPECT_EQ(live->DrawGeometry(geometry), E_OUTOFMEMORY) << function;
            BatchOfSquare(*live.view, 1, kGreen);
        });
        EXPECT_EQ(AtPlace(picture, 1), kGreen);
        EXPECT_EQ(picture.CountDrawn(), 64) << function;
        EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), buffers) << function;
        EXPECT_EQ(live->GetError(), 0U) << function;
    }
    ExpectShows(live, geometry);
    FillSquare(*live.view, geometry);
    driver.FailCall("glBufferData");
    ExpectShows(live, geometry);
}

// A host's own buffer where buffers are filled through stays bound there.
TEST_F(KeptOnCard, HostsBindingsStay) {
    LiveView live;
    const COrrinGLCement& gl = *live->GetContextRecord(GLContextMain).glCement;
    unsigned int own = 0;
    gl.glGenBuffers(1, &own);
    gl.glBindBuffer(GL_COPY_WRITE_BUFFER, own);
    GLGeometry geometry;
    FillSquare(*live.view, geometry);
    ExpectShows(live, geometry);
    GLint bound = 0;
    gl.glGetIntegerv(GL_COPY_WRITE_BUFFER_BINDING, &bound);
    EXPECT_EQ(static_cast<unsigned int>(bound), own);
    gl.glDeleteBuffers(1, &own);
}

// Two windows in turn: each other's matrices are in the shared program.
TEST_F(KeptOnCard, LinkedViewsDrawItWithTheirOwnMatrices) {
    driver.JudgeDroppedUniforms(true);
    LiveView first;
    LiveView second;
    GLGeometry geometry;
    FillSquare(*first.view, geometry);
    for (int pan = 0; pan < 3; ++pan) {
        for (LiveView* live : {&first, &second}) {
            (*live)->MakeCurrent(GLContextMain);
            live->DrawInPixels();
            EXPECT_EQ(geometry.SetOrigin({pan * 20.0, 0.0, 0.0}), S_OK);
            EXPECT_EQ(AtPlace(FrameOf(*live, geometry), pan * 2), kRed) << pan;
        }
    }
    first->MakeCurrent(GLContextMain);
    geometry.Clear();
}

// A host's own program, which the library knows by name only, gets the moved matrix too.
TEST_F(KeptOnCard, HostsOwnProgramDrawsItAtItsOrigin) {
    LiveView live;
    ShaderData own;
    CString folder;
    GetCommonFolder(folder);
    ASSERT_EQ(live->BuildShader(folder.GetString(), L"OrrinColorPassThrough.vert", L"OrrinColorPassThrough.frag",
                                nullptr, nullptr, nullptr, nullptr, GLShaderColorPassThrough, GL_TRIANGLES, own),
              S_OK);
    GLGeometry geometry;
    FillSquare(*live.view, geometry);
    EXPECT_EQ(geometry.SetOrigin({50.0, 0.0, 0.0}), S_OK);
    live.Clear();
    ASSERT_EQ(live->BindVariablesToShaderProgram(GLContextMain, GLShaderColorPassThrough, own), S_OK);
    EXPECT_EQ(live->DrawGeometry(geometry), S_OK);
    BatchOfSquare(*live.view, 0, kGreen);
    live->DisableClientState();
    const Picture picture = TakePicture(*live.view, kSide, kSide);
    EXPECT_EQ(AtPlace(picture, 5), kRed);
    EXPECT_EQ(AtPlace(picture, 0), kGreen);
    EXPECT_EQ(picture.CountDrawn(), 2 * 64);
    live->DeleteShaderProgram(own.program);
}

// The process changes to fixed functions while the geometry is on the card.
TEST_F(KeptOnCard, IsDrawnFromMemoryWhereFixedFunctionsDraw) {
    LiveView live;
    GLGeometry geometry;
    FillSquare(*live.view, geometry);
    ExpectShows(live, geometry);
    COpenGLView::SetOpenGLVersion(2, 0);
    ExpectShows(live, geometry);
    EXPECT_EQ(geometry.FreeRecordsAfterUpload(true), S_OK);
    COpenGLView::SetOpenGLVersion(4, 4);
    ExpectShows(live, geometry);
    COpenGLView::SetOpenGLVersion(2, 0);
    FrameOf(live, [&] { EXPECT_EQ(live->DrawGeometry(geometry), E_HANDLE); });
    COpenGLView::SetOpenGLVersion(4, 4);
}

} // namespace
