// The library's sources linked into this program, where malloc can be made to fail.

#include "support/ViewFixture.h"

#include <cstddef>

namespace {

std::size_t g_failingSize = 0;
int g_failures = 0;

/// Fails every allocation of one size while it lives.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t size) {
        g_failures = 0;
        g_failingSize = size;
    }
    ~FailingAllocation() { g_failingSize = 0; }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    int Failures() const { return g_failures; }
};

using Allocation = FreshProcessTest;

TEST_F(Allocation, ViewWithoutItsMathTellsSoAndDrawsOn) {
    std::unique_ptr<COpenGLView> view;
    {
        const FailingAllocation failing(sizeof(COpenGLMath));
        view = std::make_unique<COpenGLView>();
        EXPECT_EQ(failing.Failures(), 2);
    }
    ASSERT_EQ(notices.shown.size(), 2U) << "one for each context";
    EXPECT_EQ(notices.shown[0].text, L"Out of Memory. Unable to create new OpenGL Math object.  Fatal Error");
    EXPECT_EQ(view->GetContextRecord(GLContextMain).math, nullptr);
    view->MatrixMode(GL_MODELVIEW);
    view->LoadIdentity();
    view->Translate(1.0, 2.0, 3.0);
    view->SetEyePoint(GLContextMain, {1, 2, 3});
    EXPECT_EQ(view->GetContextRecord(GLContextMain).eye, glm::dvec3(1, 2, 3));
}

TEST_F(Allocation, ContextWithoutItsFunctionsDrawsNothingAndCrashesNothing) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    live->DeleteContext(L"again", GLContextMain);
    TestWindow window;
    {
        const FailingAllocation failing(sizeof(COrrinGLCement));
        live->CreateContext(window.DeviceContext(), true, GLContextMain, L"test", 32, AccelerationHardware);
        EXPECT_GE(failing.Failures(), 1);
        EXPECT_EQ(live->MakeGLCementAndLoad(GLContextMain), 0);
    }
    EXPECT_EQ(live->GetContextRecord(GLContextMain).glCement, nullptr);
    live->SetBackgroundColor(RGB(1, 2, 3), true);
    EXPECT_EQ(live->GetError(), 0U);
    EXPECT_EQ(live->MakeGLCementAndLoad(GLContextMain), 1) << "once there is memory, the same context draws";
    live.Clear(RGB(7, 8, 9));
    EXPECT_EQ(live.At(3, 3), (Pixel{7, 8, 9, 255}));
    live->DeleteContext(L"before its window", GLContextMain);
}

TEST_F(Allocation, ViewWithoutATesselatorLivesAndDies) {
    std::unique_ptr<COpenGLView> view;
    {
        const FailingAllocation failing(sizeof(GLTesselator));
        view = std::make_unique<COpenGLView>();
        EXPECT_GE(failing.Failures(), 1);
    }
    EXPECT_EQ(view->GetTesselator(), nullptr);
    TestWindow window;
    view->ShutDownOpenGLContexts(window.Window());
}

} // namespace

extern "C" void* __real_malloc(std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size) {
    if (size != 0 && size == g_failingSize) {
        ++g_failures;
        return nullptr;
    }
    return __real_malloc(size);
}
