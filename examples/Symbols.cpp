// Many small symbols: 20,000 arrows, each a batch of its own as hosts write them, drawn together by shared draws.
#include "Picture.h"

#include <OrrinDisplay.h>

#include <cmath>
#include <cstdio>
#include <memory>

namespace {

constexpr int kColumns = 200;
constexpr int kRows = 100;
std::unique_ptr<KTR::COpenGLView> g_view;
bool g_shares = true;

/// An arrow of three triangles that points along the wind. Alone, a batch of nine vertices costs more than its
/// vertices.
void DrawArrow(double x, double y, double direction, unsigned char strength) {
    const double ax = 3.6 * std::cos(direction);
    const double ay = 3.6 * std::sin(direction);
    g_view->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderColorPassThrough);
    g_view->BeginArrays(GL_TRIANGLES, KTR::GLShaderColorPassThrough);
    const auto add = [&](double along, double across) {
        g_view->AddIndex2DVertexRGBA(x + along * ax - across * ay, y + along * ay + across * ax, strength, 110,
                                     static_cast<unsigned char>(255 - strength), 255);
    };
    add(1.0, 0.0), add(0.1, 0.45), add(0.1, -0.45);    // the head
    add(0.1, 0.12), add(-1.0, 0.12), add(-1.0, -0.12); // the shaft
    add(0.1, 0.12), add(-1.0, -0.12), add(0.1, -0.12);
    g_view->EndArraysAndDisableClientState();
}

void Draw(HWND window) {
    g_view->MakeCurrent(KTR::GLContextMain);
    g_view->SetBackgroundColor(RGB(252, 251, 246), true);
    g_view->LoadViewMatrices();
    g_view->SetSharedDraws(g_shares);
    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    for (int row = 0; row < kRows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            const double x = column * 8.0;
            const double y = row * 8.0;
            const double direction = std::sin(x * 0.006) * 2.0 + std::cos(y * 0.008) * 2.0;
            DrawArrow(x, y, direction, static_cast<unsigned char>(128.0 + 120.0 * std::sin(x * 0.004 - y * 0.009)));
        }
    }
    g_view->SetSharedDraws(false); // draws what waits
    g_view->Finish();
    QueryPerformanceCounter(&end);
    g_view->SwapBuffers();
    wchar_t title[100];
    std::swprintf(title, 100, L"%d arrows in %.1f ms, draws %ls (press any key)", kColumns * kRows,
                  1000.0 * static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart),
                  g_shares ? L"shared" : L"not shared");
    SetWindowTextW(window, title);
}

LRESULT CALLBACK HandleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (!g_view) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    switch (message) {
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED) {
            g_view->SetUpViewport(0, 0, LOWORD(lParam), HIWORD(lParam));
            InvalidateRect(window, nullptr, FALSE);
        }
        return 0;
    case WM_PAINT:
        Draw(window);
        ValidateRect(window, nullptr);
        return 0;
    case WM_ERASEBKGND:
        return 1; // each frame fills the window
    case WM_KEYDOWN:
        g_shares = !g_shares;
        InvalidateRect(window, nullptr, FALSE);
        return 0;
    case WM_DESTROY:
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
    windowClass.lpszClassName = L"Symbols";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowW(L"Symbols", L"Symbols", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 960,
                                      560, nullptr, nullptr, windowClass.hInstance, nullptr);
    g_view = std::make_unique<KTR::COpenGLView>();
    PreparePicture(*g_view, argumentCount, arguments);
    if (!window ||
        !g_view->CreateContext(GetDC(window), true, KTR::GLContextMain, L"symbols", 0, KTR::AccelerationHardware)) {
        MessageBoxW(nullptr, L"There is no OpenGL to draw with.", L"Symbols", MB_ICONERROR);
        return 1;
    }
    g_view->InitializeOpenGL(window);
    g_view->SetUpViewport(0, 0, 960, 560);
    g_view->SetUpOrthoFromModelExtents(KTR::GLViewOrientationTop, {0, 0, 0}, {kColumns * 8.0, kRows * 8.0, 0}, 1.0);
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
