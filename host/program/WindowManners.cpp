#include "WindowManners.h"

namespace OrrinViewer {

namespace {

/// A function that only newer systems have; null in others.
template <typename Function> Function FindFunction(HMODULE library, const char* name) {
    return library ? reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name))) : nullptr;
}

} // namespace

int FindPixelsPerInch(HWND window) {
    static const auto ofWindow = FindFunction<UINT(WINAPI*)(HWND)>(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow");
    if (const UINT pixels = ofWindow ? ofWindow(window) : 0) {
        return static_cast<int>(pixels);
    }
    // All screens are alike there.
    const HDC deviceContext = GetDC(window);
    const int pixels = GetDeviceCaps(deviceContext, LOGPIXELSY);
    ReleaseDC(window, deviceContext);
    return pixels;
}

void FollowDesktop(HWND window, UINT message, LPARAM lParam) {
    if (message == WM_DPICHANGED) {
        const RECT& suggested = *reinterpret_cast<const RECT*>(lParam);
        SetWindowPos(window, nullptr, suggested.left, suggested.top, suggested.right - suggested.left,
                     suggested.bottom - suggested.top, SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

void SetClientSize(HWND window, int widthPixels, int heightPixels) {
    RECT frame = {};
    RECT client = {};
    GetWindowRect(window, &frame);
    GetClientRect(window, &client);
    if (client.right != widthPixels || client.bottom != heightPixels) {
        SetWindowPos(window, nullptr, 0, 0, frame.right - frame.left + widthPixels - client.right,
                     frame.bottom - frame.top + heightPixels - client.bottom,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

} // namespace OrrinViewer
