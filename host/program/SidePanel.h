#pragma once

#include "NativeWindow.h"

#include <memory>
#include <vector>

namespace OrrinViewer {

/// A window of controls that stands beside a map's and goes with it. Its parts lie one below the other.
///
/// It is a window of its own, not one within the map's: Wine shows nothing of what OpenGL draws into a window that has
/// windows within it, or is one, where the screen has no compositor.
class SidePanel final : public NativeWindow {
public:
    ~SidePanel() override;

    /// The parts are added before it is first shown; `share` is how much of the height one takes, in relation to
    /// others.
    void Add(std::unique_ptr<NativeWindow> part, double share);

    bool IsShown() const { return m_window && IsWindowVisible(m_window); }
    /// Beside the window where the screen has room, otherwise over its right side; the keyboard stays where it is.
    void Show(HWND beside);
    void Hide();
    /// The window that it stands beside has been moved, or has another size.
    void Follow();

private:
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void LayOut() const;

    struct Part {
        std::unique_ptr<NativeWindow> window;
        double share;
    };
    std::vector<Part> m_parts;
    HWND m_beside = nullptr;
    bool m_isUndocked = false; ///< the user has put it somewhere
};

} // namespace OrrinViewer
