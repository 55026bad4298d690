#include "ViewerWindow.h"

#include "Screenshot.h"
#include "drawing/PixelDrawing.h"
#include "drawing/WideText.h"

#include <windowsx.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cwchar>
#include <iterator>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr wchar_t kWindowClass[] = L"OrrinViewer";
constexpr double kZoomPerNotch = 1.25;
constexpr double kPanPixels = 60.0;
constexpr Rgb kBandColor{120, 180, 255};
constexpr std::uint8_t kBandOpacity = 50;

POINT CursorOf(LPARAM lParam) {
    return {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
}

} // namespace

ViewerWindow::ViewerWindow(Scene& scene, const ViewerOptions& options, std::function<void()> closed)
    : m_scene(scene), m_options(options), m_closed(std::move(closed)),
      m_texts(WideText(options.font), options.fontPoints) {}

ViewerWindow::~ViewerWindow() {
    if (m_view) {
        // In this order: GL objects while the window exists, then the contexts, then the window.
        if (m_ready && m_view->MakeCurrent(KTR::GLContextMain)) {
            m_texts.Release(*m_view);
            m_scene.ReleaseGeometry();
        }
        m_view->ShutDownOpenGLContexts(m_window);
        m_view.reset();
    }
    if (m_window) {
        SetWindowLongPtrW(m_window, GWLP_USERDATA, 0);
        DestroyWindow(m_window);
    }
}

bool ViewerWindow::Open(int offsetPixels) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_OWNDC; // OpenGL keeps drawing through one device context
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = kWindowClass;
    RegisterClassExW(&windowClass);

    RECT frame = {0, 0, m_options.widthPixels, m_options.heightPixels};
    AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
    m_window = CreateWindowExW(0, kWindowClass, L"OrrinViewer", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                               frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                               GetModuleHandleW(nullptr), this);
    if (!m_window) {
        return false;
    }
    // The first view of the process settles the pipeline; a host that wants another says so before it creates contexts.
    m_view = std::make_unique<KTR::COpenGLView>();
    if (m_options.pipeline == Pipeline::Legacy) {
        KTR::COpenGLView::SetOpenGLVersion(2, 0);
    } else if (m_options.pipeline == Pipeline::OpenGL4) {
        KTR::COpenGLView::SetOpenGLVersion(4, 4);
    }
    GetWindowRect(m_window, &frame);
    SetWindowPos(m_window, nullptr, frame.left + offsetPixels, frame.top + offsetPixels, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER);
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
    m_camera = m_options.camera;
    ShowEverything();
    if (m_options.area) {
        m_navigator.Show(*m_options.area);
    }
    LoadTexts();
    UpdateTitle();
    return true;
}

double ViewerWindow::DrawScene() {
    const auto start = std::chrono::steady_clock::now();
    // Another window's context may be the current one.
    m_view->MakeCurrent(KTR::GLContextMain);
    if (m_camera == Camera::Map) {
        m_isSceneComplete = m_scene.Draw(*m_view, m_navigator);
        DrawMapTexts();
    } else {
        m_isSceneComplete = m_scene.Draw(*m_view, m_orbit, m_navigator.Width(), m_navigator.Height());
    }
    // Without this only the time to hand over the commands would be measured.
    m_view->Finish();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void ViewerWindow::Present() {
    m_view->SwapBuffers();
}

void ViewerWindow::SaveFrame(const std::filesystem::path& path) {
    m_view->MakeCurrent(KTR::GLContextMain);
    SaveScreenshot(*m_view, m_navigator.Width(), m_navigator.Height(), path);
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
        if (!m_isSceneComplete) {
            RedrawOverlay(); // nothing is stored, so the next frame goes on with the scene
        }
        return 0;
    case WM_ERASEBKGND:
        return 1; // every frame fills the window
    case WM_LBUTTONDOWN:
        HandleButtonDown(wParam, CursorOf(lParam));
        return 0;
    case WM_LBUTTONUP:
        HandleButtonUp();
        return 0;
    case WM_MOUSEMOVE:
        HandleMouseMove(CursorOf(lParam));
        return 0;
    case WM_MOUSELEAVE:
        HandleMouseLeave();
        return 0;
    case WM_MOUSEWHEEL:
        HandleWheel(wParam, lParam);
        return 0;
    case WM_KEYDOWN:
        HandleKey(wParam);
        return 0;
    case WM_CLOSE:
        // The window itself goes with this object, after the view has released what it holds there.
        ShowWindow(m_window, SW_HIDE);
        m_closed();
        return 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

void ViewerWindow::HandleButtonDown(WPARAM keys, POINT cursor) {
    SetCapture(m_window);
    m_cursor = cursor;
    m_band.Clear();
    if (m_camera == Camera::Map && (keys & MK_SHIFT) != 0) {
        m_band.Begin(RubberBand::Kind::Zoom, m_navigator.PositionAt(cursor.x, cursor.y));
    } else if (m_camera == Camera::Map && ((keys & MK_CONTROL) != 0 || m_everyDragMeasures)) {
        m_band.Begin(RubberBand::Kind::Measure, m_navigator.PositionAt(cursor.x, cursor.y));
    } else {
        m_dragging = true;
    }
    RedrawOverlay();
}

void ViewerWindow::HandleButtonUp() {
    if (m_band.FollowsMouse() && m_band.GetKind() == RubberBand::Kind::Zoom &&
        m_band.IsLargeEnoughToZoom(m_navigator.UnitsPerPixel())) {
        m_navigator.Show(m_band.Box());
        Redraw();
    }
    m_band.Drop();
    m_dragging = false;
    ReleaseCapture();
    RedrawOverlay();
}

void ViewerWindow::HandleMouseMove(POINT cursor) {
    if (!m_cursor) {
        TRACKMOUSEEVENT leaving = {sizeof(leaving), TME_LEAVE, m_window, 0};
        TrackMouseEvent(&leaving);
    }
    const POINT before = m_cursor.value_or(cursor);
    m_cursor = cursor;
    m_band.MoveTo(m_navigator.PositionAt(cursor.x, cursor.y));
    if (m_dragging) {
        Drag(cursor.x - before.x, cursor.y - before.y);
        Redraw();
        return;
    }
    RedrawOverlay();
}

void ViewerWindow::HandleMouseLeave() {
    m_cursor.reset();
    RedrawOverlay();
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
    case 'M':
        m_everyDragMeasures = !m_everyDragMeasures;
        m_band.Clear();
        break;
    case VK_LEFT:
        Drag(kPanPixels, 0.0);
        break;
    case VK_RIGHT:
        Drag(-kPanPixels, 0.0);
        break;
    case VK_UP:
        Drag(0.0, kPanPixels);
        break;
    case VK_DOWN:
        Drag(0.0, -kPanPixels);
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
    const double factor = std::pow(kZoomPerNotch, notches);
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

/// The font, and the placement of all labels, which depends on how wide the font makes them.
void ViewerWindow::LoadTexts() {
    const bool needed = !m_options.plain || !m_scene.GetLabels().empty();
    if (needed && m_texts.Load(*m_view)) {
        m_labels = LabelLayer(m_scene.GetLabels(), m_texts.Sizes(*m_view));
    }
}

void ViewerWindow::DrawMapTexts() {
    SetUpPixelCamera(*m_view, m_navigator.Width(), m_navigator.Height());
    const TextSizes sizes = m_texts.Sizes(*m_view);
    MapFurniture furniture;
    if (!m_options.plain) {
        furniture = LayOutMapFurniture(m_navigator, m_scene.GetUnits(), sizes);
        DrawFurniture(*m_view, furniture);
    }
    std::vector<PixelText> texts = m_labels.FindVisible(m_navigator, furniture.texts, sizes);
    texts.insert(texts.end(), furniture.texts.begin(), furniture.texts.end());
    m_texts.Draw(*m_view, texts);
}

/// What follows the mouse: its position in words, the rectangle to zoom to, the line that measures.
void ViewerWindow::DrawOverlay() {
    if (m_camera != Camera::Map) {
        return;
    }
    SetUpPixelCamera(*m_view, m_navigator.Width(), m_navigator.Height());
    std::vector<PixelText> texts;
    if (m_cursor && !m_options.plain) {
        const Position position = m_navigator.PositionAt(m_cursor->x, m_cursor->y);
        texts.push_back(LayOutPosition(m_navigator, position, m_texts.Sizes(*m_view)));
    }
    DrawRubberBand(texts);
    m_texts.Draw(*m_view, texts);
}

void ViewerWindow::DrawRubberBand(std::vector<PixelText>& texts) {
    const auto pixelOf = [this](const Position& position) {
        const Position pixel = m_navigator.PixelAt(position);
        return Position{std::floor(pixel.x), std::floor(m_navigator.Height() - pixel.y), 0.0};
    };
    const Position from = pixelOf(m_band.From());
    const Position to = pixelOf(m_band.To());
    if (m_band.GetKind() == RubberBand::Kind::Zoom) {
        const Position right{to.x, from.y, 0.0};
        const Position up{from.x, to.y, 0.0};
        DrawPixelTriangles(*m_view, {{from, right, to}, {from, to, up}}, kBandColor, kBandOpacity);
        DrawEdgedLines(*m_view, {{from, right}, {right, to}, {to, up}, {up, from}});
    } else if (m_band.GetKind() == RubberBand::Kind::Measure) {
        DrawEdgedLines(*m_view, {{from, to}});
        const std::string length = FormatLength(
            DistanceInMetres(m_scene.GetUnits(), m_band.From().x, m_band.From().y, m_band.To().x, m_band.To().y));
        const double width = m_texts.Sizes(*m_view).width(length);
        texts.push_back(PlaceBesideLine(length, width, from, to, m_navigator.Width(), m_navigator.Height()));
    }
}

void ViewerWindow::DrawFrame() {
    if (!m_ready) {
        return;
    }
    if (!m_isSceneStored || !RestoreScene()) {
        m_frameMilliseconds = DrawScene();
        UpdateTitle();
        // While the map moves under the mouse, the next frame is another one.
        const HDC deviceContext = m_view->GetContextRecord(KTR::GLContextMain).deviceContext;
        m_isSceneStored = m_isSceneComplete && !m_dragging &&
                          SUCCEEDED(m_view->SaveBackingStore(deviceContext, KTR::GLContextMain, GL_BACK, 0, 0,
                                                             m_navigator.Width(), m_navigator.Height()));
    }
    DrawOverlay();
    Present();
}

/// Puts the stored frame into the back buffer.
bool ViewerWindow::RestoreScene() {
    if (!m_view->MakeCurrent(KTR::GLContextMain)) {
        return false;
    }
    const int width = m_navigator.Width();
    const int height = m_navigator.Height();
    m_view->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, width, height, 0, 0, width, height, false, false, false);
    return true;
}

void ViewerWindow::Redraw() {
    m_isSceneStored = false;
    RedrawOverlay();
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
