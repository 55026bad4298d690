#include "PanelControls.h"

#include <map>

namespace OrrinViewer {

namespace {

constexpr WPARAM kControlA = 1; ///< as a character

struct Taken {
    WNDPROC procedure;
    const ControlKeys* keys;
};

/// Controls that the panels have made, and what they did by themselves.
std::map<HWND, Taken>& TakenControls() {
    static std::map<HWND, Taken> controls;
    return controls;
}

LRESULT CALLBACK ControlProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const auto found = TakenControls().find(window);
    if (found == TakenControls().end()) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    const Taken taken = found->second;
    if (message == WM_NCDESTROY) {
        TakenControls().erase(found);
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(taken.procedure));
    } else if (message == WM_KEYDOWN && (*taken.keys)(window, wParam)) {
        return 0;
    } else if (message == WM_CHAR &&
               (wParam == VK_RETURN || wParam == VK_ESCAPE || wParam == VK_TAB || wParam == kControlA)) {
        return 0; // fields of a line would beep
    }
    return CallWindowProcW(taken.procedure, window, message, wParam, lParam);
}

} // namespace

HWND AddControl(HWND parent, const wchar_t* kind, const wchar_t* text, DWORD style, int id, const ControlKeys& keys) {
    const HWND control =
        CreateWindowExW(0, kind, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, parent,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
    if (control) {
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(PanelFont()), TRUE);
        const LONG_PTR before = SetWindowLongPtrW(control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&ControlProcedure));
        TakenControls()[control] = {reinterpret_cast<WNDPROC>(before), &keys};
    }
    return control;
}

HFONT PanelFont() {
    static const HFONT font = [] {
        NONCLIENTMETRICSW metrics = {};
        metrics.cbSize = sizeof(metrics);
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
        return CreateFontIndirectW(&metrics.lfMessageFont);
    }();
    return font;
}

int PanelLineHeight() {
    static const int height = [] {
        const HDC screen = GetDC(nullptr);
        const HGDIOBJ before = SelectObject(screen, PanelFont());
        TEXTMETRICW metrics = {};
        GetTextMetricsW(screen, &metrics);
        SelectObject(screen, before);
        ReleaseDC(nullptr, screen);
        return static_cast<int>(metrics.tmHeight);
    }();
    return height;
}

int PanelPixels(int pixels) noexcept {
    static const int perInch = [] {
        const HDC screen = GetDC(nullptr);
        const int found = GetDeviceCaps(screen, LOGPIXELSX);
        ReleaseDC(nullptr, screen);
        return found;
    }();
    return MulDiv(pixels, perInch, 96);
}

std::wstring TextOf(HWND control) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
    return text;
}

void ShowText(HWND control, const std::wstring& text) {
    if (TextOf(control) != text) {
        SetWindowTextW(control, text.c_str());
    }
}

HWND AddTickList(HWND parent, int id, int noteWidth, const ControlKeys& keys) {
    constexpr DWORD kStyle =
        LVS_REPORT | LVS_NOCOLUMNHEADER | LVS_SINGLESEL | LVS_SHOWSELALWAYS | WS_BORDER | WS_TABSTOP | WS_CLIPSIBLINGS;
    const HWND list = AddControl(parent, WC_LISTVIEWW, L"", kStyle, id, keys);
    ListView_SetExtendedListViewStyle(list, LVS_EX_CHECKBOXES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    LVCOLUMNW column = {};
    column.mask = LVCF_WIDTH | LVCF_FMT;
    column.fmt = LVCFMT_LEFT;
    column.cx = 100;
    ListView_InsertColumn(list, 0, &column);
    column.fmt = LVCFMT_RIGHT;
    column.cx = noteWidth;
    ListView_InsertColumn(list, 1, &column);
    return list;
}

void FitColumns(HWND list) {
    RECT area = {};
    GetClientRect(list, &area);
    ListView_SetColumnWidth(list, 0, area.right - ListView_GetColumnWidth(list, 1));
}

void SetTick(HWND list, int line, bool on) {
    if (HasTick(list, line) != on) {
        ListView_SetCheckState(list, line, on);
    }
}

bool HasTick(HWND list, int line) {
    return ListView_GetCheckState(list, line) == 1;
}

void SetLine(HWND list, int line, const std::wstring& text, const std::wstring& note) {
    LVITEMW item = {};
    item.iItem = line;
    if (line >= ListView_GetItemCount(list)) {
        ListView_InsertItem(list, &item);
    }
    const std::wstring* const texts[] = {&text, &note};
    for (int column = 0; column < 2; ++column) {
        wchar_t before[260] = {};
        ListView_GetItemText(list, line, column, before, 260);
        if (*texts[column] != before) {
            ListView_SetItemText(list, line, column, const_cast<wchar_t*>(texts[column]->c_str()));
        }
    }
}

} // namespace OrrinViewer
