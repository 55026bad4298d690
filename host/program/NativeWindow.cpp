#include "NativeWindow.h"

#include "ViewerResources.h"
#include "WindowManners.h"

#include <windowsx.h>

namespace OrrinViewer {

namespace {

constexpr wchar_t kWindowClass[] = L"OrrinViewer";
constexpr wchar_t kControlsClass[] = L"OrrinViewerControls";

void RegisterWindowClass(const wchar_t* name, UINT style, HBRUSH background, WNDPROC procedure) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = style;
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hIcon = LoadIconW(windowClass.hInstance, MAKEINTRESOURCEW(ORRIN_VIEWER_ICON));
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = background;
    windowClass.lpszClassName = name;
    RegisterClassExW(&windowClass);
}

HBRUSH ControlsBackground() {
    return GetSysColorBrush(COLOR_BTNFACE);
}

} // namespace

bool NativeWindow::Create(const wchar_t* title, int widthPixels, int heightPixels) {
    // OpenGL keeps drawing through one device context, and fills the window itself.
    RegisterWindowClass(kWindowClass, CS_OWNDC | CS_DBLCLKS, nullptr, WindowProcedure);
    RECT frame = {0, 0, widthPixels, heightPixels};
    AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
    m_window = CreateWindowExW(0, kWindowClass, title, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                               frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                               GetModuleHandleW(nullptr), this);
    if (m_window) {
        // Borders are as wide as the screen wants that the window came to lie on.
        SetClientSize(m_window, widthPixels, heightPixels);
    }
    return m_window != nullptr;
}

bool NativeWindow::CreateIn(HWND parent) {
    RegisterWindowClass(kControlsClass, CS_DBLCLKS, ControlsBackground(), WindowProcedure);
    m_window = CreateWindowExW(WS_EX_CONTROLPARENT, kControlsClass, L"", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0,
                               0, 0, parent, nullptr, GetModuleHandleW(nullptr), this);
    return m_window != nullptr;
}

bool NativeWindow::CreateOwned(HWND owner, const wchar_t* title) {
    RegisterWindowClass(kControlsClass, CS_DBLCLKS, ControlsBackground(), WindowProcedure);
    m_window = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_CONTROLPARENT, kControlsClass, title,
                               WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_CLIPCHILDREN, 0, 0, 0, 0, owner,
                               nullptr, GetModuleHandleW(nullptr), this);
    return m_window != nullptr;
}

void NativeWindow::Destroy() {
    if (m_window) {
        SetWindowLongPtrW(m_window, GWLP_USERDATA, 0);
        DestroyWindow(m_window);
        m_window = nullptr;
    }
}

LRESULT CALLBACK NativeWindow::WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        auto* created = static_cast<NativeWindow*>(creation->lpCreateParams);
        created->m_window = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created));
    }
    FollowDesktop(window, message, lParam);
    auto* target = reinterpret_cast<NativeWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return target ? target->HandleMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

POINT CursorOf(LPARAM lParam) {
    return {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
}

bool IsKeyDown(int key) {
    return GetKeyState(key) < 0;
}

} // namespace OrrinViewer
