#pragma once

#include "RecordedFixture.h"

#include <array>
#include <string>
#include <utility>

inline constexpr Pixel kRed{255, 0, 0, 255};
inline constexpr Pixel kGreen{0, 255, 0, 255};
inline constexpr Pixel kBlue{0, 0, 255, 255};

/// The text of a driver that the 4.x pipeline is offered to.
inline constexpr char kDriverOfPrograms[] = "4.6.0 NVIDIA 551.23";

enum class Pipeline { FixedFunctions, Programs };

/// The process's first view will choose this pipeline.
inline void Offer(StandIn& driver, Pipeline pipeline) {
    if (pipeline == Pipeline::Programs) {
        driver.SetVersionText(kDriverOfPrograms);
    } else {
        driver.RestoreVersionText();
    }
}

/// A test of what holds whichever pipeline the process uses.
class OnBothPipelines : public RecordedTest, public testing::WithParamInterface<Pipeline> {
protected:
    OnBothPipelines() { Offer(driver, GetParam()); }
    static bool UsesPrograms() { return GetParam() == Pipeline::Programs; }
};

#define ORRIN_ON_BOTH_PIPELINES(Fixture)                                                                               \
    INSTANTIATE_TEST_SUITE_P(                                                                                          \
        Pipelines, Fixture, testing::Values(Pipeline::FixedFunctions, Pipeline::Programs), [](const auto& tested) {    \
            return std::string(tested.param == Pipeline::Programs ? "Programs" : "FixedFunctions");                    \
        })

/// A test of the 4.x pipeline.
class OnPrograms : public RecordedTest {
protected:
    OnPrograms() { Offer(driver, Pipeline::Programs); }
};

inline void AddSquare(COpenGLView& view, const Pixel& color, double x = 0.0) {
    for (const auto& [right, up] : {std::pair{0.0, 0.0}, {8.0, 0.0}, {8.0, 8.0}, {0.0, 0.0}, {8.0, 8.0}, {0.0, 8.0}}) {
        view.AddIndex2DVertexRGBA(x + right, up, color.r, color.g, color.b, color.a);
    }
}

/// A square 8 units wide whose lower left corner is at (x, 0), in the order of calls that holds for both pipelines.
inline void DrawSquare(COpenGLView& view, const Pixel& color, double x = 0.0) {
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddSquare(view, color, x);
    view.EndArraysAndDisableClientState();
}

inline void CountInPixels(COpenGLView& view, int width = 128, int height = 128) {
    view.SetUpViewport(0, 0, width, height);
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(0.0, width, 0.0, height, -1.0, 1.0);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
}

/// A pixel of the current context's back buffer, whichever kind it is: the legacy kind's own reading is of the front.
inline Pixel BackBufferAt(const COpenGLView& view, int x, int y) {
    Pixel pixel{};
    const COrrinGLCement& gl = *view.GetContextRecord(view.GetCurrentContextType()).glCement;
    gl.glReadBuffer(GL_BACK);
    gl.glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
    pixel.a = 255;
    return pixel;
}

/// What a user sees of a view: a new frame with a square shows just that.
inline void ExpectDraws(COpenGLView& view, const Pixel& color) {
    CountInPixels(view);
    view.SetBackgroundColor(0, true);
    DrawSquare(view, color);
    EXPECT_EQ(BackBufferAt(view, 4, 4), color);
    EXPECT_EQ(BackBufferAt(view, 12, 4), kBlack);
    EXPECT_EQ(view.GetError(), 0U);
}

/// A view without a window of its own, for tests that make its contexts themselves. Its windows are its owner's.
inline int CreateMain(COpenGLView& view, const TestWindow& window) {
    return view.CreateContext(window.DeviceContext(), true, GLContextMain, L"test", 32, AccelerationHardware);
}
