#include <OrrinDisplay.h>

#include <cstdio>
#include <memory>

// A host of a few lines: it draws a point on the pipeline that the library chooses, and then on the 4.x one.

namespace {

bool DrawPoint(bool withPrograms) {
    const HWND window =
        CreateWindowW(L"STATIC", L"Consumer", WS_POPUP | WS_VISIBLE, 0, 0, 64, 64, nullptr, nullptr, nullptr, nullptr);
    auto view = std::make_unique<KTR::COpenGLView>();
    if (withPrograms) {
        KTR::COpenGLView::SetOpenGLVersion(4, 4);
        view->InitializeFontManager();
    }
    view->CreateContext(GetDC(window), true, KTR::GLContextMain, L"Consumer", 0, KTR::AccelerationHardware);
    view->InitializeOpenGL(window);
    view->SetBackgroundColor(RGB(10, 20, 30), true);
    view->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderPoint);
    view->BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    view->AddIndex2DVertexRGBA(0.0, 0.0, 200, 100, 50, 255); // the middle of the window: no matrix was set
    view->EndArraysAndDisableClientState();
    unsigned char pixel[4] = {};
    view->ReadPixels(32, 32, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    view->SwapBuffers();
    const bool programs = view->DrawsWithPrograms();
    view->ShutDownOpenGLContexts(window);
    view.reset();
    DestroyWindow(window);
    std::printf("pixel %d %d %d on the %s pipeline\n", pixel[0], pixel[1], pixel[2], programs ? "4.x" : "1.1");
    return pixel[0] == 200 && pixel[1] == 100 && pixel[2] == 50 && (programs || !withPrograms);
}

} // namespace

int main() {
    return DrawPoint(false) && DrawPoint(true) ? 0 : 1;
}
