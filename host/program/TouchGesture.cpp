#include "TouchGesture.h"

#include <iterator>

namespace OrrinViewer {

void TouchGesture::Choose(HWND window) {
    constexpr DWORD oneFinger = GC_PAN_WITH_SINGLE_FINGER_VERTICALLY | GC_PAN_WITH_SINGLE_FINGER_HORIZONTALLY;
    GESTURECONFIG wanted[] = {{GID_ZOOM, GC_ZOOM, 0}, {GID_PAN, GC_PAN, oneFinger | GC_PAN_WITH_GUTTER}};
    SetGestureConfig(window, 0, static_cast<UINT>(std::size(wanted)), wanted, sizeof(GESTURECONFIG));
}

bool TouchGesture::Take(LPARAM message, std::optional<TouchStep>& step) {
    GESTUREINFO info = {};
    info.cbSize = sizeof(info);
    const auto handle = reinterpret_cast<HGESTUREINFO>(message);
    if (!GetGestureInfo(handle, &info) || (info.dwID != GID_ZOOM && info.dwID != GID_PAN)) {
        return false;
    }
    step = Follow(info);
    CloseGestureInfoHandle(handle);
    return true;
}

std::optional<TouchStep> TouchGesture::Follow(const GESTUREINFO& gesture) {
    const POINT center = {gesture.ptsLocation.x, gesture.ptsLocation.y};
    // Of other gestures than a zoom this is something else.
    const double distance = gesture.dwID == GID_ZOOM ? static_cast<double>(gesture.ullArguments & 0xFFFFFFFF) : 0.0;
    std::optional<TouchStep> step;
    if (m_kind == gesture.dwID && (gesture.dwFlags & GF_BEGIN) == 0) {
        step = {distance > 0.0 && m_distance > 0.0 ? distance / m_distance : 1.0, center,
                static_cast<double>(center.x - m_center.x), static_cast<double>(center.y - m_center.y)};
    }
    m_kind = (gesture.dwFlags & GF_END) != 0 ? 0 : gesture.dwID;
    m_center = center;
    m_distance = distance;
    return step;
}

} // namespace OrrinViewer
