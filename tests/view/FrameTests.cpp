#include "support/ViewFixture.h"

namespace {

using Frame = FreshProcessTest;

TEST_F(Frame, BackgroundFillsTheWindow) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    live.Clear(RGB(200, 100, 50));
    EXPECT_EQ(live.At(0, 0), (Pixel{200, 100, 50, 255}));
    EXPECT_EQ(live.At(127, 127), (Pixel{200, 100, 50, 255}));
    live->SetBackgroundColor(RGB(1, 1, 1), false);
    EXPECT_EQ(live.At(64, 64), (Pixel{200, 100, 50, 255}));
    live->Clear(GL_COLOR_BUFFER_BIT);
    EXPECT_EQ(live.At(64, 64), (Pixel{1, 1, 1, 255}));
    EXPECT_EQ(live->SwapBuffers(), live->GetContextRecord(GLContextMain).deviceContext);
}

TEST_F(Frame, ColorSetsWhatTheBatchAndOpenGLUse) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    live->SetCurrentColor(1, 2, 3, 4, true);
    EXPECT_TRUE(live->GetContextRecord(GLContextMain).attributes.currentColorFlag);
    live->Color(10, 20, 30);
    EXPECT_EQ(live->GetCurrentColor(), (GLRGBAColor{10, 20, 30, 255}));
    EXPECT_FALSE(live->GetContextRecord(GLContextMain).attributes.currentColorFlag);
    float color[4] = {};
    live->GetContextRecord(GLContextMain).glCement->glGetFloatv(GL_CURRENT_COLOR, color);
    EXPECT_NEAR(color[1] * 255, 20, 0.01);
}

TEST_F(Frame, ErrorsAreOpenGLsAndTheirTextsAreGLUs) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    while (live->GetError() != GL_NO_ERROR) {
    }
    live->Enable(0xFFFF);
    EXPECT_EQ(live->GetError(), static_cast<unsigned>(GL_INVALID_ENUM));
    EXPECT_EQ(live->GetError(), static_cast<unsigned>(GL_NO_ERROR));
    EXPECT_STREQ(reinterpret_cast<const char*>(live->ErrorString(GL_INVALID_ENUM)), "invalid enumerant");
}

TEST_F(Frame, MemoryBitmapIsDrawnByTheLegacyContext) {
    const HDC memory = CreateCompatibleDC(nullptr);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = 64;
    info.bmiHeader.biHeight = 64;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    SelectObject(memory, bitmap);
    {
        const auto view = std::make_unique<COpenGLView>();
        ASSERT_EQ(view->CreateContext(memory, false, GLContextMain, L"bitmap", 32, AccelerationHardware), 1);
        EXPECT_EQ(view->GetCurrentContextType(), GLContextLegacy);
        EXPECT_TRUE(view->IsCurrentGLRenderingContextNull(GLContextMain));
        EXPECT_EQ(view->MakeCurrent(memory, view->GetContextRecord(GLContextLegacy).renderingContext, GLContextMain),
                  1);
        EXPECT_EQ(view->GetCurrentContextType(), GLContextLegacy);
        view->SetBackgroundColor(RGB(11, 22, 33), true);
        view->Finish();
        GdiFlush();
        EXPECT_EQ(view->GetError(), 0U);
        EXPECT_EQ(static_cast<unsigned char*>(bits)[0], 33);
        EXPECT_EQ(static_cast<unsigned char*>(bits)[1], 22);
        EXPECT_EQ(static_cast<unsigned char*>(bits)[2], 11);
    }
    DeleteDC(memory);
    DeleteObject(bitmap);
}

} // namespace
