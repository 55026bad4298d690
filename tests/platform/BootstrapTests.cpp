#include "support/RecordedFixture.h"

namespace {

using Bootstrap = RecordedTest;

struct PolicyCase {
    const char* name;
    const char* text; ///< null: the driver has no version text
    bool openGL4;
    int major, minor;
    int legacyMajor, legacyMinor;
    GLVideoCardVendor vendor;
};

class VersionPolicy : public RecordedTest, public testing::WithParamInterface<PolicyCase> {};

TEST_P(VersionPolicy, SettlesThePipeline) {
    const PolicyCase& test = GetParam();
    driver.SetVersionText(test.text);
    const auto view = std::make_unique<COpenGLView>();
    EXPECT_EQ(Version().bOpenGL4OrLater, test.openGL4);
    EXPECT_EQ(Version().bLegacyOpenGL11, !test.openGL4);
    EXPECT_EQ(Version().iMajor, test.major);
    EXPECT_EQ(Version().iMinor, test.minor);
    EXPECT_EQ(Version().iLegacyMajor, test.legacyMajor);
    EXPECT_EQ(Version().iLegacyMinor, test.legacyMinor);
    EXPECT_EQ(Version().eVendor, test.vendor);
    EXPECT_TRUE(Version().bGLCementInitialized);
    EXPECT_TRUE(Version().bTextureCache);
    EXPECT_TRUE(Version().bAdvancedPixelFormat) << "attribute-based formats serve both pipelines";
    EXPECT_EQ(Version().iMaxVertexAttribs, 16);
    EXPECT_EQ(Version().iMaxTextureSize, 16384);
    EXPECT_STREQ(COpenGLView::m_gVideoVendorString.GetString(), test.text ? test.text : "");
    EXPECT_EQ(COpenGLView::m_gFontManager.GetCurrentFontAtlasMetrics() != nullptr, test.openGL4) << "Arial";
    EXPECT_TRUE(notices.shown.empty());
}

INSTANTIATE_TEST_SUITE_P(Drivers, VersionPolicy,
                         testing::Values(PolicyCase{"nvidia_4_6", "4.6.0 NVIDIA 551.23", true, 4, 4, 2, 0,
                                                    VendorNVIDIA},
                                         PolicyCase{"intel_4_4", "4.4.0 - Build Intel", true, 4, 4, 2, 0, VendorIntel},
                                         PolicyCase{"nvidia_4_3", "4.3.0 NVIDIA", false, 2, 0, 2, 0, VendorNVIDIA},
                                         PolicyCase{"nvidia_3_3", "3.3.0 NVIDIA", false, 2, 0, 2, 0, VendorNVIDIA},
                                         PolicyCase{"ati_4_6", "4.6 ATI", false, 2, 0, 2, 0, VendorATI},
                                         PolicyCase{"nobody_4_6", "4.6.0 - Build 27", false, 2, 0, 2, 0, VendorOther},
                                         PolicyCase{"two_zero", "2.0", false, 1, 1, 1, 1, VendorOther},
                                         PolicyCase{"two_zero_nvidia", "2.0 NVIDIA", false, 2, 0, 1, 1, VendorNVIDIA},
                                         PolicyCase{"one_one", "1.1.0", false, 1, 1, 1, 1, VendorOther},
                                         PolicyCase{"garbage", "none of your business", false, 1, 1, 1, 1, VendorOther},
                                         PolicyCase{"null", nullptr, false, 1, 1, 1, 1, VendorOther}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(Bootstrap, UserMayAskForOpenGL11) {
    driver.SetVersionText(kVersionOfPrograms);
    SetEnvironmentVariableW(L"ORRIN_OPENGL_VERSION", L"11");
    SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", L"0");
    DebugOutput output;
    const auto view = std::make_unique<COpenGLView>();
    SetEnvironmentVariableW(L"ORRIN_OPENGL_VERSION", nullptr);
    SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", nullptr);
    EXPECT_TRUE(Version().bLegacyOpenGL11);
    EXPECT_FALSE(Version().bOpenGL4OrLater);
    EXPECT_FALSE(Version().bTextureCache);
    EXPECT_EQ(output.Count(L"\n\n------------------------\n     OpenGL Version Set to: OpenGL "
                           L"4.4\n------------------------\n\n"),
              1);
    EXPECT_EQ(output.Count(L"OpenGL Version Set to: OpenGL 2.0"), 2);
}

TEST_F(Bootstrap, DriverWithoutKeyFunctionsFallsBack) {
    for (const char* missing : {"glCreateShader", "glMapBufferRange"}) {
        ForgetFirstView();
        driver.Reset();
        driver.SetVersionText(kVersionOfPrograms);
        driver.HideEntryPoint(missing);
        DebugOutput output;
        const auto view = std::make_unique<COpenGLView>();
        EXPECT_FALSE(Version().bOpenGL4OrLater) << missing;
        EXPECT_EQ(Version().iVendorMajor, 2) << missing;
        EXPECT_EQ(Version().iMajor, 2) << missing;
        EXPECT_TRUE(output.Has(L"CRITICAL PROBLEM WITH VENDOR OPENGL: Falling back from version: 2.0 to Version 1.1 "))
            << missing;
    }
}

struct BootstrapFault {
    const char* name;
    const char* function;
    const wchar_t* text;
    bool alsoToDebugger;
};

class BootstrapFaults : public RecordedTest, public testing::WithParamInterface<BootstrapFault> {};

// A machine whose driver refuses for a moment must be told so once, and must work at the next try.
TEST_P(BootstrapFaults, ShowOneBoxAndLeaveTheNextViewWorking) {
    const BootstrapFault& test = GetParam();
    DebugOutput output;
    driver.FailCall(test.function);
    {
        const auto view = std::make_unique<COpenGLView>();
        const NoticeRecord notice = OnlyNotice();
        EXPECT_EQ(notice.text, test.text);
        EXPECT_EQ(notice.caption, L"Fatal Error");
        EXPECT_EQ(notice.type, static_cast<unsigned>(MB_ICONERROR));
        EXPECT_EQ(output.Has(test.text), test.alsoToDebugger);
        EXPECT_TRUE(Version().bLegacyOpenGL11);
        EXPECT_EQ(Version().iMajor, 2);
        EXPECT_EQ(Version().iMinor, 0);
        EXPECT_TRUE(Version().bGLCementInitialized);
        EXPECT_EQ(driver.LiveWindowsWithFormat(), 0U) << "the hidden window is gone";
    }
    notices.shown.clear();
    ForgetFirstView();
    LiveView live;
    ASSERT_EQ(live.created, 1);
    live.Clear(RGB(1, 2, 3));
    EXPECT_EQ(live.At(3, 3), (Pixel{1, 2, 3, 255}));
    EXPECT_TRUE(notices.shown.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Faults, BootstrapFaults,
    testing::Values(BootstrapFault{"choose", "wglChoosePixelFormat",
                                   L"Couldn't Choose a suitable OpenGL Pixel Format to intialize GLCement", false},
                    BootstrapFault{"set", "wglSetPixelFormat",
                                   L"Couldn't Set a suitable OpenGL Pixel Format to intialize GLCement", false},
                    BootstrapFault{"create", "wglCreateContext",
                                   L"Couldn't Create a suitable OpenGL context to intialize GLCement", true}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(Bootstrap, TakenWindowClassIsReportedAndReturnsZero) {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = DefWindowProcW;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = L"GLCement";
    RegisterClassW(&windowClass);
    const auto view = std::make_unique<COpenGLView>();
    EXPECT_EQ(OnlyNotice().text, L"Couldn't register window class to intialize GLCement");
    EXPECT_EQ(view->InitializeGLCement(), 0);
    EXPECT_FALSE(Version().bGLCementInitialized);
    UnregisterClassW(L"GLCement", GetModuleHandleW(nullptr));
    EXPECT_EQ(view->InitializeGLCement(), 1);
}

TEST_F(Bootstrap, LoaderCountsEveryNameOnce) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    const COrrinGLCement* functions = live->GetContextRecord(GLContextMain).glCement;
    ASSERT_NE(functions, nullptr);
    EXPECT_EQ(functions->ullFound + functions->ullNotFound, 603U);
    EXPECT_EQ(functions->ullFound, functions->uFoundByWgl + functions->uFoundByModule);
    EXPECT_GT(functions->uFoundByModule, 0U) << "a driver gives functions of 1.1 only as exports of the module";
    const uint64_t before = functions->ullNotFound;

    driver.HideEntryPoint("glCreateShader");
    EXPECT_EQ(live->MakeGLCementAndLoadIfNeeded(GLContextMain, false), 1);
    EXPECT_NE(functions->glCreateShader, nullptr) << "not forced: the table stays as it is";
    EXPECT_EQ(live->MakeGLCementAndLoadIfNeeded(GLContextMain, true), 1);
    EXPECT_EQ(live->GetContextRecord(GLContextMain).glCement, functions) << "the object is used again";
    EXPECT_EQ(functions->glCreateShader, nullptr);
    EXPECT_EQ(functions->ullNotFound, before + 1);
    EXPECT_EQ(functions->ullFound + functions->ullNotFound, 603U);
    EXPECT_NE(functions->glGetError, nullptr);
}

TEST_F(Bootstrap, NoPointerOfTheBootstrapSurvivesIt) {
    const auto view = std::make_unique<COpenGLView>();
    const COrrinGLCement* functions = view->GetContextRecord(GLContextMain).glCement;
    ASSERT_NE(functions, nullptr);
    EXPECT_EQ(functions->ullFound, 0U);
    EXPECT_EQ(functions->glGetError, nullptr);
    EXPECT_EQ(view->GetError(), 0U);
    EXPECT_NE(COpenGLView::m_gfn_wglCreateContextAttribsARB, nullptr);
}

} // namespace
