#include "program/WindowContext.h"

#include "support/RecordedFixture.h"

namespace {

using OrrinViewer::CreateWindowContext;

/// A machine's formats, as the viewer meets them: of a graphics driver, of software that has the driver's functions,
/// and of a remote desktop, which has none of them.
struct Desktop {
    const char* name;
    bool hasDriver;
    bool hasFunctions;
};

class WindowContexts : public RecordedTest, public testing::WithParamInterface<Desktop> {};

INSTANTIATE_TEST_SUITE_P(Desktops, WindowContexts,
                         testing::Values(Desktop{"driver", true, true}, Desktop{"software", false, true},
                                         Desktop{"remote", false, false}),
                         [](const auto& tested) { return std::string(tested.param.name); });

// A person in front of a remote desktop sees the map, and no message box before it.
TEST_P(WindowContexts, AreMadeWithWhatTheDesktopHas) {
    driver.OnlyGenericFormats(!GetParam().hasDriver);
    driver.SetVersionText(GetParam().hasDriver ? kVersionOfPrograms : "1.1.0");
    for (const char* const function : {"wglChoosePixelFormatARB", "wglCreateContextAttribsARB"}) {
        driver.HideEntryPoint(function, !GetParam().hasFunctions);
    }
    TestWindow windows[2] = {TestWindow(64, 64), TestWindow(64, 64)};
    std::unique_ptr<COpenGLView> views[2];
    for (int index = 0; index < 2; ++index) {
        views[index] = std::make_unique<COpenGLView>();
        ASSERT_TRUE(CreateWindowContext(*views[index], windows[index].Window(), L"map"));
    }
    EXPECT_TRUE(notices.shown.empty());
    EXPECT_EQ(Version().bForceSoftwareRendering, !GetParam().hasDriver);
    for (int index = 0; index < 2; ++index) {
        COpenGLView& view = *views[index];
        view.MakeCurrent(GLContextMain);
        EXPECT_EQ(view.DrawsWithPrograms(), GetParam().hasDriver);
        view.DrawBuffer(GL_BACK);
        view.SetBackgroundColor(RGB(20, 30, 40), true);
        Pixel pixel{};
        view.ReadBuffer(GL_BACK);
        view.ReadPixels(9, 9, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
        pixel.a = 255;
        EXPECT_EQ(pixel, (Pixel{20, 30, 40, 255}));
    }
    for (int index = 0; index < 2; ++index) {
        views[index]->ShutDownOpenGLContexts(windows[index].Window());
    }
}

TEST_F(RecordedTest, WithoutAnyFormatThereIsNoWindowContext) {
    driver.NoPixelFormats(true);
    TestWindow window;
    const auto view = std::make_unique<COpenGLView>();
    EXPECT_FALSE(CreateWindowContext(*view, window.Window(), L"none"));
}

} // namespace
