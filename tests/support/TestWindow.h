#pragma once

#include <windows.h>

/// A visible window without a frame and with its own device context, as a GIS host's drawing surface is.
class TestWindow {
public:
    explicit TestWindow(int width = 128, int height = 128) {
        // Once for the process: a DLL that is loaded again finds the class there.
        static const ATOM windowClass = RegisterTestClass();
        static_cast<void>(windowClass);
        m_window = CreateWindowExW(0, kClassName, L"OrrinDisplay test", WS_POPUP, 0, 0, width, height, nullptr, nullptr,
                                   GetModuleHandleW(nullptr), nullptr);
        ShowWindow(m_window, SW_SHOWNOACTIVATE);
        m_deviceContext = GetDC(m_window);
    }
    ~TestWindow() { Destroy(); }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    HWND Window() const { return m_window; }
    HDC DeviceContext() const { return m_deviceContext; }
    void Destroy() {
        if (m_window) {
            DestroyWindow(m_window);
            m_window = nullptr;
        }
    }

private:
    static constexpr const wchar_t* kClassName = L"OrrinDisplayTest";

    static ATOM RegisterTestClass() {
        WNDCLASSW windowClass = {};
        windowClass.style = CS_OWNDC;
        windowClass.lpfnWndProc = DefWindowProcW;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = kClassName;
        return RegisterClassW(&windowClass);
    }

    HWND m_window;
    HDC m_deviceContext;
};
