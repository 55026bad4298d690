#include "WindowManners.h"

#include <cwchar>

namespace OrrinViewer {

namespace {

constexpr wchar_t kColorsKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
constexpr wchar_t kLightPrograms[] = L"AppsUseLightTheme";
/// What the system says in WM_SETTINGCHANGE after the user has chosen dark or light.
constexpr wchar_t kColorsChanged[] = L"ImmersiveColorSet";

/// DWMWA_USE_IMMERSIVE_DARK_MODE, and its number in Windows 10 before version 2004.
constexpr DWORD kDarkTitle = 20;
constexpr DWORD kDarkTitleOfOld = 19;

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
    switch (message) {
    case WM_CREATE:
        SetTitleDark(window, WantsDarkTitle());
        break;
    case WM_SETTINGCHANGE: {
        const auto* const changed = reinterpret_cast<const wchar_t*>(lParam);
        if (changed && std::wcscmp(changed, kColorsChanged) == 0) {
            SetTitleDark(window, WantsDarkTitle());
        }
        break;
    }
    case WM_DPICHANGED: {
        const RECT& suggested = *reinterpret_cast<const RECT*>(lParam);
        SetWindowPos(window, nullptr, suggested.left, suggested.top, suggested.right - suggested.left,
                     suggested.bottom - suggested.top, SWP_NOZORDER | SWP_NOACTIVATE);
        break;
    }
    default:
        break;
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

bool WantsDarkTitle() {
    DWORD areLight = 1;
    DWORD size = sizeof(areLight);
    RegGetValueW(HKEY_CURRENT_USER, kColorsKey, kLightPrograms, RRF_RT_REG_DWORD, nullptr, &areLight, &size);
    return areLight == 0;
}

void SetTitleDark(HWND window, bool isDark) {
    using SetAttribute = HRESULT(WINAPI*)(HWND, DWORD, const void*, DWORD);
    static const auto setAttribute = FindFunction<SetAttribute>(
        LoadLibraryExW(L"dwmapi.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32), "DwmSetWindowAttribute");
    const BOOL value = isDark ? TRUE : FALSE;
    if (setAttribute && FAILED(setAttribute(window, kDarkTitle, &value, sizeof(value)))) {
        setAttribute(window, kDarkTitleOfOld, &value, sizeof(value));
    }
}

} // namespace OrrinViewer
