#pragma once

#include <windows.h>

namespace OrrinViewer {

// What the wheels of a mouse do in windows that are drawn, and the touchpads that play them.

inline constexpr double kZoomPerNotch = 1.25;
inline constexpr double kSidePixelsPerNotch = 60.0; ///< of a usual screen

/// What a message of a wheel tells. Touchpads send small parts of a notch, many times a second.
inline double NotchesOf(WPARAM wParam) {
    return static_cast<double>(GET_WHEEL_DELTA_WPARAM(wParam)) / WHEEL_DELTA;
}

} // namespace OrrinViewer
