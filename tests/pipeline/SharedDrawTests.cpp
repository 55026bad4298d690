#include "support/Outlines.h"
#include "support/Picture.h"
#include "support/RecordedFixture.h"

#include <cmath>
#include <functional>

namespace {

constexpr int kSide = 128;

/// Batches that share draws, against the same batches one by one.
class SharedDrawing : public BothPipelinesTest {
protected:
    void AddSquare(int place, unsigned char red) {
        const double x = place % 12 * 10;
        const double y = place / 12 % 12 * 10;
        for (const auto& [right, up] : {std::pair{0, 0}, {8, 0}, {8, 8}, {0, 0}, {8, 8}, {0, 8}}) {
            View().AddIndex2DVertexRGBA(x + right, y + up, red, 200, 50, 255);
        }
    }
    void DrawSquare(int place) {
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        AddSquare(place, static_cast<unsigned char>(place));
        View().EndArrays();
    }
    void Enable(GLShaderTypes shader = GLShaderColorPassThrough) {
        View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
    }
    Picture FrameOf(const std::function<void()>& draw) {
        live->Clear();
        Enable();
        draw();
        View().DisableClientState();
        return TakePicture(View(), kSide, kSide);
    }
    std::size_t Draws() {
        driver.StopJournal();
        return driver.Journal("glDrawArrays").size() + driver.Journal("glDrawElements").size();
    }
    std::size_t Calls(const char* function) { return driver.Journal(function).size(); }
};

// A map of symbols: hundreds of small batches of one kind.
TEST_P(SharedDrawing, SmallBatchesAreOneDrawAndTheSameFrame) {
    const auto draw = [&] {
        for (int place = 0; place < 144; ++place) {
            DrawSquare(place);
        }
    };
    const Picture single = FrameOf(draw);
    EXPECT_GT(single.CountDrawn({0, 0, 0, 255}), 9'000);
    driver.StartJournal();
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw();
        EXPECT_EQ(View().GetBatchVertexCount(), 0) << "no batch is open";
    });
    EXPECT_EQ(Draws(), 1U);
    EXPECT_TRUE(shared.pixels == single.pixels);
}

// What changes between two batches must not reach the one before.
TEST_P(SharedDrawing, WhatChangesInBetweenComesBehindTheBatchesBefore) {
    const auto draw = [&] {
        DrawSquare(0);
        View().SetUpViewport(64, 0, 64, 64);
        DrawSquare(1);
        View().Enable(GL_BLEND);
        View().BlendFunc(GL_ONE, GL_ONE);
        DrawSquare(1);
        View().Disable(GL_BLEND);
        View().SetUpViewport(0, 0, kSide, kSide);
        View().BeginArrays(GL_LINES, GLShaderColorPassThrough);
        View().AddIndex2DVertexRGBA(3.5, 60.5, 255, 0, 0, 255);
        View().AddIndex2DVertexRGBA(90.5, 60.5, 255, 0, 0, 255);
        View().EndArrays();
        View().BeginArrays(GL_LINE_LOOP, GLShaderColorPassThrough);
        for (const auto& [x, y] : {std::pair{20.5, 70.5}, {60.5, 70.5}, {60.5, 110.5}}) {
            View().AddIndex2DVertexRGBA(x, y, 0, 0, 255, 255);
        }
        View().EndArrays();
        DrawSquare(100);
    };
    const Picture single = FrameOf(draw);
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw();
    });
    EXPECT_TRUE(shared.pixels == single.pixels);
}

TEST_P(SharedDrawing, OpenBatchIsNotCutWhereTheArraysAreFull) {
    const auto draw = [&] {
        DrawSquare(0);
        View().BeginArrays(GL_LINES, GLShaderColorPassThrough);
        View().AddIndex2DVertexRGBA(1.5, 120.5, 255, 255, 255, 255);
        View().AddIndex2DVertexRGBA(100.5, 120.5, 255, 255, 255, 255);
        View().EndArrays();
        // Odd and even ends of lines change places if the seam falls within a batch.
        for (int batch = 0; batch < 11; ++batch) {
            View().BeginArrays(GL_LINES, GLShaderColorPassThrough);
            for (int line = 0; line < 1501; ++line) {
                const double y = line % 100 + 0.5;
                View().AddIndex2DVertexRGBA(10.5, y, 255, static_cast<unsigned char>(line), 0, 255);
                View().AddIndex2DVertexRGBA(15.5 + batch, y, 255, static_cast<unsigned char>(line), 0, 255);
            }
            View().EndArrays();
        }
    };
    const Picture single = FrameOf(draw);
    driver.StartJournal();
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw();
    });
    EXPECT_LE(Draws(), 4U);
    EXPECT_TRUE(shared.pixels == single.pixels);
}

// The last batch ends just where the arrays are full: it is to be drawn, not to make room for more.
TEST_P(SharedDrawing, BatchThatEndsWhereTheArraysAreFullIsDrawn) {
    const auto draw = [&] {
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (int square = 0; square < 5461; ++square) {
            AddSquare(square % 11, 100);
        }
        View().EndArrays();
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (const auto& [x, y] : {std::pair{60.0, 60.0}, {120.0, 60.0}, {120.0, 120.0}}) {
            View().AddIndex2DVertexRGBA(x, y, 250, 10, 10, 255);
        }
        View().EndArraysAndDisableClientState();
    };
    const Picture single = FrameOf(draw);
    EXPECT_EQ(single.At(110, 80), (Pixel{250, 10, 10, 255}));
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw();
    });
    EXPECT_TRUE(shared.pixels == single.pixels);
}

// Strings and batches in turn: neither may take the other's vertices for its own.
TEST_P(SharedDrawing, StringsBetweenBatchesKeepTheirOrder) {
    const auto draw = [&] {
        DrawSquare(0);
        View().DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        View().DrawFontAtlasText(L"ab", 4.0, 4.0, 0.0, false, false);
        View().DrawFontAtlasText(L"cd", 4.0, 30.0, 0.0, false, false);
        View().DrawTeardownFontAtlasText(false, false);
        Enable();
        DrawSquare(12);
    };
    const Picture single = FrameOf(draw);
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw();
    });
    EXPECT_TRUE(shared.pixels == single.pixels);
}

// A map of filled parcels: the fans and strips of each are taken apart into triangles that all share a draw.
TEST_P(SharedDrawing, FilledPolygonsAreOneDrawAndTheSameFrame) {
    const auto draw = [&] {
        for (int parcel = 0; parcel < 36; ++parcel) {
            const double x = 12 + parcel % 6 * 20;
            const double y = 12 + parcel / 6 * 20;
            AddOutline(*View().GetTesselator(),
                       {RingAround(x, y, 5 + parcel, false,
                                   [parcel](double angle) { return 7.0 + parcel % 3 * std::cos(5.0 * angle); }),
                        RingAround(x, y, 4, true, [](double) { return 2.5; })},
                       {static_cast<unsigned char>(7 * parcel), 200, 50, 255});
        }
    };
    const Picture single = FrameOf(draw);
    EXPECT_GT(single.CountDrawn({0, 0, 0, 255}), 3'000);
    driver.StartJournal();
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw();
    });
    EXPECT_LE(Draws(), 2U);
    EXPECT_TRUE(shared.pixels == single.pixels);
}

// The order of calls that the header documents, for each batch.
TEST_P(SharedDrawing, ClientStateOfEachBatchCostsNothing) {
    const auto draw = [&] {
        for (int place = 0; place < 144; ++place) {
            View().SetCurrentColor(static_cast<unsigned char>(place), 0, 0, 255, false); // nothing that is read
            Enable();
            View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
            AddSquare(place, static_cast<unsigned char>(place));
            View().EndArraysAndDisableClientState();
            EXPECT_FALSE(View().GetContextRecord(GLContextMain).clientVertexArray);
        }
    };
    const Picture single = FrameOf(draw);
    driver.StartJournal();
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw();
    });
    EXPECT_EQ(Draws(), 1U);
    EXPECT_LE(Calls("glUseProgram"), 4U) << "bound and unbound, without and within the scope";
    EXPECT_LE(Calls("glEnableClientState"), 4U);
    EXPECT_TRUE(shared.pixels == single.pixels);
}

// What each batch asks for otherwise than the one before must be bound, and what a disabling ends must end.
TEST_P(SharedDrawing, ClientStateThatDiffersIsBoundAnew) {
    unsigned int textures[2] = {};
    unsigned int samplers[2] = {};
    const unsigned char texels[2][4] = {{255, 0, 0, 255}, {0, 0, 255, 255}};
    for (int index = 0; index < 2; ++index) {
        ASSERT_EQ(View().LoadGLImage(GL_TEXTURE0, GL_RGBA, 1, 1, 1, GL_NEAREST, texels[index], textures[index],
                                     samplers[index]),
                  S_OK);
    }
    const auto drawTextured = [&](int place, int texture) {
        View().DrawSetupSetShaderTexture(textures[texture], samplers[texture]);
        View().EnableClientStateInternalBuffers(true, false, true, true, GLShaderTextureDecal);
        View().BeginArrays(GL_TRIANGLES, GLShaderTextureDecal);
        AddSquare(place, 255);
        View().EndArraysAndDisableClientState();
    };
    const auto drawMoved = [&](double up) {
        View().PushMatrix(GL_MODELVIEW, L"test");
        View().Translate(0.0, up, 0.0);
        Enable();
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        AddSquare(0, 90);
        View().EndArraysAndDisableClientState();
        View().PopMatrix(GL_MODELVIEW, L"test");
    };
    const auto draw = [&] {
        drawTextured(12, 0);
        drawTextured(13, 0);
        drawTextured(14, 1);
        drawMoved(0.0);
        drawMoved(30.0);
        drawMoved(30.5);
        View().EnableClientStateInternalBuffers(true, false, false, false, GLShaderColorPassThrough);
        View().EnableClientStateColor();
        DrawSquare(40);
        View().DisableClientState();
        Enable();
        DrawSquare(41);
        View().EnableClientState(true, false, true, false, GLShaderColorPassThrough);
        DrawSquare(42);
        View().DisableClientState();
        View().LineWidth(3.0F);
        Enable(GLShaderLine);
        View().BeginArrays(GL_LINES, GLShaderLine);
        View().AddIndex2DVertexRGBA(3.5, 60.5, 255, 0, 0, 255);
        View().AddIndex2DVertexRGBA(90.5, 60.5, 255, 0, 0, 255);
        View().EndArraysAndDisableClientState();
        // Nothing is bound here: what is added must not show.
        View().AddIndex2DVertexRGBA(3.5, 120.5, 255, 0, 0, 255);
        View().AddIndex2DVertexRGBA(90.5, 120.5, 255, 0, 0, 255);
        View().FlushArrays();
        View().LineWidth(1.0F);
    };
    const Picture single = FrameOf(draw);
    EXPECT_EQ(single.At(25, 15), (Pixel{0, 0, 255, 255}));
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw();
    });
    EXPECT_TRUE(shared.pixels == single.pixels);
    for (int index = 0; index < 2; ++index) {
        View().DeleteTextureAndSamplerNames(textures[index], samplers[index]);
    }
}

// Who looks into OpenGL behind a disabling must find it carried out, and the batch before it drawn.
TEST_P(SharedDrawing, DisablingIsCarriedOutBeforeAnythingElse) {
    const SharedDraws scope(View());
    const auto draw = [&] {
        Enable();
        DrawSquare(0);
        View().DisableClientState();
    };
    draw();
    driver.StartJournal();
    View().Flush();
    driver.StopJournal();
    const std::vector<DriverCall> calls = driver.Journal();
    ASSERT_GE(calls.size(), 3U);
    EXPECT_TRUE(calls.front().function.starts_with("glDraw")) << calls.front().Text();
    EXPECT_EQ(calls.back().function, "glFlush");
    EXPECT_EQ(Calls(GetParam() ? "glUseProgram" : "glDisableClientState"), GetParam() ? 1U : 4U);
    draw();
    View().EndSharedDraws();
    const COrrinGLCement& gl = *View().GetContextRecord(GLContextMain).glCement;
    GLint program = 0;
    gl.glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    EXPECT_EQ(program, 0);
    EXPECT_FALSE(gl.glIsEnabled(GL_VERTEX_ARRAY));
    View().BeginSharedDraws();
}

// The batch of one view waits while another one draws; each has its own bound state.
TEST_P(SharedDrawing, TwoViewsInTurnKeepTheirOwn) {
    LiveView other;
    other->SetSharedDraws(true);
    View().SetSharedDraws(true);
    const auto draw = [](LiveView& view, int place, unsigned char red) {
        wglMakeCurrent(view->GetContextRecord(GLContextMain).deviceContext,
                       view->GetContextRecord(GLContextMain).renderingContext);
        view->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        view->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (const auto& [x, y] : {std::pair{0, 0}, {8, 0}, {8, 8}}) {
            view->AddIndex2DVertexRGBA(place + x, y, red, 0, 0, 255);
        }
        view->EndArraysAndDisableClientState();
    };
    live->Clear();
    other->MakeCurrent(GLContextMain);
    other.Clear();
    for (int place = 0; place < 100; place += 20) {
        draw(*live, place, 100);
        draw(other, place + 10, 200);
    }
    View().MakeCurrent(GLContextMain);
    EXPECT_EQ(live->At(86, 2), (Pixel{100, 0, 0, 255}));
    EXPECT_EQ(live->At(96, 2), kBlack);
    other->MakeCurrent(GLContextMain);
    EXPECT_EQ(other.At(96, 2), (Pixel{200, 0, 0, 255}));
    EXPECT_EQ(other.At(86, 2), kBlack);
    View().MakeCurrent(GLContextMain);
}

TEST_P(SharedDrawing, DiscardedBatchIsNotDrawnAndThoseBeforeAre) {
    const Picture single = FrameOf([&] { DrawSquare(0); });
    const Picture shared = FrameOf([&] {
        View().BeginSharedDraws();
        View().BeginSharedDraws();
        DrawSquare(0);
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        AddSquare(5, 255);
        EXPECT_EQ(View().GetBatchVertexCount(), 6);
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        View().EndSharedDraws();
        View().EndSharedDraws();
        View().EndSharedDraws();
    });
    EXPECT_TRUE(shared.pixels == single.pixels);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, SharedDrawing, testing::Bool(), PipelineName);

using SharedRing = ProgramsTest;

// Draws that cannot join share the ring's segments: one fence where a segment is full, and one at the end.
TEST_F(SharedRing, DrawsOfOneSegmentHaveOneFence) {
    View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderLine);
    driver.StartJournal();
    {
        const SharedDraws scope(View());
        for (int strip = 0; strip < 1'000; ++strip) {
            View().BeginArrays(GL_LINE_STRIP, GLShaderLine);
            for (int vertex = 0; vertex < 50; ++vertex) {
                View().AddIndex2DVertexRGBA(vertex, strip % 100, 255, 255, 255, 255);
            }
            View().EndArrays();
        }
    }
    driver.StopJournal();
    EXPECT_EQ(driver.Journal("glDrawArrays").size(), 1'000U);
    EXPECT_EQ(driver.Journal("glFenceSync").size(), 2U) << "50,000 records of 32,769 a segment";
    driver.StartJournal();
    View().BeginArrays(GL_POINTS, GLShaderLine);
    View().AddIndex2DVertexRGBA(1.0, 1.0, 255, 255, 255, 255);
    View().EndArrays();
    driver.StopJournal();
    EXPECT_EQ(driver.Journal("glFenceSync").size(), 1U) << "outside all is as ever";
}

} // namespace
