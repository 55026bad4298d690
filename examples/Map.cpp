// A map: a raster of values in colours, parcels over it, and their numbers, which stay upright and readable.
#include "Picture.h"

#include <OrrinDisplay.h>
#include <images/RasterTypes.h>
#include <shapes/ShapeStyles.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int kCells = 128; // of the raster, 8 units each
constexpr double kSize = 1024.0;
std::unique_ptr<KTR::COpenGLView> g_view;
unsigned int g_texture = 0, g_sampler = 0, g_letters = 0;

bool LoadRaster() {
    std::vector<float> heights;
    for (int cell = 0; cell < kCells * kCells; ++cell) {
        heights.push_back(static_cast<float>(std::sin(cell % kCells * 0.07) * std::cos(cell / kCells * 0.05)));
    }
    KTR::GLDataStyle style;
    style.low = -1.0;
    style.stops = {{0.0, {60, 110, 150, 255}}, {0.4, {120, 160, 110, 255}}, {1.0, {225, 205, 160, 255}}};
    return SUCCEEDED(
        g_view->LoadDataRaster(GL_FLOAT, kCells, kCells, 1, GL_LINEAR, heights.data(), style, g_texture, g_sampler));
}

/// On the 4.x pipeline this font becomes the current one; on the other its letters become display lists.
bool LoadLetters(HWND window) {
    const HFONT font = CreateFontW(-13, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_TT_PRECIS,
                                   CLIP_DEFAULT_PRECIS, NONANTIALIASED_QUALITY, DEFAULT_PITCH, L"Arial");
    const HDC deviceContext = GetDC(window);
    const long result = g_view->RefreshRasterFont(deviceContext, g_letters, font, RGB(255, 255, 255));
    ReleaseDC(window, deviceContext);
    DeleteObject(font);
    return SUCCEEDED(result);
}

void DrawParcels() {
    KTR::GLPolygonStyle style;
    style.opacity = 0.35;
    style.outline.emplace();
    style.outline->width = 1.5;
    style.outline->color = GLRGBAColor{250, 250, 240, 255};
    g_view->BeginShapes();
    for (int index = 0; index < 12; ++index) {
        const double x = 80.0 + index % 4 * 220.0;
        const double y = 120.0 + std::floor(index / 4) * 270.0;
        style.fillColor = GLRGBAColor{static_cast<unsigned char>(90 + index * 12), 120, 90, 255};
        g_view->DrawPolygon({{{x, y, 0}, {x + 190, y + 15, 0}, {x + 180, y + 235, 0}, {x + 20, y + 220, 0}}}, style);
    }
    g_view->EndShapes();
    g_view->Color(20, 24, 20, 255);
    for (int index = 0; index < 12; ++index) {
        char number[16];
        std::snprintf(number, sizeof(number), "%d/%d", 4711 + index, index % 3 + 1);
        // The place is in units of the map, the letters are as many pixels high at any scale.
        g_view->DrawRasterText(g_letters, number, 130.0 + index % 4 * 220.0, 220.0 + std::floor(index / 4) * 270.0,
                               0.0);
    }
}

void Draw() {
    g_view->MakeCurrent(KTR::GLContextMain);
    g_view->SetBackgroundColor(RGB(240, 240, 235), true);
    g_view->LoadViewMatrices();
    const PointXYZ corners[] = {{0, 0, 0}, {kSize, 0, 0}, {kSize, kSize, 0}, {0, kSize, 0}};
    g_view->DrawTexturedQuadrilateral(g_texture, g_sampler, corners, nullptr);
    DrawParcels();
    g_view->SwapBuffers();
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
        Draw();
        ValidateRect(window, nullptr);
        return 0;
    case WM_ERASEBKGND:
        return 1;    // each frame fills the window
    case WM_KEYDOWN: // any letter comes closer, Shift goes farther away
        g_view->ZoomAbout(wParam == VK_SHIFT ? 0.8 : 1.25, 400.0, 300.0);
        InvalidateRect(window, nullptr, FALSE);
        return 0;
    case WM_DESTROY:
        g_view->DeleteTextureAndSamplerNames(g_texture, g_sampler);
        g_view->DeleteFont(g_letters);
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
    windowClass.lpszClassName = L"Map";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowW(L"Map", L"Map", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 800, 600,
                                      nullptr, nullptr, windowClass.hInstance, nullptr);
    g_view = std::make_unique<KTR::COpenGLView>();
    PreparePicture(*g_view, argumentCount, arguments);
    if (!window ||
        !g_view->CreateContext(GetDC(window), true, KTR::GLContextMain, L"map", 0, KTR::AccelerationHardware)) {
        MessageBoxW(nullptr, L"There is no OpenGL to draw with.", L"Map", MB_ICONERROR);
        return 1;
    }
    g_view->InitializeOpenGL(window);
    g_view->SetUpViewport(0, 0, 800, 600);
    g_view->SetUpOrthoFromModelExtents(KTR::GLViewOrientationTop, {0, 0, 0}, {kSize, kSize, 0}, 1.0);
    if (!LoadRaster() || !LoadLetters(window)) {
        MessageBoxW(window, L"The map could not be loaded.", L"Map", MB_ICONERROR);
        return 1;
    }
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
