#pragma once

#include "TouchGesture.h"

#include <windows.h>

#include <functional>

namespace KTR {
class COpenGLView;
}

namespace OrrinViewer {

/// What wheels, the touchpads that play them, and two fingers on a screen do in a window that shows a view. Many steps
/// are one of the view's history.
class WheelNavigation {
public:
    /// Moves what is shown by so many pixels to the right and down; what does not pan may turn it instead.
    using Move = std::function<void(double rightPixels, double downPixels, bool pans)>;

    enum class Result {
        NotAnswered, ///< by this: the message is another, or the system's to answer
        Answered,
        Moved, ///< and the view shows something else
    };
    /// Answers a message of a window whose pixels are `scale` times as small as usual ones. The view's main context is
    /// current when it moves.
    Result Handle(HWND window, KTR::COpenGLView& view, double scale, UINT message, WPARAM wParam, LPARAM lParam,
                  const Move& move);
    /// What is done next is another step of the history.
    void End(KTR::COpenGLView& view);

private:
    void Begin(KTR::COpenGLView& view);

    bool m_isMoving = false;
    TouchGesture m_touch;
};

} // namespace OrrinViewer
