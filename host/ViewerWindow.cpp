#include "ViewerWindow.h"

#include "Screenshot.h"

#include <windowsx.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cwchar>
#include <iterator>
#include <vector>

namespace OrrinViewer {

namespace {

constexpr wchar_t g_windowClass[] = L"OrrinViewer";
constexpr double g_zoomPerNotch = 1.25;
constexpr double g_panPixels = 60.0;

double FindMedian(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

ViewerWindow::~ViewerWindow() {
    if (m_view) {
        // In this order: GL objects while the window exists, then the contexts, then the window.
        if (m_ready) {
            m_scene.ReleaseGLObjects(*m_view);
        }
        m_view->ShutDownOpenGLContexts(m_window);
        m_view.reset();
        KTR::COpenGLView::FinalShutDownDestroyClassCriticalSection();
    }
    if (m_window) {
        SetWindowLongPtrW(m_window, GWLP_USERDATA, 0);
        DestroyWindow(m_window);
    }
}

bool ViewerWindow::Open(const ViewerOptions& options) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_OWNDC; // OpenGL keeps drawing through one device context
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = g_windowClass;
    RegisterClassExW(&windowClass);

    RECT frame = {0, 0, options.widthPixels, options.heightPixels};
    AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
    m_window = CreateWindowExW(0, g_windowClass, L"OrrinViewer", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                               frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                               GetModuleHandleW(nullptr), this);
    if (!m_window) {
        return false;
    }
    // The first view of the process settles the pipeline; a host that wants another says so before it creates contexts.
    m_view = std::make_unique<KTR::COpenGLView>();
    if (options.pipeline == Pipeline::Legacy) {
        KTR::COpenGLView::SetOpenGLVersion(2, 0);
    } else if (options.pipeline == Pipeline::OpenGL4) {
        KTR::COpenGLView::SetOpenGLVersion(4, 4);
    }
    ShowWindow(m_window, SW_SHOW);
    if (!m_view->CreateContext(GetDC(m_window), true, KTR::GLContextMain, L"OrrinViewer", 0,
                               KTR::AccelerationHardware)) {
        return false;
    }
    m_view->InitializeOpenGL(m_window);
    m_ready = true;
    int width = 0;
    int height = 0;
    m_view->GetWindowDimensions(width, height);
    m_navigator.Resize(width, height);
    m_orbit.Resize(width, height);
    m_camera = options.camera;
    ShowEverything();
    UpdateTitle();
    return true;
}

void ViewerWindow::Run(const ViewerOptions& options) {
    MSG message = {};
    std::vector<double> frameMilliseconds;
    for (int frame = 1; frame <= options.frames; ++frame) {
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
        frameMilliseconds.push_back(DrawScene());
        if (frame == options.frames && !options.screenshot.empty()) {
            SaveScreenshot(*m_view, m_navigator.Width(), m_navigator.Height(), options.screenshot);
        }
        m_view->SwapBuffers();
    }
    if (options.frames > 1) {
        std::printf("%zu points per frame, %.2f ms per frame (median of %d)\n", m_scene.CountPoints(),
                    FindMedian(frameMilliseconds), options.frames);
    }
    if (options.frames > 0) {
        return;
    }
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

LRESULT CALLBACK ViewerWindow::WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        auto* viewer = static_cast<ViewerWindow*>(creation->lpCreateParams);
        viewer->m_window = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(viewer));
    }
    auto* viewer = reinterpret_cast<ViewerWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return viewer ? viewer->HandleMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT ViewerWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SIZE:
        m_navigator.Resize(LOWORD(lParam), HIWORD(lParam));
        m_orbit.Resize(LOWORD(lParam), HIWORD(lParam));
        Redraw();
        return 0;
    case WM_PAINT:
        DrawFrame();
        ValidateRect(m_window, nullptr);
        return 0;
    case WM_ERASEBKGND:
        return 1; // every frame fills the window
    case WM_LBUTTONDOWN:
        SetCapture(m_window);
        m_dragging = true;
        m_dragPosition = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
        return 0;
    case WM_LBUTTONUP:
        m_dragging = false;
        ReleaseCapture();
        return 0;
    case WM_MOUSEMOVE:
        if (m_dragging) {
            const POINT position = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
            Drag(position.x - m_dragPosition.x, position.y - m_dragPosition.y);
            m_dragPosition = position;
            Redraw();
        }
        return 0;
    case WM_MOUSEWHEEL:
        HandleWheel(wParam, lParam);
        return 0;
    case WM_KEYDOWN:
        HandleKey(wParam);
        return 0;
    case WM_CLOSE:
        // The window itself goes with this object, after the view has released what it holds there.
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

void ViewerWindow::HandleKey(WPARAM key) {
    switch (key) {
    case 'C':
        m_scene.SwitchColors();
        UpdateTitle();
        break;
    case VK_ADD:
    case VK_OEM_PLUS:
        m_scene.SetPointSize(std::fmin(m_scene.GetPointSize() + 1.0, 64.0));
        break;
    case VK_SUBTRACT:
    case VK_OEM_MINUS:
        m_scene.SetPointSize(std::fmax(m_scene.GetPointSize() - 1.0, 1.0));
        break;
    case VK_HOME:
        ShowEverything();
        break;
    case 'V':
        m_camera = m_camera == Camera::Map ? Camera::Perspective : Camera::Map;
        break;
    case VK_LEFT:
        Drag(g_panPixels, 0.0);
        break;
    case VK_RIGHT:
        Drag(-g_panPixels, 0.0);
        break;
    case VK_UP:
        Drag(0.0, g_panPixels);
        break;
    case VK_DOWN:
        Drag(0.0, -g_panPixels);
        break;
    case VK_ESCAPE:
        PostQuitMessage(0);
        return;
    default:
        return;
    }
    Redraw();
}

void ViewerWindow::HandleWheel(WPARAM wParam, LPARAM lParam) {
    // The wheel reports screen coordinates, unlike the buttons.
    POINT cursor = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    ScreenToClient(m_window, &cursor);
    const double notches = static_cast<double>(GET_WHEEL_DELTA_WPARAM(wParam)) / WHEEL_DELTA;
    const double factor = std::pow(g_zoomPerNotch, notches);
    if (m_camera == Camera::Map) {
        m_navigator.Zoom(factor, cursor.x, cursor.y);
    } else {
        m_orbit.Zoom(factor);
    }
    Redraw();
}

void ViewerWindow::Drag(double rightPixels, double downPixels) {
    if (m_camera == Camera::Map) {
        m_navigator.Pan(rightPixels, downPixels);
    } else {
        m_orbit.Orbit(rightPixels, downPixels);
    }
}

void ViewerWindow::ShowEverything() {
    m_navigator.Fit(m_scene.GetExtent());
    m_orbit.Fit(m_scene.GetExtent(), m_scene.GetExaggeration());
}

double ViewerWindow::DrawScene() {
    const auto start = std::chrono::steady_clock::now();
    if (m_camera == Camera::Map) {
        m_scene.Draw(*m_view, m_navigator);
    } else {
        m_scene.Draw(*m_view, m_orbit, m_navigator.Width(), m_navigator.Height());
    }
    // Without this only the time to hand over the commands would be measured.
    m_view->Finish();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void ViewerWindow::DrawFrame() {
    if (!m_ready) {
        return;
    }
    m_frameMilliseconds = DrawScene();
    m_view->SwapBuffers();
    UpdateTitle();
}

void ViewerWindow::UpdateTitle() const {
    std::wstring title = L"OrrinViewer - " + std::to_wstring(m_scene.CountPoints()) + L" points, " +
                         std::to_wstring(m_scene.CountFeatures()) + L" features";
    if (m_scene.CountPoints() > 0) {
        const std::string colors = m_scene.NameOfColors();
        title += L" - by " + std::wstring(colors.begin(), colors.end());
    }
    if (m_frameMilliseconds > 0.0) {
        wchar_t time[32] = {};
        std::swprintf(time, std::size(time), L" - %.1f ms", m_frameMilliseconds);
        title += time;
    }
    SetWindowTextW(m_window, title.c_str());
}

} // namespace OrrinViewer
