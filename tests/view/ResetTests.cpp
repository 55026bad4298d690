#include "support/Picture.h"
#include "support/PipelineFixture.h"

#include <functional>

namespace {

class HostsGL : public OnBothPipelines {};
ORRIN_ON_BOTH_PIPELINES(HostsGL);

/// A kind of state that a host's own calls may leave behind.
struct Leftover {
    const char* name;
    std::function<void(const COrrinGLCement& gl)> leave;
    bool reported; ///< by ValidateState; pixel storage and bindings of the library's own are nobody's expectation
};

std::vector<Leftover> Leftovers() {
    const auto enable = [](unsigned int capability) {
        return [capability](const COrrinGLCement& gl) { gl.glEnable(capability); };
    };
    return {
        {"culling",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_CULL_FACE);
             gl.glCullFace(GL_FRONT_AND_BACK);
         },
         true},
        {"stencil",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_STENCIL_TEST);
             gl.glStencilFunc(GL_NEVER, 1, 0xFF);
         },
         true},
        {"alpha test",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_ALPHA_TEST);
             gl.glAlphaFunc(GL_NEVER, 0.5F);
         },
         true},
        {"clip plane",
         [](const COrrinGLCement& gl) {
             const double nothing[] = {0, 0, 0, -1};
             glClipPlane(GL_CLIP_PLANE0, nothing);
             gl.glEnable(GL_CLIP_PLANE0);
         },
         true},
        {"logic operation",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_COLOR_LOGIC_OP);
             gl.glLogicOp(GL_NOOP);
         },
         true},
        {"blending",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_BLEND);
             gl.glBlendFunc(GL_ZERO, GL_ONE);
         },
         true},
        {"blend equation",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_BLEND);
             gl.glBlendEquation(GL_FUNC_REVERSE_SUBTRACT);
         },
         true},
        {"colour mask", [](const COrrinGLCement& gl) { gl.glColorMask(0, 0, 0, 0); }, true},
        {"depth function",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_DEPTH_TEST);
             gl.glDepthFunc(GL_NEVER);
         },
         true},
        {"depth mask", [](const COrrinGLCement& gl) { gl.glDepthMask(0); }, true},
        {"fog",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_FOG);
             glFogf(GL_FOG_DENSITY, 100.0F);
         },
         true},
        {"scissors",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_SCISSOR_TEST);
             gl.glScissor(0, 0, 0, 0);
         },
         true},
        {"discarding", enable(GL_RASTERIZER_DISCARD), true},
        {"restart index",
         [](const COrrinGLCement& gl) {
             gl.glEnable(GL_PRIMITIVE_RESTART);
             gl.glPrimitiveRestartIndex(1);
         },
         true},
        {"polygon stipple",
         [](const COrrinGLCement& gl) {
             const unsigned char nothing[128] = {};
             gl.glPolygonStipple(nothing);
             gl.glEnable(GL_POLYGON_STIPPLE);
         },
         true},
        {"polygon mode", [](const COrrinGLCement& gl) { gl.glPolygonMode(GL_FRONT_AND_BACK, GL_POINT); }, true},
        {"viewport", [](const COrrinGLCement& gl) { gl.glViewport(100, 100, 5, 5); }, true},
        {"depth range", [](const COrrinGLCement& gl) { gl.glDepthRange(1.0, 1.0); }, false},
        {"read buffer", [](const COrrinGLCement& gl) { gl.glReadBuffer(GL_FRONT); }, true},
        {"draw buffer", [](const COrrinGLCement& gl) { gl.glDrawBuffer(GL_FRONT); }, false},
        {"clip control", [](const COrrinGLCement& gl) { gl.glClipControl(GL_UPPER_LEFT, GL_ZERO_TO_ONE); }, true},
        {"texture unit",
         [](const COrrinGLCement& gl) {
             gl.glActiveTexture(GL_TEXTURE1);
             gl.glEnable(GL_TEXTURE_2D);
         },
         true},
        {"array buffer",
         [](const COrrinGLCement& gl) {
             unsigned int buffer = 0;
             gl.glGenBuffers(1, &buffer);
             gl.glBindBuffer(GL_ARRAY_BUFFER, buffer);
             gl.glDeleteBuffers(1, &buffer);
             gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
             gl.glEnableClientState(GL_NORMAL_ARRAY);
             gl.glDisableClientState(GL_NORMAL_ARRAY);
         },
         false},
        {"pixel storage",
         [](const COrrinGLCement& gl) {
             gl.glPixelStorei(GL_PACK_SKIP_PIXELS, 3);
             gl.glPixelStorei(GL_PACK_SKIP_ROWS, 0);
         },
         false},
        {"pixel transfer", [](const COrrinGLCement& gl) { gl.glPixelTransferf(GL_GREEN_SCALE, 0.0F); }, false},
    };
}

/// A frame of the host's: cleared, with a square of the current state.
std::vector<Pixel> FrameOf(COpenGLView& view) {
    view.SetBackgroundColor(RGB(10, 20, 30), true);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddSquare(view, kRed, 20.0);
    AddSquare(view, kGreen, 60.0);
    view.EndArraysAndDisableClientState();
    std::vector<Pixel> pixels(128 * 128 + 8);
    view.ReadPixels(0, 0, 128, 128, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    return pixels;
}

// A host that draws with OpenGL itself forgets to put something back. One call, and frames are right again.
TEST_P(HostsGL, LeavesNothingBehindAReset) {
    LiveView live;
    COpenGLView& view = *live.view;
    view.ReadBuffer(GL_BACK);
    const std::vector<Pixel> expected = FrameOf(view);
    ASSERT_EQ(expected[static_cast<std::size_t>(4) * 128 + 24], kRed);
    const COrrinGLCement& gl = *view.GetContextRecord(GLContextMain).glCement;
    CString report;
    EXPECT_EQ(view.ValidateState(&report), 0) << std::wstring(report.GetString()).size();
    int changedFrames = 0;
    for (const Leftover& leftover : Leftovers()) {
        SCOPED_TRACE(leftover.name);
        leftover.leave(gl);
        EXPECT_EQ(view.ValidateState(&report) > 0, leftover.reported);
        EXPECT_EQ(report.IsEmpty() != FALSE, !leftover.reported);
        changedFrames += FrameOf(view) == expected ? 0 : 1;
        view.ResetGLState();
        EXPECT_EQ(view.ValidateState(&report), 0);
        EXPECT_EQ(std::wstring(report.GetString()), L"");
        EXPECT_TRUE(FrameOf(view) == expected);
        EXPECT_EQ(view.GetError(), 0U);
    }
    EXPECT_GT(changedFrames, 10) << "else this shows nothing";
}

// What the host has set through the view stays.
TEST_P(HostsGL, ResetKeepsTheViewsOwnState) {
    LiveView live;
    COpenGLView& view = *live.view;
    view.Enable(GL_BLEND);
    view.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    view.Enable(GL_DEPTH_TEST);
    view.LineWidth(3.0F);
    view.PointSize(4.0F);
    view.LineStipple(2, 0x0F0F);
    view.Color(1, 2, 3, 4);
    view.Translate(1.0, 2.0, 3.0);
    view.SetUpViewport(1, 2, 100, 50);
    const GLAttributes before = view.GetContextRecord(GLContextMain).attributes;
    view.GetContextRecord(GLContextMain).glCement->glLineWidth(9.0F);
    CString report;
    EXPECT_EQ(view.ValidateState(&report), 1);
    EXPECT_EQ(std::wstring(report.GetString()), L"GL_LINE_WIDTH: OpenGL has 9, the view expects 3\n");
    view.ResetGLState();
    EXPECT_TRUE(view.GetContextRecord(GLContextMain).attributes == before);
    EXPECT_EQ(view.ValidateState(&report), 0) << report.GetLength();
    EXPECT_EQ(view.GetError(), 0U);
    view.MakeNull();
    view.ResetGLState();
    EXPECT_EQ(view.ValidateState(nullptr), 0);
}

// In the middle of drawing: a program in use, points forced, text that waits.
TEST_P(HostsGL, StateIsValidWhileDrawing) {
    LiveView live;
    COpenGLView& view = *live.view;
    CString report;
    for (const GLShaderTypes shader :
         {GLShaderPoint, GLShaderPointSmooth, GLShaderLineStipple, GLShaderTextureBitmap}) {
        view.EnableClientState(true, false, true, false, shader);
        EXPECT_EQ(view.ValidateState(&report), 0) << shader << " " << report.GetLength();
        view.DisableClientState();
    }
    view.ResetGLState();
    ExpectDraws(view, kRed);
}

} // namespace
