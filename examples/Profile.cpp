// Rubber band and profile: drag a line over the map; the other window shows the points beside it from the side.
#include "Picture.h"

#include <OrrinDisplay.h>
#include <windowsx.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr double kSize = 1000.0;
std::unique_ptr<KTR::COpenGLView> g_map, g_profile;
HWND g_mapWindow = nullptr, g_profileWindow = nullptr;
std::vector<KTR::GLDrawGeometry> g_points;

void MakePoints() {
    for (int index = 0; index < 160000; ++index) {
        const double x = kSize * std::rand() / RAND_MAX, y = kSize * std::rand() / RAND_MAX;
        const double z = 60.0 * std::sin(x * 0.008) * std::sin(y * 0.006) + 8.0 * std::sin(x * 0.05);
        const auto red = static_cast<unsigned char>(120.0 + z * 1.8);
        g_points.push_back(
            {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 0, 0, 1, 0, 0, red, 150, 90, 255});
    }
}

bool Open(HWND& window, std::unique_ptr<KTR::COpenGLView>& view, const wchar_t* title, int x) {
    window = CreateWindowW(L"Profile", title, WS_OVERLAPPEDWINDOW, x, 40, 560, 420, nullptr, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
    if (!window || !view->CreateContext(GetDC(window), true, KTR::GLContextMain, title, 0, KTR::AccelerationHardware)) {
        MessageBoxW(nullptr, L"There is no OpenGL to draw with.", L"Profile", MB_ICONERROR);
        return false;
    }
    view->InitializeOpenGL(window);
    view->SetUpViewport(0, 0, 560, 420);
    ShowWindow(window, SW_SHOW);
    return true;
}

void Draw(KTR::COpenGLView& view) {
    view.MakeCurrent(KTR::GLContextMain);
    view.SetBackgroundColor(RGB(24, 26, 30), true);
    view.LoadViewMatrices();
    if (&view == g_map.get()) {
        view.DrawGeometry3D(GL_POINTS, KTR::GLShaderPoint, g_points.data(), g_points.size(), nullptr, 0);
    } else {
        view.DrawProfilePoints();
        view.DrawProfileGrid({});
    }
    view.RedrawOverlays(); // the band over the frame; presents
}

void ShowProfile() {
    PointXY client[2], line[2];
    if (g_map->IsRubberBandActive() && g_map->GetRubberBandPoints(client, 2) == 2) {
        double height = 0.0;
        g_map->Client2RealWorld(client[0].x, client[0].y, line[0].x, line[0].y, height);
        g_map->Client2RealWorld(client[1].x, client[1].y, line[1].x, line[1].y, height);
        // Heights are found, and fill the window.
        if (SUCCEEDED(g_profile->SetUpProfileView(line, 2, 15.0, 0.0, 0.0, 0.0))) {
            g_profile->AddProfilePoints(g_points.data(), g_points.size());
            InvalidateRect(g_profileWindow, nullptr, FALSE);
        }
    }
    g_map->EndRubberBand(true); // the line stays until the map is drawn anew
}

LRESULT CALLBACK HandleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const bool isMap = window == g_mapWindow;
    KTR::COpenGLView* const view = isMap ? g_map.get() : window == g_profileWindow ? g_profile.get() : nullptr;
    switch (view ? message : WM_NULL) {
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED) {
            view->MakeCurrent(KTR::GLContextMain); // of two views one alone is current
            view->SetUpViewport(0, 0, LOWORD(lParam), HIWORD(lParam));
            InvalidateRect(window, nullptr, FALSE);
        }
        return 0;
    case WM_PAINT:
        Draw(*view);
        ValidateRect(window, nullptr);
        return 0;
    case WM_ERASEBKGND:
        return 1; // each frame fills the window
    case WM_LBUTTONDOWN:
        if (isMap) {
            view->BeginRubberBand(KTR::GLRubberBandLine, GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
        }
        return 0;
    case WM_MOUSEMOVE:
        if (isMap) {
            view->MoveRubberBand(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)); // no point of the map is drawn again
        }
        return 0;
    case WM_LBUTTONUP:
        if (isMap) {
            ShowProfile();
        }
        return 0;
    case WM_CLOSE: // of either ends the program; the first view's context, with which the other shares, goes last
        DestroyWindow(g_profileWindow);
        DestroyWindow(g_mapWindow);
        PostQuitMessage(0);
        return 0;
    case WM_DESTROY:
        view->ShutDownOpenGLContexts(window);
        (isMap ? g_map : g_profile).reset();
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
    windowClass.hCursor = LoadCursorW(nullptr, IDC_CROSS);
    windowClass.lpszClassName = L"Profile";
    RegisterClassW(&windowClass);
    g_map = std::make_unique<KTR::COpenGLView>();
    g_profile = std::make_unique<KTR::COpenGLView>();
    PreparePicture(*g_map, argumentCount, arguments);
    if (!Open(g_mapWindow, g_map, L"Map: drag a line", 40) || !Open(g_profileWindow, g_profile, L"Profile", 620)) {
        return 1;
    }
    MakePoints();
    g_map->MakeCurrent(KTR::GLContextMain);
    g_map->SetUpOrthoFromModelExtents(KTR::GLViewOrientationTop, {0, 0, 0}, {kSize, kSize, 0}, 1.0);
    if (argumentCount > 1) {
        UpdateWindow(g_mapWindow); // a band goes over a frame
        SendMessageW(g_mapWindow, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(100, 60));
        SendMessageW(g_mapWindow, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(420, 300));
        SendMessageW(g_mapWindow, WM_LBUTTONUP, 0, MAKELPARAM(420, 300));
        const int result = WritePicture(g_profileWindow, *g_profile, arguments[1]);
        SendMessageW(g_mapWindow, WM_CLOSE, 0, 0);
        return result;
    }
    for (MSG message = {}; GetMessageW(&message, nullptr, 0, 0) > 0;) {
        DispatchMessageW(&message);
    }
    return 0;
}
