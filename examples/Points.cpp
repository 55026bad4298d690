// Points: a galaxy of 200,000 stays on the card and is zoomed with the wheel and dragged with the mouse.
#include "Picture.h"

#include <OrrinDisplay.h>
#include <windowsx.h>

#include <cmath>
#include <memory>

namespace {

std::unique_ptr<KTR::COpenGLView> g_view;
KTR::GLGeometry g_points;
POINT g_mouse{};

/// What is added between BeginGeometry and EndGeometry is uploaded once and drawn in each frame.
bool FillPoints() {
    constexpr int kCount = 200000;
    if (FAILED(g_view->BeginGeometry(g_points))) {
        return false;
    }
    g_view->BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    unsigned int noise = 1;
    const auto random = [&noise] {
        noise = noise * 1664525U + 1013904223U;
        return (noise >> 8U) / 16777216.0;
    };
    for (int index = 0; index < kCount; ++index) {
        const double radius = 500.0 * std::sqrt(random());
        const double arm = index % 2 == 0 ? 0.0 : 3.14159265;
        const double angle = arm + radius / 90.0 + (random() + random() - 1.0) * (0.2 + 60.0 / (radius + 40.0));
        const auto warm = static_cast<unsigned char>(255.0 - radius * 0.25);
        g_view->AddIndex2DVertexRGBA(radius * std::cos(angle), radius * std::sin(angle), warm, 190, 255, 255);
    }
    g_view->EndArrays();
    return SUCCEEDED(g_view->EndGeometry());
}

void Draw() {
    g_view->MakeCurrent(KTR::GLContextMain);
    g_view->SetBackgroundColor(RGB(8, 10, 20), true);
    g_view->LoadViewMatrices();
    g_view->PointSize(1.0F);
    g_view->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderPoint);
    g_view->DrawGeometry(g_points);
    g_view->DisableClientState();
    g_view->SwapBuffers();
}

LRESULT CALLBACK HandleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (!g_view) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    POINT mouse = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    switch (message) {
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED) {
            // The view that is set up follows: middle and scale stay.
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
    case WM_MOUSEMOVE:
        if ((wParam & MK_LBUTTON) != 0) {
            g_view->Pan(mouse.x - g_mouse.x, mouse.y - g_mouse.y);
            InvalidateRect(window, nullptr, FALSE);
        }
        g_mouse = mouse;
        return 0;
    case WM_MOUSEWHEEL:
        ScreenToClient(window, &mouse);
        g_view->ZoomAbout(GET_WHEEL_DELTA_WPARAM(wParam) > 0 ? 1.25 : 0.8, mouse.x, mouse.y);
        InvalidateRect(window, nullptr, FALSE);
        return 0;
    case WM_DESTROY:
        // While the window still exists: GL objects first, then the contexts.
        g_points.Clear();
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
    windowClass.style = CS_OWNDC; // OpenGL keeps drawing through one device context
    windowClass.lpfnWndProc = HandleMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = L"Points";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowW(L"Points", L"Points", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 800, 600,
                                      nullptr, nullptr, windowClass.hInstance, nullptr);
    g_view = std::make_unique<KTR::COpenGLView>();
    PreparePicture(*g_view, argumentCount, arguments);
    if (!window ||
        !g_view->CreateContext(GetDC(window), true, KTR::GLContextMain, L"points", 0, KTR::AccelerationHardware)) {
        MessageBoxW(nullptr, L"There is no OpenGL to draw with.", L"Points", MB_ICONERROR);
        return 1;
    }
    g_view->InitializeOpenGL(window);
    g_view->SetUpViewport(0, 0, 800, 600);
    if (!FillPoints() ||
        FAILED(g_view->SetUpOrthoFromModelExtents(KTR::GLViewOrientationTop, {-400, -400, 0}, {400, 400, 0}, 1.0))) {
        MessageBoxW(window, L"There is no memory for the points.", L"Points", MB_ICONERROR);
        return 1;
    }
    ShowWindow(window, SW_SHOW);
    if (argumentCount > 1) {
        const int result = WritePicture(window, *g_view, arguments[1]);
        DestroyWindow(window);
        return result;
    }
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
