#include <OrrinDisplay.h>

#include <cstdio>
#include <memory>

int main() {
    const HWND window =
        CreateWindowW(L"STATIC", L"Consumer", WS_POPUP | WS_VISIBLE, 0, 0, 64, 64, nullptr, nullptr, nullptr, nullptr);
    auto view = std::make_unique<KTR::COpenGLView>();
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
    view->ShutDownOpenGLContexts(window);
    view.reset();
    std::printf("pixel %d %d %d\n", pixel[0], pixel[1], pixel[2]);
    return pixel[0] == 200 && pixel[1] == 100 && pixel[2] == 50 ? 0 : 1;
}
