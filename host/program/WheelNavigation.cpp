#include "WheelNavigation.h"

#include <OrrinDisplay.h>

#include <windowsx.h>

#include <cmath>
#include <optional>

namespace OrrinViewer {

namespace {

constexpr double kZoomPerNotch = 1.25;
constexpr double kSidePixelsPerNotch = 60.0; ///< of a usual screen

/// Touchpads send small parts of a notch, many times a second.
double NotchesOf(WPARAM wParam) {
    return static_cast<double>(GET_WHEEL_DELTA_WPARAM(wParam)) / WHEEL_DELTA;
}

/// In the window, of a place on the screen.
POINT PlaceIn(HWND window, POINT place) {
    ScreenToClient(window, &place);
    return place;
}

} // namespace

WheelNavigation::Result WheelNavigation::Handle(HWND window, KTR::COpenGLView& view, double scale, UINT message,
                                                WPARAM wParam, LPARAM lParam, const Move& move) {
    switch (message) {
    case WM_MOUSEWHEEL: {
        // With Ctrl too, as which touchpads tell that two fingers part or close.
        const POINT cursor = PlaceIn(window, {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        Begin(view);
        view.ZoomAbout(std::pow(kZoomPerNotch, NotchesOf(wParam)), cursor.x, cursor.y);
        return Result::Moved;
    }
    case WM_MOUSEHWHEEL:
        // Against the wheel, as text moves under it.
        Begin(view);
        move(-NotchesOf(wParam) * kSidePixelsPerNotch * scale, 0.0, false);
        return Result::Moved;
    case WM_GESTURENOTIFY:
        TouchGesture::Choose(window);
        return Result::NotAnswered;
    case WM_GESTURE: {
        std::optional<TouchStep> step;
        if (!m_touch.Take(lParam, step)) {
            return Result::NotAnswered;
        }
        if (!step) {
            return Result::Answered;
        }
        // What lies between two fingers stays there.
        const POINT center = PlaceIn(window, step->center);
        Begin(view);
        move(step->rightPixels, step->downPixels, true);
        view.ZoomAbout(step->factor, center.x, center.y);
        return Result::Moved;
    }
    default:
        return Result::NotAnswered;
    }
}

void WheelNavigation::Begin(KTR::COpenGLView& view) {
    if (!m_isMoving) {
        view.BeginViewChange();
        m_isMoving = true;
    }
    view.MakeCurrent(KTR::GLContextMain);
}

void WheelNavigation::End(KTR::COpenGLView& view) {
    if (m_isMoving) {
        view.EndViewChange();
        m_isMoving = false;
    }
}

} // namespace OrrinViewer
