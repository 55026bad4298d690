#include "support/ViewFixture.h"

#include <string>
#include <thread>

namespace {

using ViewLife = FreshProcessTest;

TEST_F(ViewLife, ManagerIndexIsNeverUsedAgain) {
    auto first = std::make_unique<COpenGLView>();
    const auto second = std::make_unique<COpenGLView>();
    EXPECT_EQ(first->GetManagerIndex(), 0);
    EXPECT_EQ(second->GetManagerIndex(), 1);
    first.reset();
    const auto third = std::make_unique<COpenGLView>();
    EXPECT_EQ(third->GetManagerIndex(), 2);
    EXPECT_EQ(COpenGLView::m_gManagerCount, 2);
}

// Only the first view may pay for the bootstrap: it flashes through a hidden window and a context.
TEST_F(ViewLife, OnlyTheFirstViewSettlesTheVersion) {
    DebugOutput output;
    const auto first = std::make_unique<COpenGLView>();
    EXPECT_TRUE(output.Has(L"OpenGL Version Set to: OpenGL 2.0"));
    EXPECT_EQ(output.Count(L"     Video Vendor:  "), 1);
    EXPECT_GT(CFTGLFontManager::m_giDPI, 0);
    output.Clear();
    const auto second = std::make_unique<COpenGLView>();
    EXPECT_EQ(output.Text(), L"");
    EXPECT_TRUE(notices.shown.empty());
}

TEST_F(ViewLife, RecordsStartAtTheirDefaults) {
    const auto view = std::make_unique<COpenGLView>();
    for (const GLRenderingContextTypes type : {GLContextMain, GLContextLegacy}) {
        const GLRenderingContextRecord& record = view->GetContextRecord(type);
        EXPECT_EQ(record.camera.eye, glm::dvec3(0, 0, 1));
        EXPECT_EQ(record.camera.target, glm::dvec3(0));
        EXPECT_EQ(record.camera.up, glm::dvec3(0, 1, 0));
        EXPECT_EQ(record.textScale, 1.0);
        EXPECT_EQ(record.attributes.textTransparency, 255);
        EXPECT_EQ(record.attributes.textureTransparency, 1.0F);
        EXPECT_EQ(record.attributes.light.intensity, 4.0F);
        EXPECT_EQ(record.hardwareAccelerated, type == GLContextMain);
        EXPECT_EQ(record.attributeStack.top, -1);
        EXPECT_NE(record.math, nullptr);
        EXPECT_TRUE(view->IsCurrentGLRenderingContextNull(type));
        EXPECT_FALSE(view->IsMyContextCurrent(type));
    }
    EXPECT_FALSE(view->IsOpenGLInitialized());
    EXPECT_EQ(view->GetMasterContextIndex(), -1);
    EXPECT_NE(view->GetTesselator(), nullptr);
}

TEST_F(ViewLife, LegacyContextIsLegacyUnderEveryVersion) {
    const auto view = std::make_unique<COpenGLView>();
    for (const int major : {1, 2, 3, 4, 5}) {
        EXPECT_EQ(COpenGLView::SetOpenGLVersion(major, 0), major >= 4 ? 1 : 0);
        EXPECT_FALSE(COpenGLView::IsContextOpenGL4OrLater(GLContextLegacy));
        EXPECT_TRUE(COpenGLView::IsContextLegacyOpenGL11(GLContextLegacy));
        EXPECT_EQ(COpenGLView::IsContextOpenGL4OrLater(GLContextMain), major >= 4);
        EXPECT_EQ(COpenGLView::IsContextLegacyOpenGL11(GLContextMain), major < 4);
    }
    COpenGLView::ForceSoftwareRendering(true);
    COpenGLView::ForceSoftwareRendering(false);
    EXPECT_EQ(COpenGLView::m_gsOpenGLVersionData.iMajor, 1);
    EXPECT_EQ(COpenGLView::m_gsOpenGLVersionData.iMinor, 1);
    EXPECT_FALSE(COpenGLView::m_gsOpenGLVersionData.bOpenGL4OrLater);
}

// Without a handler the box is the system's own, modal and closed by its button.
TEST_F(ViewLife, MessageBoxesReachThePersonWhenNobodyAnswersThem) {
    WNDCLASSW taken = {};
    taken.lpfnWndProc = DefWindowProcW;
    taken.hInstance = GetModuleHandleW(nullptr);
    taken.lpszClassName = L"GLCement";
    RegisterClassW(&taken);
    SetMessageBoxHandler(nullptr, nullptr);
    std::wstring shown;
    std::thread person([&shown] {
        for (int attempt = 0; attempt < 200 && shown.empty(); ++attempt) {
            Sleep(50);
            if (const HWND box = FindWindowW(L"#32770", L"Fatal Error")) {
                wchar_t text[256] = {};
                GetDlgItemTextW(box, 0xFFFF, text, 256);
                shown = text;
                PostMessageW(box, WM_COMMAND, IDOK, 0);
            }
        }
    });
    const auto view = std::make_unique<COpenGLView>();
    person.join();
    EXPECT_EQ(shown, L"Couldn't register window class to intialize GLCement");
    UnregisterClassW(L"GLCement", GetModuleHandleW(nullptr));
}

// A host that draws before it has a context must see nothing, not a crash.
TEST_F(ViewLife, DrawingWithoutAContextDoesNothing) {
    const auto view = std::make_unique<COpenGLView>();
    view->SetBackgroundColor(RGB(1, 2, 3), true);
    view->Color(1, 2, 3);
    view->MatrixMode(GL_PROJECTION);
    view->Ortho(0, 1, 0, 1, -1, 1);
    view->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderLine);
    view->BeginArrays(GL_LINES, GLShaderLine);
    view->AddIndex2DVertexRGBA(0, 0, 1, 2, 3, 4);
    view->EndArraysAndDisableClientState();
    view->PopAndMakeNull();
    EXPECT_EQ(view->GetError(), 0U);
    EXPECT_EQ(view->GetContextMaxTextureSize(), 0);
    EXPECT_EQ(view->SwapBuffers(), nullptr);
    EXPECT_EQ(view->GetContextRecord(GLContextMain).backgroundColor, static_cast<COLORREF>(RGB(1, 2, 3)));
    int width = 1;
    int height = 1;
    view->GetWindowDimensions(width, height);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
    view->ShutDownOpenGLContexts(nullptr);
    EXPECT_NE(view->GetTesselator(), nullptr);
}

TEST_F(ViewLife, CopySharesAndReleasesNothing) {
    auto source = std::make_unique<COpenGLView>();
    source->SetEyePoint(GLContextMain, {1, 2, 3});
    GLTesselator* tesselator = source->GetTesselator();
    {
        const auto copy = std::make_unique<COpenGLView>(*source);
        EXPECT_EQ(copy->GetTesselator(), tesselator);
        EXPECT_EQ(copy->GetManagerIndex(), source->GetManagerIndex());
        EXPECT_EQ(COpenGLView::m_gManagerCount, 0);
        EXPECT_TRUE(copy->IsCurrentGLRenderingContextNull(GLContextMain));
        copy->EnterManagerCriticalSection();
        copy->LeaveManagerCriticalSection();

        auto other = std::make_unique<COpenGLView>();
        *copy = *other;
        EXPECT_EQ(copy->GetTesselator(), other->GetTesselator());
        *other = *source;
        EXPECT_EQ(other->GetTesselator(), tesselator);
        *other = *std::as_const(other);
    }
    EXPECT_EQ(source->GetTesselator(), tesselator);
    source->BeginArrays(GL_POINTS, GLShaderPoint);
    source->AddIndex2DVertexRGBA(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(source->GetBatchVertexCount(), 1);
    source->EnterManagerCriticalSection();
    source->LeaveManagerCriticalSection();
}

TEST_F(ViewLife, CopyOfALiveViewLeavesItsContextAlone) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    {
        COpenGLView* copy = new COpenGLView(*live.view);
        copy->ShutDownOpenGLContexts(live.window.Window());
        delete copy;
    }
    live.Clear(RGB(10, 20, 30));
    EXPECT_EQ(live.At(5, 5), (Pixel{10, 20, 30, 255}));
}

TEST_F(ViewLife, InitializedFlagIsTheMainContexts) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    EXPECT_TRUE(live->IsOpenGLInitialized());
    EXPECT_TRUE(live->GetDoubleBufferSetting(GLContextMain));
    EXPECT_TRUE(live->IsMyContextCurrent(GLContextMain));
    int width = 0;
    int height = 0;
    live->GetWindowDimensions(width, height);
    EXPECT_EQ(width, 128);
    EXPECT_EQ(height, 128);
    live->MakeNull();
    EXPECT_FALSE(live->IsMyContextCurrent(GLContextMain));
    EXPECT_TRUE(live->IsOpenGLInitialized());
}

TEST_F(ViewLife, InitializeAgainStartsOver) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    live->Initialize();
    EXPECT_TRUE(live->IsCurrentGLRenderingContextNull(GLContextMain));
    EXPECT_FALSE(live->IsOpenGLInitialized());
    TestWindow window;
    EXPECT_EQ(live->CreateContext(window.DeviceContext(), true, GLContextMain, L"again", 32, AccelerationHardware), 1);
    live.Clear(RGB(9, 8, 7));
    EXPECT_EQ(live.At(1, 1), (Pixel{9, 8, 7, 255}));
}

} // namespace
