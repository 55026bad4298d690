#pragma once
// The part of MFC's window classes that the library uses: the framework's main window and its message box.

#include "afx.h"

class CWnd {
public:
    HWND m_hWnd = nullptr;
    HWND GetSafeHwnd() const { return m_hWnd; }
};

/// Without MFC there is no framework object and so no main window.
inline CWnd* AfxGetMainWnd() {
    return nullptr;
}

/// Modal box with the program's name as its caption, as MFC shows it.
inline int AfxMessageBox(const wchar_t* text, UINT type = MB_OK) {
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const wchar_t* name = std::wcsrchr(path, L'\\');
    return MessageBoxW(nullptr, text, name ? name + 1 : path, type);
}
