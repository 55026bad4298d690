#pragma once

#include "DebugOutput.h"
#include "Notices.h"
#include "TestWindow.h"

#include <OrrinDisplay.h>

#include <GL/glext.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using KTR::COpenGLView;
using namespace KTR;

/// Puts the class back to what it is at the load of the library, so that the next view is the process's first.
inline void ForgetFirstView() {
    if (COpenGLView::m_gManagerCount >= 0) {
        COpenGLView::FinalShutDownDestroyClassCriticalSection();
    }
    COpenGLView::m_gManagerCount = -1;
    COpenGLView::m_gContextCount = -1;
    COpenGLView::m_gsOpenGLVersionData = OpenGLVersionData{};
    COpenGLView::m_gVideoVendorString.Empty();
    COpenGLView::m_gfn_wglChoosePixelFormatARB = nullptr;
    COpenGLView::m_gfn_wglCreateContextAttribsARB = nullptr;
    COpenGLView::m_gfn_wglGetPixelFormatAttribivARB = nullptr;
}

/// Lets the library find the shader files of the build tree, which lie in common\Orrin beside the program's folder.
inline void UseBuiltShaders() {
    CString program;
    GetExecutablePath(program);
    SetEnvironmentVariableW(L"CommonProgramFiles", (std::wstring(program) + L"..\\common").c_str());
}

/// Each test's first view is the first of the process, and every message box is answered and kept.
class FreshProcessTest : public testing::Test {
protected:
    FreshProcessTest() {
        ForgetFirstView();
        UseBuiltShaders();
    }
    Notices notices;
};

/// A host that puts the 4.x pipeline in force before it makes contexts.
inline std::unique_ptr<COpenGLView> ChoosePrograms() {
    auto first = std::make_unique<COpenGLView>();
    COpenGLView::SetOpenGLVersion(4, 4);
    return first;
}

/// Names the cases of a test that runs on both pipelines: true is the 4.x one.
inline std::string PipelineName(const testing::TestParamInfo<bool>& test) {
    return test.param ? "Programs" : "FixedFunctions";
}

struct Pixel {
    unsigned char r, g, b, a;
    bool operator==(const Pixel&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const Pixel& pixel) {
    return stream << '(' << int{pixel.r} << ", " << int{pixel.g} << ", " << int{pixel.b} << ", " << int{pixel.a} << ')';
}

inline constexpr Pixel kBlack{0, 0, 0, 255};

/// A view on a window of its own, its main context current, drawing in window pixels.
class LiveView {
public:
    explicit LiveView(int width = 128, int height = 128) : window(width, height), m_width(width), m_height(height) {
        created = view->CreateContext(window.DeviceContext(), true, GLContextMain, L"test", 32, AccelerationHardware);
        if (created == 1) {
            view->InitializeOpenGL(window.Window());
            DrawInPixels();
        }
    }
    ~LiveView() { view->ShutDownOpenGLContexts(window.Window()); }

    COpenGLView* operator->() const { return view.get(); }

    void DrawInPixels() const {
        view->SetUpViewport(0, 0, m_width, m_height);
        view->MatrixMode(GL_PROJECTION);
        view->Ortho(0.0, m_width, 0.0, m_height, -1.0, 1.0);
        view->MatrixMode(GL_MODELVIEW);
        view->LoadIdentity();
    }
    void Clear(COLORREF color = 0) const {
        view->DrawBuffer(GL_BACK);
        view->SetBackgroundColor(color, true);
    }
    /// A pixel of the back buffer, from the lower left.
    Pixel At(int x, int y) const {
        Pixel pixel{};
        view->ReadBuffer(GL_BACK);
        view->ReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
        pixel.a = 255;
        return pixel;
    }
    /// Pixels of the back buffer that are not black.
    int CountDrawn() const {
        std::vector<Pixel> pixels(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height));
        view->ReadBuffer(GL_BACK);
        view->ReadPixels(0, 0, m_width, m_height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        int count = 0;
        for (const Pixel& pixel : pixels) {
            count += pixel.r != 0 || pixel.g != 0 || pixel.b != 0 ? 1 : 0;
        }
        return count;
    }

    TestWindow window;
    std::unique_ptr<COpenGLView> view = std::make_unique<COpenGLView>();
    int created = 0;

private:
    int m_width;
    int m_height;
};
