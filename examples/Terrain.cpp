// Terrain in perspective, lit by a sun: the left button leads the eye around the hills, the right one drags them, the
// wheel comes closer.
#include "Picture.h"

#include <OrrinDisplay.h>
#include <windowsx.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr int kSide = 200; // grid points in a row and in a column
std::unique_ptr<KTR::COpenGLView> g_view;
std::vector<KTR::GLDrawGeometry> g_records;
std::vector<unsigned int> g_indices;
POINT g_mouse{};

void MakeHills() {
    for (int row = 0; row < kSide; ++row) {
        for (int column = 0; column < kSide; ++column) {
            const double x = column * 10.0;
            const double y = row * 10.0;
            const double z = 90.0 * std::sin(x * 0.004) * std::cos(y * 0.005) + 30.0 * std::sin(x * 0.017 + y * 0.011) +
                             8.0 * std::sin(y * 0.06) * std::sin(x * 0.05);
            KTR::GLDrawGeometry record{};
            record.x = static_cast<float>(x);
            record.y = static_cast<float>(y);
            record.z = static_cast<float>(z);
            record.r = static_cast<unsigned char>(z > 40.0 ? 205 : 120 + z);
            record.g = static_cast<unsigned char>(z > 40.0 ? 200 : 150);
            record.b = static_cast<unsigned char>(z > 40.0 ? 190 : 90);
            record.a = 255;
            g_records.push_back(record);
        }
    }
    KTR::MakeGridNormals(g_records.data(), kSide, kSide);
    g_indices.resize(KTR::MakeGridTriangles(g_records.data(), kSide, kSide, nullptr));
    KTR::MakeGridTriangles(g_records.data(), kSide, kSide, g_indices.data());
}

void Draw() {
    g_view->MakeCurrent(KTR::GLContextMain);
    g_view->SetBackgroundColor(RGB(170, 195, 215), true);
    g_view->LoadViewMatrices();
    g_view->Enable(GL_DEPTH_TEST);
    g_view->SetSun(300.0, 35.0);
    // Neither EnableClientState nor a batch: this takes records as they are, lit on both pipelines.
    g_view->DrawGeometry3D(GL_TRIANGLES, KTR::GLShaderShadedColor3Stage, g_records.data(), g_records.size(),
                           g_indices.data(), g_indices.size());
    g_view->SwapBuffers();
}

void Drag(HWND window, WPARAM buttons, POINT mouse) {
    const int right = mouse.x - g_mouse.x;
    const int down = mouse.y - g_mouse.y;
    g_mouse = mouse;
    if ((buttons & MK_LBUTTON) != 0) {
        g_view->OrbitBy(right * 0.4, down * 0.4);
    } else if ((buttons & MK_RBUTTON) != 0) {
        g_view->Pan(right, down);
    } else {
        return;
    }
    InvalidateRect(window, nullptr, FALSE);
}

LRESULT CALLBACK HandleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (!g_view) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    POINT mouse = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    switch (message) {
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED) {
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
    case WM_LBUTTONDOWN:
        // The eye turns about what was clicked; a click into the sky leaves the target where it was.
        g_view->MakeCurrent(KTR::GLContextMain);
        g_view->SetTargetFromScene(mouse.x, mouse.y);
        return 0;
    case WM_MOUSEMOVE:
        Drag(window, wParam, mouse);
        return 0;
    case WM_MOUSEWHEEL:
        ScreenToClient(window, &mouse);
        g_view->ZoomAbout(GET_WHEEL_DELTA_WPARAM(wParam) > 0 ? 1.25 : 0.8, mouse.x, mouse.y);
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
    windowClass.style = CS_OWNDC;
    windowClass.lpfnWndProc = HandleMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = L"Terrain";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowW(L"Terrain", L"Terrain", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 800,
                                      600, nullptr, nullptr, windowClass.hInstance, nullptr);
    g_view = std::make_unique<KTR::COpenGLView>();
    PreparePicture(*g_view, argumentCount, arguments);
    if (!window ||
        !g_view->CreateContext(GetDC(window), true, KTR::GLContextMain, L"terrain", 0, KTR::AccelerationHardware)) {
        MessageBoxW(nullptr, L"There is no OpenGL to draw with.", L"Terrain", MB_ICONERROR);
        return 1;
    }
    g_view->InitializeOpenGL(window);
    g_view->SetUpViewport(0, 0, 800, 600);
    MakeHills();
    // The box, from the south-east and 25 degrees above the horizon, with heights twice as large.
    g_view->SetUpPerspectiveFromModelExtents({0, 0, -128}, {1990, 1990, 128}, 150.0, 25.0, 45.0, 2.0);
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
