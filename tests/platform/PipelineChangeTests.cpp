#include "support/PipelineFixture.h"

#include <functional>

namespace {

/// One process whose contexts draw now with programs, now with fixed functions.
class PipelineChanges : public OnPrograms {};

// The legacy kind reads indices from the view's own arrays, whatever was created last.
TEST_F(PipelineChanges, LegacyKindDraws_WhicheverKindIsMadeFirst) {
    for (const bool legacyFirst : {true, false}) {
        SCOPED_TRACE(legacyFirst ? "legacy first" : "main first");
        const TestWindow window;
        const auto view = std::make_unique<COpenGLView>();
        for (const bool legacy : {legacyFirst, !legacyFirst}) {
            ASSERT_EQ(view->MakeContextCurrent(window.DeviceContext(), true, legacy ? GLContextLegacy : GLContextMain,
                                               L"test"),
                      1);
        }
        for (int turn = 0; turn < 2; ++turn) {
            ASSERT_EQ(view->MakeCurrent(GLContextLegacy), 1);
            ExpectDraws(*view, kRed);
            ASSERT_EQ(view->MakeCurrent(GLContextMain), 1);
            EXPECT_TRUE(view->DrawsWithPrograms());
            ExpectDraws(*view, kGreen);
        }
        view->ShutDownOpenGLContexts(window.Window());
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

TEST_F(PipelineChanges, LegacyKindDraws_AfterTheMainContextWasRecreated) {
    {
        LiveView live;
        ExpectDraws(*live.view, kRed);
        ASSERT_EQ(live->MakeContextCurrent(live.window.DeviceContext(), true, GLContextLegacy, L"legacy"), 1);
        ExpectDraws(*live.view, kGreen);
        live->MakeCurrent(GLContextMain);
        driver.FailCall("wglSwapBuffers", 1, 1, 2000);
        live->SwapBuffers();
        ASSERT_EQ(live->MakeCurrent(GLContextLegacy), 1);
        ExpectDraws(*live.view, kBlue);
        ASSERT_EQ(live->MakeCurrent(GLContextMain), 1);
        EXPECT_TRUE(live->DrawsWithPrograms());
        ExpectDraws(*live.view, kRed);
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

struct Change {
    const char* name;
    std::function<void()> leavePrograms;
};

class PipelineChange : public PipelineChanges, public testing::WithParamInterface<Change> {};

// A host may take the whole process off the programs while windows are open, and put it back.
TEST_P(PipelineChange, LeavesNothingBoundThatTheOtherPathTripsOver) {
    {
        LiveView first;
        LiveView second;
        const auto drawBoth = [&](const Pixel& color) {
            for (LiveView* live : {&first, &second}) {
                ASSERT_EQ((*live)->MakeCurrent(GLContextMain), 1);
                ExpectDraws(*live->view, color);
            }
        };
        drawBoth(kRed);
        // The second has a program and a vertex array in use when the pipeline changes.
        second->BeginArrays(GL_TRIANGLES, GLShaderPointSmooth);
        GetParam().leavePrograms();
        EXPECT_FALSE(first->DrawsWithPrograms());
        drawBoth(kGreen);
        COpenGLView::SetOpenGLVersion(4, 4);
        drawBoth(kBlue);
        GetParam().leavePrograms();
        drawBoth(kRed);
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

INSTANTIATE_TEST_SUITE_P(Ways, PipelineChange,
                         testing::Values(Change{"ForcedSoftware", [] { COpenGLView::ForceSoftwareRendering(true); }},
                                         Change{"OlderVersion", [] { COpenGLView::SetOpenGLVersion(2, 0); }},
                                         Change{"ViewInSoftware",
                                                [] {
                                                    const TestWindow window;
                                                    const auto view = std::make_unique<COpenGLView>();
                                                    EXPECT_EQ(view->CreateContext(window.DeviceContext(), true,
                                                                                  GLContextMain, L"software", 32,
                                                                                  AccelerationSoftware),
                                                              1);
                                                    ExpectDraws(*view, kBlue);
                                                }}),
                         [](const auto& tested) { return std::string(tested.param.name); });

// A context made while the process drew with fixed functions draws with programs as soon as the process does.
TEST_F(PipelineChanges, ContextOfTheOldDays_DrawsWithPrograms) {
    {
        const auto host = std::make_unique<COpenGLView>();
        COpenGLView::SetOpenGLVersion(2, 0);
        LiveView early;
        ExpectDraws(*early.view, kRed);
        COpenGLView::SetOpenGLVersion(4, 4);
        LiveView late;
        ExpectDraws(*late.view, kGreen);
        early->MakeCurrent(GLContextMain);
        ExpectDraws(*early.view, kBlue);
        late->MakeCurrent(GLContextMain);
        ExpectDraws(*late.view, kRed);
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

} // namespace
