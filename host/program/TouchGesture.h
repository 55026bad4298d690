#pragma once

#include <windows.h>

#include <optional>

namespace OrrinViewer {

/// What two fingers did since the message before.
struct TouchStep {
    double factor = 1.0; ///< by which they parted
    POINT center{};      ///< between them, in screen coordinates
    double rightPixels = 0.0;
    double downPixels = 0.0;
};

/// Follows two fingers on a touch screen. One finger is a mouse to the system, and stays one.
class TouchGesture {
public:
    /// Has the system tell a window of two fingers that part, close or move; answers WM_GESTURENOTIFY.
    static void Choose(HWND window);

    /// Takes a WM_GESTURE, and what it did since the one before. False where it is the system's to answer.
    bool Take(LPARAM message, std::optional<TouchStep>& step);
    /// None at the beginning of a gesture, when nothing has happened yet.
    std::optional<TouchStep> Follow(const GESTUREINFO& gesture);

private:
    DWORD m_kind = 0; ///< of the gesture under way; 0: there is none
    POINT m_center{};
    double m_distance = 0.0; ///< of the fingers, in pixels
};

} // namespace OrrinViewer
