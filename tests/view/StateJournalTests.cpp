#include "support/RecordedFixture.h"

namespace {

/// What the state operations call, on both pipelines.
class StateCalls : public BothPipelinesTest {
protected:
    /// The functions called since StartJournal, each with its first argument.
    std::vector<std::pair<std::string, unsigned int>> Called() {
        driver.StopJournal();
        std::vector<std::pair<std::string, unsigned int>> called;
        for (const DriverCall& call : driver.Journal()) {
            called.emplace_back(call.function, static_cast<unsigned int>(call.arguments.at(0)));
        }
        return called;
    }
};

using Calls = std::vector<std::pair<std::string, unsigned int>>;

// A host draws some things without a program on a 4.x context too; what it sets must be there then.
TEST_P(StateCalls, ThinWrappersReachOpenGLOnEveryContext) {
    View().EnableDisableGLState(GL_LIGHTING, 1);
    const float color[] = {0.1F, 0.2F, 0.3F, 1.0F};
    driver.StartJournal();
    View().ShadeModel(GL_FLAT);
    View().LineStipple(2, 0x0F0F);
    View().TexEnv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    View().Light(GL_LIGHT0, GL_DIFFUSE, color);
    View().SaveLightingState();
    View().EnableDisableGLState(GL_LIGHTING, 0);
    View().RestoreLightingState();
    EXPECT_EQ(Called(), (Calls{{"glShadeModel", GL_FLAT},
                               {"glLineStipple", 2},
                               {"glTexEnvi", GL_TEXTURE_ENV},
                               {"glLightfv", GL_LIGHT0},
                               {"glEnable", GL_LIGHTING}}));
    EXPECT_EQ(View().IsOpenGLStateEnabled(GL_LIGHTING), 1);
}

TEST_P(StateCalls, OpenGLIsAskedForAllThatTheCopyKeeps) {
    GLAttributes attributes;
    driver.StartJournal();
    View().GetCurrentGLAttributes(attributes);
    Calls expected;
    for (const unsigned int capability :
         {GL_BLEND, GL_COLOR_LOGIC_OP, GL_COLOR_MATERIAL, GL_CULL_FACE, GL_DEPTH_TEST, GL_DEPTH_WRITEMASK, GL_LIGHT0,
          GL_LINE_STIPPLE, GL_POINT_SMOOTH, GL_TEXTURE_1D, GL_TEXTURE_2D}) {
        expected.emplace_back("glIsEnabled", capability);
    }
    expected.insert(expected.end(), {{"glGetFloatv", GL_CURRENT_COLOR},
                                     {"glGetFloatv", GL_CURRENT_RASTER_COLOR},
                                     {"glGetDoublev", GL_CURRENT_RASTER_POSITION},
                                     {"glGetFloatv", GL_POINT_SIZE},
                                     {"glGetFloatv", GL_LINE_WIDTH},
                                     {"glGetIntegerv", GL_POLYGON_MODE},
                                     {"glGetIntegerv", GL_MATRIX_MODE},
                                     {"glGetIntegerv", GL_VIEWPORT},
                                     {"glGetIntegerv", GL_LOGIC_OP_MODE},
                                     {"glGetIntegerv", GL_BLEND_SRC_RGB},
                                     {"glGetIntegerv", GL_BLEND_DST_RGB},
                                     {"glGetIntegerv", GL_BLEND_SRC_ALPHA},
                                     {"glGetIntegerv", GL_BLEND_DST_ALPHA},
                                     {"glGetLightfv", GL_LIGHT0}});
    EXPECT_EQ(Called(), expected);
}

// Mesa with a thread of its own answers from what it was told: the colour mode, though the driver behind it has refused
// that and would take the colour matrix for the model-view one, and 0 before it was told a mode.
TEST_P(StateCalls, MatrixModeThatTheDriverOnlySeemsToBeInIsNotBelieved) {
    driver.JournalOnly({"glLoadMatrixd"});
    driver.SetIntegerAnswer(GL_MATRIX_MODE, GL_COLOR);
    View().MatrixMode(GL_COLOR);
    for (const bool hasColorMatrix : {false, true}) {
        driver.SetStringText(GL_EXTENSIONS, hasColorMatrix ? "GL_ARB_imaging" : "GL_ARB_multisample");
        driver.StartJournal();
        View().Translate(5.0, 0.0, 0.0);
        EXPECT_EQ(Called().size(), hasColorMatrix && !GetParam() ? 1U : 0U);
    }
    driver.SetIntegerAnswer(GL_MATRIX_MODE, 0);
    GLAttributes attributes;
    View().GetCurrentGLAttributes(attributes);
    EXPECT_EQ(attributes.matrixMode, static_cast<unsigned int>(GL_MODELVIEW));
}

// Capabilities interact in some drivers, so that their order is part of what a host sees.
TEST_P(StateCalls, StateIsSentAgainInItsOrder) {
    View().Enable(GL_DEPTH_TEST);
    driver.JournalOnly({"glEnable", "glDisable"});
    driver.StartJournal();
    View().LoadCurrentGLState();
    Calls expected;
    for (const unsigned int capability :
         {GL_BLEND, GL_COLOR_LOGIC_OP, GL_DEPTH_TEST, GL_LINE_SMOOTH, GL_SCISSOR_TEST}) {
        expected.emplace_back(capability == GL_DEPTH_TEST ? "glEnable" : "glDisable", capability);
    }
    if (!GetParam()) {
        for (const unsigned int capability : {GL_LINE_STIPPLE, GL_LIGHTING, GL_LIGHT0, GL_LIGHT1, GL_COLOR_MATERIAL,
                                              GL_POINT_SMOOTH, GL_PROGRAM_POINT_SIZE, GL_TEXTURE_2D, GL_TEXTURE_1D}) {
            expected.emplace_back("glDisable", capability);
        }
    }
    EXPECT_EQ(Called(), expected);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, StateCalls, testing::Bool(), PipelineName);

} // namespace
