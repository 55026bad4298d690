#include "support/Picture.h"

namespace {

/// On both pipelines: what the cache says must be what OpenGL does, or hosts that ask the cache draw wrongly.
class State : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    State() {
        if (GetParam()) {
            m_first = ChoosePrograms();
        }
        live = std::make_unique<LiveView>();
    }
    COpenGLView& View() const { return *live->view; }
    const GLAttributes& Cached() const { return View().GetContextRecord(GLContextMain).attributes; }
    /// Compares the cache with OpenGL, in everything that OpenGL is told. A 4.x context is not told the colour.
    void ExpectInStep(const char* when) const {
        SCOPED_TRACE(when);
        GLAttributes reported;
        View().GetCurrentGLAttributes(reported);
        EXPECT_EQ(View().GetError(), static_cast<unsigned>(GL_INVALID_ENUM)) << "of asking for the depth mask";
        for (const unsigned int capability : {GL_BLEND, GL_COLOR_LOGIC_OP, GL_COLOR_MATERIAL, GL_DEPTH_TEST, GL_LIGHT0,
                                              GL_LINE_STIPPLE, GL_TEXTURE_2D}) {
            const auto position = static_cast<std::size_t>(CapabilityFlagPosition(capability));
            EXPECT_EQ(reported.capabilities[position], Cached().capabilities[position]) << std::hex << capability;
        }
        EXPECT_EQ(reported.blendSource, Cached().blendSource);
        EXPECT_EQ(reported.blendDestination, Cached().blendDestination);
        EXPECT_EQ(reported.currentColor, GetParam() ? (GLRGBAColor{255, 255, 255, 255}) : Cached().currentColor);
        EXPECT_EQ(reported.polygonMode, Cached().polygonMode);
        EXPECT_EQ(reported.logicOp, Cached().logicOp);
        EXPECT_EQ(reported.lineWidth, Cached().lineWidth);
        EXPECT_EQ(reported.pointSize, Cached().pointSize);
        EXPECT_EQ(reported.viewport, Cached().viewport);
    }
    std::unique_ptr<LiveView> live;

private:
    std::unique_ptr<COpenGLView> m_first;
};

TEST_P(State, CacheIsInStepAndComesBackFromTheStack) {
    View().Color(10, 20, 30);
    View().Enable(GL_DEPTH_TEST);
    View().LineStippleOnOff(true);
    ExpectInStep("set");
    const GLAttributes before = Cached();
    View().PushAttributes(0, L"");
    View().PushBothMatrices(L"");

    View().Translate(5.0, 0.0, 0.0);
    View().Enable(GL_BLEND);
    View().BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    View().Disable(GL_DEPTH_TEST);
    View().LineStippleOnOff(false);
    View().LineWidth(3.0F);
    View().PointSize(5.0F);
    View().LogicOp(GL_XOR);
    View().PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    View().Color(200, 100, 50, 25);
    View().SetUpViewport(1, 2, 30, 40);
    ExpectInStep("changed");

    View().PopAttributesAndMatrices(L"");
    EXPECT_EQ(Cached(), before);
    EXPECT_EQ(View().GetMatrix(GL_MODELVIEW), glm::dmat4(1.0));
    ExpectInStep("popped");
}

// If only the cache went back to the mode before, the next matrix would land in OpenGL's other one.
TEST_P(State, MatrixModeComesBackToOpenGLToo) {
    View().PushAttributes(0, L"");
    View().MatrixMode(GL_PROJECTION);
    View().PopAttributes(L"");
    View().Translate(7.0, 0.0, 0.0);
    EXPECT_EQ(View().GetMatrix(GL_MODELVIEW)[3][0], 7.0);
    double matrix[16] = {};
    glGetDoublev(GL_MODELVIEW_MATRIX, matrix);
    EXPECT_EQ(matrix[12], GetParam() ? 0.0 : 7.0) << "a 4.x context is sent no matrices";
}

TEST_P(State, SavedDepthAndLightingComeBack) {
    for (const bool on : {true, false}) {
        View().LoadGLState(GL_DEPTH_TEST, on ? 1 : 0);
        View().SaveDepthBufferState();
        View().LoadGLState(GL_DEPTH_TEST, on ? 0 : 1);
        View().RestoreDepthBufferState();
        EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST) != 0, on);
        EXPECT_EQ(View().IsOpenGLStateEnabled(GL_DEPTH_TEST) != 0, on);
    }
    View().EnableDisableGLState(GL_LIGHTING, 1);
    View().SaveLightingState();
    View().DisableLightingState();
    View().RestoreLightingState();
    EXPECT_EQ(View().IsOpenGLStateEnabled(GL_LIGHTING), 1);
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
}

// Hosts turn the light with the scene: its direction is taken to eye coordinates by the matrix of the call.
TEST_P(State, LightIsKeptInEyeCoordinates) {
    const float position[] = {1.0F, 0.0F, 0.0F, 0.0F};
    View().Rotate(90.0, 0.0, 0.0, 1.0);
    View().Light(GL_LIGHT0, GL_POSITION, position);
    EXPECT_NEAR(Cached().light.direction[0], 0.0, 1e-6);
    EXPECT_NEAR(Cached().light.direction[1], 1.0, 1e-6);
    View().Light(GL_LIGHT1, GL_POSITION, position);
    EXPECT_NEAR(Cached().light.direction[1], 1.0, 1e-6) << "only the first light is the programs'";
}

// What the host set last is the texture mode; the matrices that come back with it must not change that.
TEST_P(State, PoppedMatricesLeaveTheRestoredMode) {
    for (const bool byFlags : {false, true}) {
        View().MatrixMode(GL_TEXTURE);
        View().PushAttributes(0, L"");
        View().PushBothMatrices(L"");
        if (byFlags) {
            View().PopMatricesAndAttributes(true, true, true, GL_BACK, L"");
        } else {
            View().PopAttributesAndMatrices(L"");
        }
        EXPECT_EQ(Cached().matrixMode, static_cast<unsigned>(GL_TEXTURE));
        GLint mode = 0;
        glGetIntegerv(GL_MATRIX_MODE, &mode);
        EXPECT_EQ(mode == GL_TEXTURE, !GetParam()) << "a 4.x context is not sent the mode";
    }
}

// What a host draws without a program on a 4.x context looks different with lighting left on.
TEST_P(State, PoppedCapabilitiesAreOpenGLsToo) {
    View().Enable(GL_LIGHTING);
    View().PushAttributes(0, L"");
    View().Disable(GL_LIGHTING);
    View().PopAttributes(L"");
    EXPECT_EQ(View().IsOpenGLStateEnabled(GL_LIGHTING), 1);
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
}

INSTANTIATE_TEST_SUITE_P(Pipelines, State, testing::Bool(), PipelineName);

/// State that a program needs otherwise than the host has set it.
class StateOfPrograms : public FreshProcessTest {
protected:
    StateOfPrograms() { live.Clear(); }
    void Begin(unsigned int mode, GLShaderTypes shader) {
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
        live->BeginArrays(mode, shader);
    }
    void AddPoint() { live->AddIndex2DVertexRGBA(64.0, 64.0, 255, 255, 255, 255); }
    /// Lines whose pixels OpenGL and the program count differently: along the longer axis, and along the line.
    void AddLines() {
        for (int line = 0; line < 12; ++line) {
            live->AddIndex2DVertexRGBA(4.5, 4.5 + line * 3, 255, 255, 0, 255);
            live->AddIndex2DVertexRGBA(120.5 - line * 5, 30.5 + line * 8, 255, 255, 0, 255);
        }
    }
    Picture Taken() { return TakePicture(*live.view, 128, 128); }
    static bool InOpenGL(unsigned int capability) { return glIsEnabled(capability) != 0; }

    std::unique_ptr<COpenGLView> first = ChoosePrograms();
    LiveView live;
};

// The dashes of a boundary would be cut into dots.
TEST_F(StateOfPrograms, LinesAreStippledOnceWhenOpenGLStipplesToo) {
    const struct {
        const char* name;
        void (*before)(COpenGLView& view);
        void (*bound)(COpenGLView& view);
    } cases[] = {
        {"never", [](COpenGLView&) {}, [](COpenGLView&) {}},
        {"before", [](COpenGLView& view) { view.Enable(GL_LINE_STIPPLE); }, [](COpenGLView&) {}},
        {"while bound", [](COpenGLView&) {}, [](COpenGLView& view) { view.LoadGLState(GL_LINE_STIPPLE, 1); }},
        {"popped",
         [](COpenGLView& view) {
             view.Enable(GL_LINE_STIPPLE);
             view.PushAttributes(0, L"");
             view.Disable(GL_LINE_STIPPLE);
         },
         [](COpenGLView& view) { view.PopAttributes(L""); }},
    };
    live->LineStipple(3, 0x0F35);
    Picture wanted;
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const bool asked = &test != &cases[0];
        live->Disable(GL_LINE_STIPPLE);
        live.Clear();
        test.before(*live.view);
        Begin(GL_LINES, GLShaderLineStipple);
        test.bound(*live.view);
        AddLines();
        live->EndArrays();
        EXPECT_EQ(live->IsOpenGLStateEnabled(GL_LINE_STIPPLE), asked ? 1 : 0) << "what the host asked";
        if (asked) {
            EXPECT_EQ(Taken().pixels, wanted.pixels);
        } else {
            wanted = Taken();
            EXPECT_GT(wanted.CountDrawn(), 200);
        }
        // OpenGL has it again for every other program, and for the host's own drawing.
        Begin(GL_LINES, GLShaderLine);
        EXPECT_EQ(InOpenGL(GL_LINE_STIPPLE), asked);
        live->DisableClientState();
        Begin(GL_LINES, GLShaderLineStipple);
        live->DisableClientState();
        EXPECT_EQ(InOpenGL(GL_LINE_STIPPLE), asked);
    }
}

TEST_F(StateOfPrograms, PointsHaveTheirSizeWhateverTheHostAsks) {
    live->PointSize(9.0F);
    const struct {
        const char* name;
        void (*bound)(COpenGLView& view);
        bool asked;
    } cases[] = {
        {"never asked", [](COpenGLView&) {}, false},
        {"disabled", [](COpenGLView& view) { view.Disable(GL_PROGRAM_POINT_SIZE); }, false},
        {"loaded", [](COpenGLView& view) { view.LoadGLState(GL_PROGRAM_POINT_SIZE, 0); }, false},
        {"pushed and popped",
         [](COpenGLView& view) {
             view.PushAttributes(0, L"");
             view.PopAttributes(L"");
         },
         false},
        {"enabled", [](COpenGLView& view) { view.Enable(GL_PROGRAM_POINT_SIZE); }, true},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        live.Clear();
        Begin(GL_POINTS, GLShaderPoint);
        test.bound(*live.view);
        AddPoint();
        live->EndArrays();
        EXPECT_EQ(live.CountDrawn(), 81);
        EXPECT_EQ(live->IsOpenGLStateEnabled(GL_PROGRAM_POINT_SIZE), test.asked ? 1 : 0);
        live->DisableClientState();
        EXPECT_EQ(InOpenGL(GL_PROGRAM_POINT_SIZE), test.asked) << "for the host's own points";
    }
}

} // namespace
