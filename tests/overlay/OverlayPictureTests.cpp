#include "support/Picture.h"

#include <cmath>
#include <cstring>
#include <span>
#include <stdexcept>

namespace {

constexpr int kWide = 200;
constexpr int kHigh = 150;

/// A window with a frame on it, on either pipeline.
class OverlayPictures : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    OverlayPictures() : m_first(GetParam() ? ChoosePrograms() : nullptr), live(kWide, kHigh) {
        GLRubberBandStyle style;
        style.color = {255, 255, 0, 255};
        style.casingColor.a = 0;
        style.widthPixels = 3.0;
        live->SetRubberBandStyle(style);
    }

    void DrawScene(unsigned int seed = 1) const {
        live.Clear(RGB(20, 30, 40));
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        live->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (int corner = 0; corner < 60; ++corner) {
            seed = seed * 1664525U + 1013904223U;
            live->AddIndex2DVertexRGBA(seed % kWide, (seed >> 8) % kHigh, static_cast<unsigned char>(seed >> 16), 90,
                                       60, 255);
        }
        live->EndArraysAndDisableClientState();
    }
    /// What a user sees: this driver copies at a swap.
    Picture Screen() const { return TakePicture(*live.view, kWide, kHigh); }
    /// Client coordinates, y downwards.
    static Pixel At(const Picture& picture, int x, int y) { return picture.At(x, kHigh - 1 - y); }

private:
    std::unique_ptr<COpenGLView> m_first;

protected:
    LiveView live;
};

constexpr Pixel kYellow{255, 255, 0, 255};

TEST_P(OverlayPictures, BandFollowsTheMouseAndLeavesNoGhost) {
    DrawScene();
    live->SwapBuffers();
    const Picture scene = Screen();
    for (const GLRubberBandTypes type :
         {GLRubberBandLine, GLRubberBandLineString, GLRubberBandRectangle, GLRubberBandCircle, GLRubberBandPolygon}) {
        SCOPED_TRACE(type);
        ASSERT_EQ(live->BeginRubberBand(type, 60.5, 40.5), S_OK);
        EXPECT_EQ(Screen().pixels, scene.pixels) << "nothing is there before the first move";
        Picture first;
        for (int step = 0; step < 12; ++step) {
            ASSERT_EQ(live->MoveRubberBand(60.5 + 9.0 * step, 40.5 + 8.0 * std::sin(step)), S_OK);
            if (step == 3) {
                EXPECT_EQ(live->AddRubberBandPoint(90.5, 70.5), S_OK);
            }
        }
        EXPECT_EQ(live->MoveRubberBand(120.5, 90.5), S_OK);
        const Picture banded = Screen();
        EXPECT_NE(banded.pixels, scene.pixels);
        EXPECT_EQ(live->RedrawOverlays(), S_OK);
        EXPECT_EQ(Screen().pixels, banded.pixels) << "once more is the same";
        EXPECT_EQ(live->EndRubberBand(false), S_OK);
        EXPECT_EQ(Screen().pixels, scene.pixels);
        EXPECT_FALSE(live->NeedsRedraw());
    }
    EXPECT_EQ(live->GetError(), 0U);
}

// Lines lie where the mouse was, y downwards, as wide as they were asked for.
TEST_P(OverlayPictures, BandLiesWhereTheMouseIs) {
    live.Clear();
    live->SwapBuffers();
    ASSERT_EQ(live->BeginRubberBand(GLRubberBandRectangle, 20.5, 30.5), S_OK);
    ASSERT_EQ(live->MoveRubberBand(120.5, 100.5), S_OK);
    const Picture picture = Screen();
    for (const auto& [x, y] : {std::pair{70, 30}, {70, 100}, {20, 60}, {120, 60}}) {
        EXPECT_EQ(At(picture, x, y), kYellow) << x << ", " << y;
    }
    EXPECT_EQ(At(picture, 70, 60), kBlack);
    EXPECT_EQ(At(picture, 70, 25), kBlack);
    PointXY points[3] = {};
    EXPECT_EQ(live->GetRubberBandPoints(points, 3), 2);
    EXPECT_EQ(points[1].y, 100.5);
    EXPECT_EQ(live->EndRubberBand(false), S_OK);
}

TEST_P(OverlayPictures, KeptBandStaysUntilTheHostDraws) {
    DrawScene();
    live->SwapBuffers();
    live->BeginRubberBand(GLRubberBandLine, 10.5, 10.5);
    live->MoveRubberBand(150.5, 120.5);
    const Picture banded = Screen();
    EXPECT_EQ(live->EndRubberBand(true), S_OK);
    EXPECT_EQ(Screen().pixels, banded.pixels);
    live->BeginRubberBand(GLRubberBandLine, 150.5, 10.5);
    live->MoveRubberBand(20.5, 120.5);
    EXPECT_EQ(live->EndRubberBand(false), S_OK);
    EXPECT_EQ(Screen().pixels, banded.pixels) << "the kept one is a part of the frame";
    DrawScene();
    live->SwapBuffers();
    EXPECT_NE(Screen().pixels, banded.pixels);
}

// A host that draws in the middle of a band sees its new frame at once, and the band over that with the next move.
TEST_P(OverlayPictures, NewFrameInTheMiddleIsTheOneThatComesBack) {
    for (const bool clears : {true, false}) {
        DrawScene(1);
        live->SwapBuffers();
        live->BeginRubberBand(GLRubberBandLine, 10.5, 10.5);
        live->MoveRubberBand(150.5, 120.5);
        if (clears) {
            DrawScene(7);
        }
        live->SwapBuffers();
        if (!clears) {
            EXPECT_TRUE(live->NeedsRedraw()) << "what was swapped may have been half a frame";
            EXPECT_EQ(live->MoveRubberBand(90.5, 90.5), S_FALSE);
            DrawScene(7);
            live->SwapBuffers();
        }
        EXPECT_FALSE(live->NeedsRedraw());
        const Picture scene = Screen();
        EXPECT_EQ(live->MoveRubberBand(100.5, 100.5), S_OK);
        EXPECT_NE(Screen().pixels, scene.pixels);
        EXPECT_EQ(live->EndRubberBand(false), S_OK);
        EXPECT_EQ(Screen().pixels, scene.pixels);
    }
}

struct Marker {
    int calls = 0;
    int x = 0;
    bool throws = false;
    bool spoils = false;
};

/// A blue square of 8 pixels at client place (x, 20).
void DrawMarker(COpenGLView& view, GLCoveredArea& covered, void* context) {
    Marker& marker = *static_cast<Marker*>(context);
    ++marker.calls;
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(0.0, kWide, kHigh, 0.0, -1.0, 1.0);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    for (const auto& [right, down] : {std::pair{0, 0}, {8, 0}, {8, 8}, {0, 0}, {8, 8}, {0, 8}}) {
        view.AddIndex2DVertexRGBA(marker.x + right, 20 + down, 0, 0, 255, 255);
    }
    view.EndArrays();
    covered = {marker.x + 0.0, 20.0, marker.x + 8.0, 28.0};
    if (marker.spoils) {
        view.PushMatrix(L"never popped");
        view.PushAttributes(0, L"never popped");
        view.Enable(GL_BLEND);
        view.BlendFunc(GL_ZERO, GL_ZERO);
        view.PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        view.SetUpViewport(3, 4, 5, 6);
        view.SetCurrentColor(1, 2, 3, 4, true);
        view.DrawBuffer(GL_FRONT);
        view.BeginSharedDraws();
        view.BeginArrays(GL_LINES, GLShaderColorPassThrough);
        view.AddIndex2DVertexRGBA(0.0, 0.0, 255, 0, 0, 255);
    }
    if (marker.throws) {
        throw std::runtime_error("an overlay's own affair");
    }
}

TEST_P(OverlayPictures, OverlaysComeInTheirOrderAndGo) {
    DrawScene();
    const Picture scene = TakePicture(*live.view, kWide, kHigh);
    Marker marker;
    marker.x = 50;
    const int number = live->AddOverlay(&DrawMarker, &marker, 5);
    Marker other;
    other.x = 54;
    const int below = live->AddOverlay(&DrawMarker, &other, 1);
    EXPECT_NE(number, below);
    EXPECT_EQ(live->AddOverlay(nullptr, nullptr, 0), 0);
    // The frame was not presented yet: this presents it.
    EXPECT_EQ(live->RedrawOverlays(), S_OK);
    EXPECT_EQ(At(Screen(), 60, 24), (Pixel{0, 0, 255, 255}));
    for (int step = 0; step < 9; ++step) {
        marker.x = 20 * step;
        EXPECT_EQ(live->RedrawOverlays(), S_OK);
    }
    const Picture last = Screen();
    EXPECT_EQ(At(last, 164, 24), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(At(last, 142, 24), At(scene, 142, 24)) << "where it was before";
    EXPECT_TRUE(live->RemoveOverlay(number));
    EXPECT_TRUE(live->RemoveOverlay(below));
    EXPECT_FALSE(live->RemoveOverlay(below));
    EXPECT_EQ(live->RedrawOverlays(), S_OK);
    EXPECT_EQ(Screen().pixels, scene.pixels);
    EXPECT_EQ(marker.calls, 10);
}

TEST_P(OverlayPictures, BadOverlayHarmsNothing) {
    DrawScene();
    live->SwapBuffers();
    const Picture scene = Screen();
    const GLAttributes before = live->GetContextRecord(GLContextMain).attributes;
    const auto blending = [] {
        GLint factor = 0;
        glGetIntegerv(GL_BLEND_DST, &factor);
        return std::pair(glIsEnabled(GL_BLEND), factor);
    };
    const auto blendingBefore = blending();
    Marker bad;
    bad.throws = true;
    bad.spoils = true;
    Marker good;
    good.x = 100;
    const int badNumber = live->AddOverlay(&DrawMarker, &bad, 0);
    const int goodNumber = live->AddOverlay(&DrawMarker, &good, 1);
    EXPECT_EQ(live->RedrawOverlays(), E_FAIL);
    EXPECT_EQ(At(Screen(), 104, 24), (Pixel{0, 0, 255, 255})) << "the other one is drawn, unharmed";
    EXPECT_EQ(std::memcmp(&before, &live->GetContextRecord(GLContextMain).attributes, sizeof(before)), 0);
    EXPECT_EQ(blending(), blendingBefore);
    live->RemoveOverlay(badNumber);
    live->RemoveOverlay(goodNumber);
    EXPECT_EQ(live->RedrawOverlays(), S_OK);
    EXPECT_EQ(Screen().pixels, scene.pixels);
    DrawScene();
    EXPECT_EQ(TakePicture(*live.view, kWide, kHigh).pixels, scene.pixels) << "the host draws on as before";
}

// As a map does whose points come little by little: each step goes on from the frame without what lies over it.
TEST_P(OverlayPictures, FrameInStepsGrowsBeneathItsOverlays) {
    const auto save = [&] {
        return live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, kWide, kHigh);
    };
    const auto restore = [&] {
        live->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, kWide, kHigh, 0, 0, kWide, kHigh, false, true, false);
    };
    live.Clear();
    ASSERT_EQ(save(), S_OK);
    Marker marker;
    const int number = live->AddOverlay(&DrawMarker, &marker, 0);
    ASSERT_EQ(live->RedrawOverlays(), S_OK);
    for (int step = 1; step < 4; ++step) {
        restore();
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        live->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (const auto& [right, up] : {std::pair{0, 0}, {30, 0}, {0, 30}}) {
            live->AddIndex2DVertexRGBA(40 * step + right, 60 + up, 255, 255, 0, 255);
        }
        live->EndArraysAndDisableClientState();
        ASSERT_EQ(save(), S_OK);
        marker.x = 30 * step;
        ASSERT_EQ(live->RedrawOverlays(), S_OK);
        const Picture picture = Screen();
        EXPECT_EQ(At(picture, 30 * step + 4, 24), (Pixel{0, 0, 255, 255}));
        EXPECT_EQ(At(picture, 30 * step - 26, 24), kBlack) << "where the overlay was before";
        EXPECT_EQ(picture.At(44, 64), kYellow) << "the first step's";
        EXPECT_EQ(picture.At(40 * step + 4, 64), kYellow);
    }
    // A store that holds something else cannot put the frame right any more.
    ASSERT_EQ(live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, 10, 10), S_OK);
    EXPECT_TRUE(live->NeedsRedraw());
    EXPECT_EQ(live->RedrawOverlays(), S_FALSE);
    EXPECT_TRUE(live->RemoveOverlay(number));
}

// The outline crosses itself: both halves are inside, in whatever direction they go.
TEST_P(OverlayPictures, CrossedPolygonIsFilledAndKnowsItsPlaces) {
    live->SetUpOrthoFromModelExtents(GLViewOrientationTop, {500'000.0, 4'500'000.0, 0.0}, {500'100.0, 4'500'100.0, 0.0},
                                     1.0);
    live.Clear();
    live->SwapBuffers();
    GLRubberBandStyle style;
    style.fillColor = {0, 255, 0, 255};
    live->SetRubberBandStyle(style);
    constexpr PointXY kCorners[] = {{20.0, 20.0}, {140.0, 120.0}, {140.0, 20.0}, {20.0, 120.0}};
    ASSERT_EQ(live->BeginRubberBand(GLRubberBandPolygon, kCorners[0].x, kCorners[0].y), S_OK);
    for (const PointXY& corner : std::span(kCorners).subspan(1)) {
        ASSERT_EQ(live->AddRubberBandPoint(corner.x, corner.y), S_OK);
    }
    const Picture picture = Screen();
    EXPECT_EQ(At(picture, 30, 70), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(At(picture, 130, 70), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(At(picture, 80, 30), kBlack);
    EXPECT_EQ(live->EndRubberBand(false), S_OK);
    PointXYZ places[9] = {};
    ASSERT_EQ(live->GetRubberBandPoints(places, 9), 5);
    double x = 0.0;
    double y = 0.0;
    ASSERT_TRUE(live->RealWorld2Client(places[1].x, places[1].y, places[1].z, x, y));
    EXPECT_GT(places[1].x, 499'900.0);
    EXPECT_NEAR(x, 140.0, 1e-6);
    EXPECT_NEAR(y, 120.0, 1e-6);
}

TEST_P(OverlayPictures, ResizeAndLossAreTold) {
    EXPECT_EQ(live->BeginRubberBand(GLRubberBandLine, 1.0, 1.0), S_FALSE) << "no frame yet";
    EXPECT_FALSE(live->IsRubberBandActive());
    EXPECT_EQ(live->MoveRubberBand(1.0, 1.0), S_FALSE);
    EXPECT_EQ(live->EndRubberBand(false), S_FALSE);
    EXPECT_EQ(live->RedrawOverlays(), S_FALSE);
    EXPECT_EQ(live->BeginRubberBand(static_cast<GLRubberBandTypes>(6), 1.0, 1.0), E_INVALIDARG);
    EXPECT_EQ(live->BeginRubberBand(GLRubberBandLine, std::nan(""), 1.0), E_INVALIDARG);
    EXPECT_EQ(live->BeginRubberBand(GLRubberBandCustom, 1.0, 1.0), E_INVALIDARG) << "without a function";
    for (const bool loses : {false, true}) {
        live->MakeCurrent(GLContextMain);
        live.DrawInPixels();
        DrawScene();
        live->SwapBuffers();
        ASSERT_EQ(live->BeginRubberBand(GLRubberBandLine, 10.5, 10.5), S_OK);
        ASSERT_EQ(live->MoveRubberBand(150.5, 120.5), S_OK);
        if (loses) {
            live->RecreateContext(true, live.window.DeviceContext(), L"again");
        } else {
            SetWindowPos(live.window.Window(), nullptr, 0, 0, kWide + 20, kHigh, SWP_NOMOVE | SWP_NOZORDER);
        }
        EXPECT_TRUE(live->NeedsRedraw());
        EXPECT_EQ(live->MoveRubberBand(100.5, 100.5), S_FALSE);
        EXPECT_TRUE(live->IsRubberBandActive());
        DrawScene();
        live->SwapBuffers();
        EXPECT_FALSE(live->NeedsRedraw());
        EXPECT_EQ(live->MoveRubberBand(100.5, 100.5), S_OK);
        EXPECT_EQ(live->EndRubberBand(false), S_OK);
    }
}

TEST_P(OverlayPictures, TwoViewsHaveABandEach) {
    LiveView other(kWide, kHigh);
    const auto start = [](LiveView& view, double x) {
        view->MakeCurrent(GLContextMain);
        view.Clear();
        view->SwapBuffers();
        return view->BeginRubberBand(GLRubberBandLine, x, 10.5);
    };
    EXPECT_EQ(start(live, 20.5), S_OK);
    EXPECT_EQ(start(other, 120.5), S_OK);
    EXPECT_EQ(live->MoveRubberBand(20.5, 90.5), S_OK);
    EXPECT_EQ(other->MoveRubberBand(120.5, 90.5), S_OK);
    EXPECT_EQ(live->MoveRubberBand(20.5, 100.5), S_OK);
    const Picture mine = Screen();
    EXPECT_EQ(At(mine, 20, 50), kYellow);
    EXPECT_EQ(At(mine, 120, 50), kBlack);
    EXPECT_EQ(live->EndRubberBand(false), S_OK);
    EXPECT_TRUE(other->IsRubberBandActive());
    EXPECT_EQ(other->EndRubberBand(false), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, OverlayPictures, testing::Bool(), PipelineName);

} // namespace
