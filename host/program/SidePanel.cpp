#include "SidePanel.h"

#include "PanelControls.h"

#include <algorithm>
#include <utility>

namespace OrrinViewer {

namespace {

const LONG kWidthPixels = PanelPixels(300);

constexpr UINT kGiveKeysBack = WM_APP; ///< to the map

} // namespace

SidePanel::~SidePanel() {
    m_parts.clear(); // their windows lie in this one's
    Destroy();
}

void SidePanel::Add(std::unique_ptr<NativeWindow> part, double share) {
    m_parts.push_back({std::move(part), share});
}

void SidePanel::Show(HWND beside) {
    m_beside = beside;
    if (!m_window) {
        if (m_parts.empty() || !CreateOwned(beside, L"Layers")) {
            return;
        }
        std::erase_if(m_parts, [this](const Part& part) { return !part.window->CreateIn(m_window); });
    }
    Follow();
    LayOut();
    ShowWindow(m_window, SW_SHOWNOACTIVATE);
}

void SidePanel::Hide() {
    if (m_window) {
        ShowWindow(m_window, SW_HIDE);
    }
}

void SidePanel::Follow() {
    RECT there = {};
    MONITORINFO screen = {};
    screen.cbSize = sizeof(screen);
    if (!m_window || m_isUndocked || IsIconic(m_beside) || !GetWindowRect(m_beside, &there) ||
        !GetMonitorInfoW(MonitorFromWindow(m_beside, MONITOR_DEFAULTTONEAREST), &screen)) {
        return;
    }
    const LONG left = std::min(there.right, screen.rcWork.right - kWidthPixels);
    SetWindowPos(m_window, nullptr, left, there.top, kWidthPixels, there.bottom - there.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

LRESULT SidePanel::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SIZE:
        LayOut();
        return 0;
    case WM_EXITSIZEMOVE:
        m_isUndocked = true;
        return 0;
    case WM_SETFOCUS:
        // It may come to a control next. Otherwise somebody, such as a window manager, has only raised the panel.
        PostMessageW(m_window, kGiveKeysBack, 0, 0);
        return 0;
    case kGiveKeysBack:
        if (GetFocus() == m_window) {
            SetFocus(m_beside);
        }
        return 0;
    case WM_CLOSE:
        Hide();
        return 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

void SidePanel::LayOut() const {
    RECT area = {};
    if (!m_window || !GetClientRect(m_window, &area)) {
        return;
    }
    double whole = 0.0;
    for (const Part& part : m_parts) {
        whole += part.share;
    }
    double share = 0.0;
    LONG top = 0;
    for (const Part& part : m_parts) {
        share += part.share;
        const LONG bottom = static_cast<LONG>(area.bottom * share / whole);
        MoveWindow(part.window->Handle(), 0, top, area.right, bottom - top, TRUE);
        top = bottom;
    }
}

} // namespace OrrinViewer
