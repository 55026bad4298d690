// Wheels of a viewer's window, the touchpads that play them, and touch.

#include "ViewerWindow.h"

#include <windowsx.h>

#include <cmath>

namespace OrrinViewer {

namespace {

constexpr double kZoomPerNotch = 1.25;
constexpr double kSidePixelsPerNotch = 60.0;

/// Touchpads send small parts of a notch, many times a second.
double NotchesOf(WPARAM wParam) {
    return static_cast<double>(GET_WHEEL_DELTA_WPARAM(wParam)) / WHEEL_DELTA;
}

} // namespace

/// With Ctrl too, as which touchpads tell that two fingers part or close.
void ViewerWindow::HandleWheel(WPARAM wParam, LPARAM lParam) {
    // The wheel reports screen coordinates, unlike the buttons.
    POINT cursor = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    ScreenToClient(m_window, &cursor);
    BeginWheel();
    m_view->ZoomAbout(std::pow(kZoomPerNotch, NotchesOf(wParam)), cursor.x, cursor.y);
    m_isNavigated = true;
    Redraw();
}

/// Moves the map, or turns the 3-D view, against the wheel, as text moves under it.
void ViewerWindow::HandleSideWheel(WPARAM wParam) {
    BeginWheel();
    Drag(-NotchesOf(wParam) * kSidePixelsPerNotch * Scale(), 0.0, IsKeyDown(VK_SHIFT));
    Redraw();
}

/// What lies between two fingers stays there.
bool ViewerWindow::HandleTouch(LPARAM gesture) {
    GESTUREINFO info = {};
    info.cbSize = sizeof(info);
    const auto handle = reinterpret_cast<HGESTUREINFO>(gesture);
    if (!GetGestureInfo(handle, &info) || (info.dwID != GID_ZOOM && info.dwID != GID_PAN)) {
        return false;
    }
    if (const std::optional<TouchStep> step = m_touch.Follow(info)) {
        POINT center = step->center;
        ScreenToClient(m_window, &center);
        BeginWheel();
        Drag(step->rightPixels, step->downPixels, true);
        m_view->ZoomAbout(step->factor, center.x, center.y);
        Redraw();
    }
    CloseGestureInfoHandle(handle);
    return true;
}

/// Many steps are one of the view's history.
void ViewerWindow::BeginWheel() {
    if (!m_wheeling) {
        m_view->BeginViewChange();
        m_wheeling = true;
    }
    m_view->MakeCurrent(KTR::GLContextMain);
}

void ViewerWindow::EndWheel() {
    if (m_wheeling) {
        m_view->EndViewChange();
        m_wheeling = false;
    }
}

} // namespace OrrinViewer
