// A window shared with OpenGL of the host's own: an old engine's glBegin draws the sky through its own context, the
// library draws a tower of points over it through its context. Both keep their state to themselves.
#include "Picture.h"

#include <OrrinDisplay.h>

#include <cmath>
#include <memory>

namespace {

std::unique_ptr<KTR::COpenGLView> g_view;
HDC g_deviceContext = nullptr;
HGLRC g_ownContext = nullptr;

/// The host's engine, which knows nothing of the library.
void DrawSky() {
    glDisable(GL_DEPTH_TEST);
    glBegin(GL_QUADS);
    glColor3ub(90, 140, 200), glVertex2f(-1.0F, 1.0F), glVertex2f(1.0F, 1.0F);
    glColor3ub(235, 225, 205), glVertex2f(1.0F, -1.0F), glVertex2f(-1.0F, -1.0F);
    glEnd();
    glFinish(); // contexts are not kept in order with each other
}

void DrawTower() {
    g_view->LoadViewMatrices();
    g_view->PointSize(3.0F);
    g_view->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderPoint);
    g_view->BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    for (int index = 0; index < 6000; ++index) {
        const double height = index / 60.0;
        const double radius = 18.0 - height * 0.14 + 3.0 * std::sin(height * 0.5);
        const double angle = index * 2.399963;
        const auto shade = static_cast<unsigned char>(110.0 + 60.0 * std::cos(angle));
        g_view->AddIndex3DVertexRGBA(radius * std::cos(angle), radius * std::sin(angle), height, shade, 60, 50, 255);
    }
    g_view->EndArraysAndDisableClientState();
}

void Draw() {
    // The library's context, as it was left; then the host's in between; then the library's again.
    g_view->MakeCurrent(KTR::GLContextMain);
    g_view->SaveCurrentAsExitingDCAndGLRC();
    if (wglMakeCurrent(g_deviceContext, g_ownContext)) {
        DrawSky();
    }
    g_view->RestoreAsCurrentExitingDCAndGLRC();
    g_view->Clear(GL_DEPTH_BUFFER_BIT); // the colours are the sky
    DrawTower();
    g_view->SwapBuffers();
}

LRESULT CALLBACK HandleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (!g_view) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    switch (message) {
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED) {
            // Each context has a viewport of its own.
            if (wglMakeCurrent(g_deviceContext, g_ownContext)) {
                glViewport(0, 0, LOWORD(lParam), HIWORD(lParam));
            }
            g_view->MakeCurrent(KTR::GLContextMain);
            g_view->SetUpViewport(0, 0, LOWORD(lParam), HIWORD(lParam));
            InvalidateRect(window, nullptr, FALSE);
        }
        return 0;
    case WM_PAINT:
        Draw();
        ValidateRect(window, nullptr);
        return 0;
    case WM_ERASEBKGND:
        return 1; // each frame fills the window
    case WM_DESTROY:
        wglDeleteContext(g_ownContext);
        g_view->MakeCurrent(KTR::GLContextMain);
        g_view->ShutDownOpenGLContexts(window);
        g_view.reset();
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    WNDCLASSW windowClass = {};
    windowClass.style = CS_OWNDC;
    windowClass.lpfnWndProc = HandleMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = L"OwnOpenGL";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowW(L"OwnOpenGL", L"Own OpenGL", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                                      800, 600, nullptr, nullptr, windowClass.hInstance, nullptr);
    g_view = std::make_unique<KTR::COpenGLView>();
    PreparePicture(*g_view, argumentCount, arguments);
    if (!window ||
        !g_view->CreateContext(GetDC(window), true, KTR::GLContextMain, L"tower", 0, KTR::AccelerationHardware)) {
        MessageBoxW(nullptr, L"There is no OpenGL to draw with.", L"Own OpenGL", MB_ICONERROR);
        return 1;
    }
    g_view->InitializeOpenGL(window);
    // The library has given the window its pixel format; the host's context takes the same.
    g_deviceContext = GetDC(window);
    g_ownContext = wglCreateContext(g_deviceContext);
    if (!g_ownContext) {
        MessageBoxW(nullptr, L"There is no second context.", L"Own OpenGL", MB_ICONERROR);
        return 1;
    }
    g_view->SetUpViewport(0, 0, 800, 600);
    g_view->SetUpPerspectiveFromModelExtents({-20, -20, 0}, {20, 20, 100}, 200.0, 12.0, 40.0, 1.0);
    g_view->Enable(GL_DEPTH_TEST);
    ShowWindow(window, SW_SHOW);
    if (argumentCount > 1) {
        const int result = WritePicture(window, *g_view, arguments[1]);
        DestroyWindow(window);
        return result;
    }
    for (MSG message = {}; GetMessageW(&message, nullptr, 0, 0) > 0;) {
        DispatchMessageW(&message);
    }
    return 0;
}
