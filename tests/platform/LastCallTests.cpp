#include "support/PipelineFixture.h"
#include "support/ProcessFootprint.h"

#include <optional>

// Views that outlive the program's own end: globals, members of an application object. Each of these tests hangs where
// a lock that is gone is waited for.

namespace {

class AfterTheLastCall : public OnBothPipelines {};
ORRIN_ON_BOTH_PIPELINES(AfterTheLastCall);

TEST_P(AfterTheLastCall, ViewsOfBeforeEndCleanly) {
    {
        LiveView master;
        LiveView other;
        ExpectDraws(*other.view, kRed);
        master->MakeCurrent(GLContextMain);
        ExpectDraws(*master.view, kRed);
        COpenGLView::FinalShutDownDestroyClassCriticalSection();
        ExpectDraws(*master.view, kGreen);
        EXPECT_EQ(CreateMain(*other.view, other.window), 1);
        ExpectDraws(*other.view, kBlue);
    }
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
    EXPECT_EQ(driver.AbandonedObjects(DriverObject::Program), 0U) << "the master deletes them still";
}

TEST_P(AfterTheLastCall, NewViewStartsTheClassAnew) {
    std::optional<LiveView> before(std::in_place);
    ExpectDraws(*before->view, kRed);
    COpenGLView::FinalShutDownDestroyClassCriticalSection();
    {
        LiveView after;
        EXPECT_EQ(after->GetManagerIndex(), 1) << "never used again";
        EXPECT_EQ(after->DrawsWithPrograms(), UsesPrograms());
        ExpectDraws(*after.view, kGreen);
        before.reset();
        after->MakeCurrent(GLContextMain);
        ExpectDraws(*after.view, kBlue);
    }
    EXPECT_EQ(driver.LeakReport(), "");
    EXPECT_LE(driver.CallCount("glLinkProgram"), 13U);
    COpenGLView::FinalShutDownDestroyClassCriticalSection();
    COpenGLView::FinalShutDownDestroyClassCriticalSection(); // nothing is there to delete
}

// A program that loads and unloads the library, or measures the screen anew, must not be short of device contexts one
// day.
TEST_P(AfterTheLastCall, TheScreensDeviceContextIsGivenBack) {
    LiveView live;
    CFTGLFontManager::CalculateScreenDPI();
    const ProcessFootprint before = ProcessFootprint::Take();
    for (int time = 0; time < 5; ++time) {
        CFTGLFontManager::CalculateScreenDPI();
    }
    EXPECT_EQ(ProcessFootprint::Take().gdiObjects, before.gdiObjects);
    // NOTE: Wine keeps a context that was given back for the next one who asks.
    COpenGLView::FinalShutDownDestroyClassCriticalSection();
    const std::size_t givenBack = ProcessFootprint::Take().gdiObjects;
    const HDC screen = GetDC(nullptr);
    EXPECT_EQ(ProcessFootprint::Take().gdiObjects, givenBack);
    ReleaseDC(nullptr, screen);
}

} // namespace
