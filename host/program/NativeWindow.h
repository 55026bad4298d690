#pragma once

#include <windows.h>

namespace OrrinViewer {

/// A window of the system that hands its messages to an object.
class NativeWindow {
public:
    NativeWindow() = default;
    virtual ~NativeWindow() { Destroy(); }
    NativeWindow(const NativeWindow&) = delete;
    NativeWindow& operator=(const NativeWindow&) = delete;

    HWND Handle() const { return m_window; }

    /// Makes it as a part of another window, shown, and without a size until it is given one.
    bool CreateIn(HWND parent);

protected:
    /// Makes it, still hidden, with a client area of that size; false when the system refuses.
    bool Create(const wchar_t* title, int widthPixels, int heightPixels);
    /// Makes it, still hidden, as one that stays above another and has the small title of a tool.
    bool CreateOwned(HWND owner, const wchar_t* title);
    /// No message comes any more.
    void Destroy();
    virtual LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;

    HWND m_window = nullptr;

private:
    static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
};

/// Client coordinates in a message of the mouse's buttons or its moving.
POINT CursorOf(LPARAM lParam);
bool IsKeyDown(int key);

} // namespace OrrinViewer
