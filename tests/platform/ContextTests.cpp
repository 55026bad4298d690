#include "support/ProcessFootprint.h"
#include "support/RecordedFixture.h"

#include <GL/wglext.h>

#include <array>

namespace {

using Contexts = RecordedTest;

struct FormatFault {
    const char* name;
    std::vector<std::pair<const char*, unsigned>> failures; ///< function and number of failing calls
    bool noFormats;
    bool created;
    const wchar_t* noticeBeginning; ///< empty: no box
};

class CreationFaults : public RecordedTest, public testing::WithParamInterface<FormatFault> {};

// Whatever fails while a second view is made, the first goes on drawing and a third can be made.
TEST_P(CreationFaults, LeaveOtherViewsAlone) {
    const FormatFault& test = GetParam();
    LiveView first;
    ASSERT_EQ(first.created, 1);
    for (const auto& [function, count] : test.failures) {
        driver.FailCall(function, 1, count);
    }
    driver.NoPixelFormats(test.noFormats);
    {
        LiveView second;
        EXPECT_EQ(second.created, test.created ? 1 : 0);
        EXPECT_EQ(second->IsOpenGLInitialized(), test.created);
        if (*test.noticeBeginning) {
            EXPECT_EQ(OnlyNotice().text.find(test.noticeBeginning), 0U);
        } else {
            EXPECT_TRUE(notices.shown.empty());
        }
        if (test.created) {
            second.Clear(RGB(4, 5, 6));
            EXPECT_EQ(second.At(1, 1), (Pixel{4, 5, 6, 255}));
        }
        second->MakeNull();
    }
    driver.NoPixelFormats(false);
    for (const auto& [function, count] : test.failures) {
        driver.FailCall(function, 1, 0);
    }
    EXPECT_EQ(first->MakeCurrent(GLContextMain), 1);
    first.Clear(RGB(7, 8, 9));
    EXPECT_EQ(first.At(1, 1), (Pixel{7, 8, 9, 255}));
    LiveView third;
    ASSERT_EQ(third.created, 1);
    third.Clear(RGB(10, 11, 12));
    EXPECT_EQ(third.At(1, 1), (Pixel{10, 11, 12, 255}));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, CreationFaults,
    testing::Values(
        FormatFault{"format_refused_once", {{"wglSetPixelFormat", 1}}, false, true, L""},
        FormatFault{"format_refused_always",
                    {{"wglSetPixelFormat", 10'000}},
                    false,
                    false,
                    L"SetPixelFormat Search Failed:  Format : "},
        FormatFault{"nothing_fits",
                    {{"wglChoosePixelFormatARB", 2}, {"wglSetPixelFormat", 10'000}},
                    false,
                    false,
                    L"wglChoosePixelFormatARB Search Failed:  Draw To Window: 1  hdc: "},
        FormatFault{"choice_fails", {{"wglChoosePixelFormatARB", 2}}, false, true, L""},
        FormatFault{"attributes_refused", {{"wglCreateContextAttribsARB", 1}}, false, true, L""},
        FormatFault{
            "all_contexts_refused", {{"wglCreateContextAttribsARB", 5}, {"wglCreateContext", 5}}, false, false, L""},
        FormatFault{"no_formats", {}, true, false, L"wglChoosePixelFormatARB Search Failed:  Draw To Window: 1  hdc: "},
        FormatFault{"selection_refused_once", {{"wglMakeCurrent", 1}}, false, true, L""}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(Contexts, FirstAttributeContextIsTheMasterThatOthersShareWith) {
    LiveView first;
    driver.StartJournal();
    LiveView second;
    const auto creations = driver.Journal("wglCreateContextAttribsARB");
    ASSERT_EQ(creations.size(), 1U);
    EXPECT_EQ(creations[0].arguments[1],
              reinterpret_cast<std::uint64_t>(first->GetContextRecord(GLContextMain).renderingContext));
    EXPECT_EQ(first->GetMasterContextIndex(), 0);
    EXPECT_EQ(second->GetMasterContextIndex(), 1);
    EXPECT_EQ(COpenGLView::m_gContextCount, 1);
    EXPECT_EQ(driver.CallCount("wglCreateContext"), 1U) << "only the bootstrap makes a plain context";
}

// A host may close its first window while others stay open, and open more.
TEST_F(Contexts, MasterMayGoFirst) {
    auto first = std::make_unique<LiveView>();
    auto second = std::make_unique<LiveView>();
    first.reset();
    EXPECT_EQ((*second)->GetMasterContextIndex(), 0) << "the oldest of the others takes over";
    LiveView third;
    ASSERT_EQ(third.created, 1);
    EXPECT_EQ(driver.CallCount("wglCreateContextAttribsARB"), 3U);
    EXPECT_GT(third->GetMasterContextIndex(), 0);
    second.reset();
    EXPECT_EQ(third->GetMasterContextIndex(), 0);
    third->MakeCurrent(GLContextMain);
    third.Clear(RGB(3, 2, 1));
    EXPECT_EQ(third.At(0, 0), (Pixel{3, 2, 1, 255}));
}

TEST_F(Contexts, WindowKeepsItsFormatAndIsNotAskedTwice) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    const auto before = driver.CallCount("wglChoosePixelFormatARB");
    EXPECT_EQ(live->SetupAdvancedPixelFormatForOpenGL(live.window.DeviceContext(), GLContextMain, true, 32, true, true,
                                                      false),
              1);
    EXPECT_EQ(driver.CallCount("wglChoosePixelFormatARB"), before);
    EXPECT_EQ(live->CheckDCPixelFormat(live.window.DeviceContext(), GLContextMain), 1);
}

TEST_F(Contexts, BestOfEqualFormatsIsTheLowestNumber) {
    const auto format = [](BYTE depthBits, DWORD extraFlags) {
        PIXELFORMATDESCRIPTOR made = {};
        made.nSize = sizeof(made);
        made.nVersion = 1;
        made.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER | extraFlags;
        made.cColorBits = 32;
        made.cDepthBits = depthBits;
        return made;
    };
    driver.SetFormatList({format(16, 0), format(24, PFD_GENERIC_ACCELERATED), format(24, 0), format(24, 0),
                          format(32, PFD_GENERIC_FORMAT)});
    TestWindow window;
    EXPECT_EQ(EnumPixelFormats(window.DeviceContext(), 32, true, AccelerationHardware), 3);
    EXPECT_EQ(EnumPixelFormats(window.DeviceContext(), 32, true, AccelerationSoftware), 5);
    EXPECT_EQ(EnumPixelFormats(window.DeviceContext(), 24, true, AccelerationHardware), 0);
    driver.NoPixelFormats(true);
    EXPECT_EQ(EnumPixelFormats(window.DeviceContext(), 32, true, AccelerationHardware), 0);
}

TEST_F(Contexts, DrawingBeforeAContextCallsNoOpenGL) {
    const auto view = std::make_unique<COpenGLView>();
    const auto before = driver.GLCallCount();
    view->SetBackgroundColor(RGB(1, 2, 3), true);
    view->MatrixMode(GL_PROJECTION);
    view->LoadIdentity();
    view->EnableClientStateInternalBuffers(true, false, true, true, GLShaderTextureDecal);
    view->BeginArrays(GL_LINES, GLShaderLine);
    view->AddIndex2DVertexRGBA(0, 0, 1, 2, 3, 4);
    view->EndArraysAndDisableClientState();
    EXPECT_EQ(driver.GLCallCount(), before);
}

TEST_F(Contexts, OnlyGenericFormatsStillDraw) {
    driver.OnlyGenericFormats(true);
    LiveView live;
    EXPECT_EQ(live.created, 0) << "no hardware format, and no software was asked for";
    EXPECT_EQ(OnlyNotice().text.find(L"wglChoosePixelFormatARB Search Failed:"), 0U);
    EXPECT_EQ(
        live->CreateContext(live.window.DeviceContext(), true, GLContextMain, L"software", 32, AccelerationSoftware),
        1);
    EXPECT_EQ(Version().iMajor, 1);
    EXPECT_EQ(Version().iMinor, 1);
    EXPECT_TRUE(Version().bForceSoftwareRendering);
    EXPECT_EQ(driver.CallCount("wglCreateContextAttribsARB"), 0U);
    live.Clear(RGB(50, 60, 70));
    EXPECT_EQ(live.At(9, 9), (Pixel{50, 60, 70, 255}));
}

TEST_F(Contexts, LostPixelFormatAtSwapIsRepaired) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    const std::uint32_t lost = driver.CurrentContextNumber();
    driver.FailCall("wglSwapBuffers", 1, 1, 2000);
    EXPECT_EQ(live->SwapBuffers(), live->GetContextRecord(GLContextMain).deviceContext);
    EXPECT_NE(live->GetContextRecord(GLContextMain).renderingContext, nullptr);
    EXPECT_NE(driver.CurrentContextNumber(), lost);
    EXPECT_EQ(driver.LiveContexts(), 1U);
    live.DrawInPixels();
    live.Clear(RGB(21, 22, 23));
    EXPECT_EQ(live.At(64, 64), (Pixel{21, 22, 23, 255}));

    driver.FailCall("wglSwapBuffers", 1, 1, ERROR_INVALID_HANDLE);
    const auto creations = driver.CallCount("wglCreateContextAttribsARB");
    live->SwapBuffers();
    EXPECT_EQ(driver.CallCount("wglCreateContextAttribsARB"), creations) << "any other failure is not the format's";
}

TEST_F(Contexts, FailedSelectionIsReportedAndPasses) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    live->MakeNull();
    driver.FailCall("wglMakeCurrent");
    EXPECT_EQ(live->MakeCurrent(GLContextMain), 0);
    EXPECT_TRUE(live->IsMyContextCurrent(GLContextMain));
    EXPECT_EQ(live->MakeCurrent(GLContextMain), 1);
    live.Clear(RGB(31, 32, 33));
    EXPECT_EQ(live.At(64, 64), (Pixel{31, 32, 33, 255}));
}

TEST_F(Contexts, ViewMayOutliveItsWindow) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    live->MakeNull();
    live.window.Destroy();
    EXPECT_EQ(live->DeleteContext(L"window is gone", GLContextMain), 1);
    EXPECT_EQ(live->DeleteContext(L"already deleted", GLContextMain), 1);
    TestWindow other;
    EXPECT_EQ(live->CreateContext(other.DeviceContext(), true, GLContextMain, L"other", 32, AccelerationHardware), 1);
    live.Clear(RGB(41, 42, 43));
    EXPECT_EQ(live.At(64, 64), (Pixel{41, 42, 43, 255}));
    live->DeleteContext(L"before its window", GLContextMain);
}

TEST_F(Contexts, RecreateAlwaysReturnsZeroAndKeepsTheDeviceContext) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    const HDC deviceContext = live->GetContextRecord(GLContextMain).deviceContext;
    EXPECT_EQ(live->RecreateContext(true, deviceContext, L"again"), 0);
    EXPECT_EQ(live->GetContextRecord(GLContextMain).deviceContext, deviceContext);
    EXPECT_EQ(driver.LiveContexts(), 1U);
    live.Clear(RGB(51, 52, 53));
    EXPECT_EQ(live.At(64, 64), (Pixel{51, 52, 53, 255}));
}

// A host with OpenGL of its own brackets the library's work: it must find its context current again, and still own it.
TEST_F(Contexts, ForeignContextIsRestoredAndNotDeleted) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    TestWindow foreignWindow;
    PIXELFORMATDESCRIPTOR request = {};
    request.nSize = sizeof(request);
    request.nVersion = 1;
    request.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    request.cColorBits = 32;
    request.cDepthBits = 24;
    SetPixelFormat(foreignWindow.DeviceContext(), ChoosePixelFormat(foreignWindow.DeviceContext(), &request), &request);
    const HGLRC foreign = wglCreateContext(foreignWindow.DeviceContext());
    ASSERT_NE(foreign, nullptr);
    wglMakeCurrent(foreignWindow.DeviceContext(), foreign);

    const HGLRC own = live->GetContextRecord(GLContextMain).renderingContext;
    live->SaveCurrentAsExitingDCAndGLRC();
    EXPECT_EQ(live->MakeCurrent(GLContextMain), 1);
    live->RestoreAsCurrentExitingDCAndGLRC();
    EXPECT_EQ(wglGetCurrentContext(), foreign);
    EXPECT_EQ(live->GetContextRecord(GLContextMain).renderingContext, own);

    wglMakeCurrent(nullptr, nullptr);
    live->SaveCurrentAsExitingDCAndGLRC();
    live->MakeCurrent(GLContextMain);
    live->RestoreAsCurrentExitingDCAndGLRC();
    EXPECT_EQ(wglGetCurrentContext(), nullptr);
    EXPECT_FALSE(live->IsMyContextCurrent(GLContextMain));
    EXPECT_TRUE(wglDeleteContext(foreign));
}

TEST_F(Contexts, LegacyContextLivesBesideTheMainOne) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    TestWindow second;
    EXPECT_EQ(live->MakeContextCurrent(second.DeviceContext(), true, GLContextLegacy, L"legacy"), 1);
    EXPECT_EQ(live->GetCurrentContextType(), GLContextLegacy);
    live->ReadBuffer(GL_BACK);
    EXPECT_EQ(live->GetContextRecord(GLContextLegacy).attributes.readBuffer, static_cast<unsigned>(GL_FRONT));
    const auto swaps = driver.CallCount("wglSwapBuffers");
    EXPECT_EQ(live->SwapBuffers(), live->GetContextRecord(GLContextLegacy).deviceContext);
    EXPECT_EQ(driver.CallCount("wglSwapBuffers"), swaps);
    EXPECT_EQ(live->MakeCurrent(GLContextMain), 1);
    live.Clear(RGB(61, 62, 63));
    EXPECT_EQ(live.At(64, 64), (Pixel{61, 62, 63, 255}));
}

// Drivers hand out different functions for different contexts; each call has to reach its own.
TEST_F(Contexts, EachContextIsCalledThroughItsOwnFunctions) {
    driver.PerContextFunctions(true);
    LiveView first;
    LiveView second;
    ASSERT_EQ(first.created + second.created, 2);
    EXPECT_NE(first->GetContextRecord(GLContextMain).glCement->glClear,
              second->GetContextRecord(GLContextMain).glCement->glClear);
    for (int round = 0; round < 3; ++round) {
        first->MakeCurrent(GLContextMain);
        first.Clear(RGB(100, 0, round));
        second->MakeCurrent(GLContextMain);
        second.Clear(RGB(0, 100, round));
        first->MakeCurrent(GLContextMain);
        EXPECT_EQ(first.At(5, 5), (Pixel{100, 0, static_cast<unsigned char>(round), 255}));
        second->MakeCurrent(GLContextMain);
        EXPECT_EQ(second.At(5, 5), (Pixel{0, 100, static_cast<unsigned char>(round), 255}));
    }
}

// A GIS session opens and closes windows all day.
TEST_F(Contexts, TwoHundredViewsOneAfterAnotherLeaveNothingBehind) {
    for (int warmUp = 0; warmUp < 5; ++warmUp) {
        LiveView live(64, 64);
    }
    const ProcessFootprint before = ProcessFootprint::Take();
    for (int number = 0; number < 200; ++number) {
        LiveView live(64, 64);
        ASSERT_EQ(live.created, 1) << number;
        live.Clear(RGB(number, 1, 2));
        ASSERT_EQ(live.At(1, 1), (Pixel{static_cast<unsigned char>(number), 1, 2, 255})) << number;
    }
    const ProcessFootprint after = ProcessFootprint::Take();
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.gdiObjects, before.gdiObjects + 4);
    EXPECT_EQ(after.windows, before.windows);
    // A view alone has 1.3 MB, so that a leak of even one in ten would show.
    EXPECT_LE(after.memory, before.memory + 16'000'000);
    EXPECT_EQ(driver.LiveContexts(), 0U) << driver.LeakReport();
    EXPECT_EQ(driver.LiveWindowsWithFormat(), 0U);
}

// Each keeps its own picture. The memory of so many comes back only when it is asked for again, and is not compared.
TEST_F(Contexts, TwoHundredViewsAtOnceDrawEachTheirOwn) {
    constexpr int number = 200;
    ProcessFootprint before;
    for (int round = 0; round < 2; ++round) {
        // What the first round leaves is what the process keeps for the next one.
        before = ProcessFootprint::Take();
        std::vector<std::unique_ptr<LiveView>> open;
        for (int view = 0; view < number; ++view) {
            open.push_back(std::make_unique<LiveView>(64, 64));
            ASSERT_EQ(open.back()->created, 1) << view;
            open.back()->Clear(RGB(view, 1, 2));
        }
        EXPECT_EQ(driver.LiveContexts(), static_cast<std::uint32_t>(number));
        for (int view = 0; view < number; ++view) {
            const LiveView& live = *open[static_cast<std::size_t>(view)];
            ASSERT_EQ(live->MakeCurrent(GLContextMain), 1);
            ASSERT_EQ(live.At(1, 1), (Pixel{static_cast<unsigned char>(view), 1, 2, 255}));
        }
    }
    const ProcessFootprint after = ProcessFootprint::Take();
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.gdiObjects, before.gdiObjects + 4);
    EXPECT_EQ(after.windows, before.windows);
    EXPECT_EQ(driver.LiveContexts(), 0U) << driver.LeakReport();
}

TEST_F(Contexts, TenThousandSwitchesKeepTheViewsApart) {
    LiveView first(32, 32);
    LiveView second(32, 32);
    first->MakeCurrent(GLContextMain);
    first.Clear(RGB(200, 0, 0));
    second->MakeCurrent(GLContextMain);
    second.Clear(RGB(0, 200, 0));
    const ProcessFootprint before = ProcessFootprint::Take();
    for (int round = 0; round < 5000; ++round) {
        ASSERT_EQ(first->MakeCurrent(GLContextMain), 1);
        ASSERT_EQ(first.At(7, 7), (Pixel{200, 0, 0, 255})) << round;
        ASSERT_EQ(second->MakeCurrent(GLContextMain), 1);
        ASSERT_EQ(second.At(7, 7), (Pixel{0, 200, 0, 255})) << round;
    }
    const ProcessFootprint after = ProcessFootprint::Take();
    EXPECT_LE(after.handles, before.handles + 4);
}

} // namespace
