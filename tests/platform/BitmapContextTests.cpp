#include "support/PipelineFixture.h"

namespace {

/// A memory bitmap whose pixels can be looked at, as a host prints or exports with.
class MemoryBitmap {
public:
    MemoryBitmap() : m_deviceContext(CreateCompatibleDC(nullptr)) {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = kSide;
        info.bmiHeader.biHeight = kSide;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        void* bits = nullptr;
        m_bitmap = CreateDIBSection(m_deviceContext, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        m_pixels = static_cast<const unsigned char*>(bits);
        SelectObject(m_deviceContext, m_bitmap);
    }
    ~MemoryBitmap() {
        DeleteDC(m_deviceContext);
        DeleteObject(m_bitmap);
    }
    MemoryBitmap(const MemoryBitmap&) = delete;
    MemoryBitmap& operator=(const MemoryBitmap&) = delete;

    HDC DeviceContext() const { return m_deviceContext; }
    /// From the lower left.
    Pixel At(int x, int y) const {
        const unsigned char* pixel = m_pixels + 4 * (y * kSide + x);
        return {pixel[2], pixel[1], pixel[0], 255};
    }

    static constexpr int kSide = 64;

private:
    HDC m_deviceContext;
    HBITMAP m_bitmap = nullptr;
    const unsigned char* m_pixels = nullptr;
};

/// A frame with a square in it, drawn into the bitmap whose context is current.
void ExpectDrawsInto(const MemoryBitmap& bitmap, COpenGLView& view, const Pixel& color) {
    EXPECT_EQ(view.GetCurrentContextType(), GLContextLegacy);
    EXPECT_NE(wglGetCurrentContext(), nullptr);
    EXPECT_EQ(wglGetCurrentContext(), view.GetContextRecord(GLContextLegacy).renderingContext);
    CountInPixels(view, MemoryBitmap::kSide, MemoryBitmap::kSide);
    view.SetBackgroundColor(RGB(9, 8, 7), true);
    DrawSquare(view, color);
    view.Finish();
    GdiFlush();
    EXPECT_EQ(bitmap.At(4, 4), color);
    EXPECT_EQ(bitmap.At(12, 4), (Pixel{9, 8, 7, 255}));
    EXPECT_EQ(view.GetError(), 0U);
}

class Bitmaps : public OnBothPipelines {
protected:
    std::uint64_t Creations() const {
        return driver.CallCount("wglCreateContext") + driver.CallCount("wglCreateContextAttribsARB");
    }
};
ORRIN_ON_BOTH_PIPELINES(Bitmaps);

// A host asks for its bitmap before each page, and says main context as for its windows.
TEST_P(Bitmaps, AskedForAgain_AreDrawnByOneContext) {
    const MemoryBitmap bitmap;
    auto view = std::make_unique<COpenGLView>();
    ASSERT_EQ(view->MakeContextCurrent(bitmap.DeviceContext(), false, GLContextMain, L"bitmap"), 1);
    const std::uint64_t creations = Creations();
    for (const Pixel& color : {kRed, kGreen, kBlue}) {
        ASSERT_EQ(view->MakeContextCurrent(bitmap.DeviceContext(), false, GLContextMain, L"bitmap"), 1);
        ExpectDrawsInto(bitmap, *view, color);
        view->MakeNull();
        ASSERT_EQ(view->MakeCurrent(bitmap.DeviceContext(), GLContextMain), 1);
        ExpectDrawsInto(bitmap, *view, color);
    }
    EXPECT_TRUE(view->IsCurrentGLRenderingContextNull(GLContextMain));
    EXPECT_EQ(Creations(), creations);
    EXPECT_EQ(driver.LiveContexts(), 1U);
    view.reset();
    EXPECT_EQ(driver.LeakReport(), "");
}

TEST_P(Bitmaps, ContextThroughTheLoader_HasOneOwner) {
    const MemoryBitmap bitmap;
    auto view = std::make_unique<COpenGLView>();
    ASSERT_EQ(view->SetupAdvancedPixelFormatForOpenGL(bitmap.DeviceContext(), GLContextLegacy, false, 32, false, false,
                                                      false),
              1);
    const auto deletions = driver.CallCount("wglDeleteContext");
    ASSERT_EQ(view->CreateContextThroughGLCement(bitmap.DeviceContext(), GLContextMain), 1);
    EXPECT_TRUE(view->IsCurrentGLRenderingContextNull(GLContextMain));
    ExpectDrawsInto(bitmap, *view, kRed);
    view->DeleteContext(L"there is none", GLContextMain);
    EXPECT_EQ(driver.LiveContexts(), 1U);
    view.reset();
    EXPECT_EQ(driver.CallCount("wglDeleteContext"), deletions + 1);
    EXPECT_EQ(driver.LeakReport(), "");
}

// Printing while the map stays on the screen.
//
// NOTE: Wine draws bitmaps with a Mesa of their own, and each of the two keeps its own record of what is current: the
// window's context, selected again after a bitmap's, would not be selected in truth. Without one in between it is.
TEST_P(Bitmaps, BesideAWindow_BothShowTheirOwn) {
    const MemoryBitmap bitmap;
    {
        LiveView live;
        for (int page = 0; page < 3; ++page) {
            ASSERT_EQ(live->MakeCurrent(GLContextMain), 1);
            EXPECT_EQ(live->DrawsWithPrograms(), UsesPrograms());
            ExpectDraws(*live.view, kRed);
            live->MakeNull();
            ASSERT_EQ(live->MakeContextCurrent(bitmap.DeviceContext(), false, GLContextMain, L"page"), 1);
            EXPECT_FALSE(live->DrawsWithPrograms());
            ExpectDrawsInto(bitmap, *live.view, kGreen);
            live->MakeNull();
        }
        EXPECT_EQ(driver.LiveContexts(), 2U);
        live->MakeCurrent(GLContextMain);
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

} // namespace
