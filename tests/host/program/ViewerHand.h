#pragma once

#include "ViewerProgram.h"

#include <windows.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace OrrinViewer {

/// A person at a running viewer: moves the mouse and presses keys of the screen's server, and looks at what the screen
/// shows. Nothing goes past the window system.
class ViewerHand {
public:
    /// The folder takes what the tools print.
    ViewerHand(const PROCESS_INFORMATION& process, const fs::path& folder);

    /// The visible window whose title says this; waits for it, and null if it does not come.
    HWND FindWindow(const std::wstring& title) const;
    static std::wstring TitleOf(HWND window);
    /// Waits until the window's title says this; false if it does not come to.
    bool WaitForTitle(HWND window, const std::wstring& part) const;
    /// Waits until it holds; false if it does not come to.
    static bool WaitUntil(const std::function<bool()>& holds);

    /// Commands of xdotool, with (x, y) in client coordinates of the window.
    void MoveTo(HWND window, int x, int y) const;
    void Click(HWND window, int x, int y) const;
    /// A click after which the keys are the window's, which is waited for.
    void ClickForKeys(HWND window, int x, int y) const;
    void Drag(HWND window, int x, int y, int toX, int toY, const std::string& key = {}) const;
    void Press(const std::string& keys) const;
    void Type(const std::string& text) const;
    /// Answers a question for a file, such as that of a dialog with this title.
    void AnswerWithPath(const std::wstring& title, const fs::path& path) const;
    /// Lets files go over a window.
    void Drop(HWND window, const std::vector<fs::path>& files) const;
    /// The rows of the panel's table, names and values.
    std::vector<std::pair<std::wstring, std::wstring>> ReadTable() const;
    /// Waits until the table has such a row.
    bool WaitForRow(const std::wstring& name, const std::wstring& value) const;
    /// The text on the clipboard.
    static std::wstring ReadClipboard();
    /// What the screen shows of a window's client area.
    Frame LookAt(HWND window) const;
    /// The same once it has not changed for a moment: before anything is done, or to see that nothing happens.
    Frame LookWhenStill(HWND window) const;
    /// The same once it holds and has not changed for a moment: what a busy machine draws late is waited for. What the
    /// window shows at last if it does not come to hold.
    Frame LookUntil(HWND window, const std::function<bool(const Frame&)>& holds) const;
    /// Two sorts of the latter: until more, or at most, this share of the pixels differs.
    Frame LookUntilUnlike(HWND window, const Frame& before, double share = 0.0) const;
    Frame LookUntilLike(HWND window, const Frame& wanted, double share = 0.0) const;

private:
    std::string At(HWND window, int x, int y) const;

    HANDLE m_handle;
    DWORD m_process;
    fs::path m_output;
};

} // namespace OrrinViewer
