#include "InfoPanel.h"

#include "PanelControls.h"
#include "ViewerSession.h"
#include "drawing/WideText.h"

#include <commctrl.h>
#include <windowsx.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace OrrinViewer {

namespace {

constexpr int kListId = 500;
const LONG kMarginPixels = PanelPixels(4);
const LONG kHeadingPixels = PanelPixels(18);
const int kNamePixels = PanelPixels(110);
enum MenuCommand : UINT { CopyValue = 1, CopyRow, CopyAll };

std::wstring HeadingOf(const Picking& picking) {
    if (!picking.GetThing()) {
        return L"Click on the map to see what is there.";
    }
    if (picking.CountThings() == 1) {
        return L"Picked:";
    }
    return std::to_wstring(picking.GetNumber() + 1) + L" of " + std::to_wstring(picking.CountThings()) +
           L" here (N: next, Shift + N: the one before)";
}

} // namespace

void CopyText(HWND window, const std::string& utf8) {
    const std::wstring text = WideText(utf8);
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (!memory) {
        return;
    }
    if (void* const target = GlobalLock(memory)) {
        std::memcpy(target, text.c_str(), bytes);
        GlobalUnlock(memory);
    }
    if (!OpenClipboard(window)) {
        GlobalFree(memory);
        return;
    }
    EmptyClipboard();
    if (!SetClipboardData(CF_UNICODETEXT, memory)) {
        GlobalFree(memory); // otherwise it is the clipboard's
    }
    CloseClipboard();
}

void InfoPanel::ShowPick() {
    if (!m_list) {
        return;
    }
    const Picking& picking = m_session.GetPicking();
    SetWindowTextW(m_heading, HeadingOf(picking).c_str());
    SendMessageW(m_list, WM_SETREDRAW, FALSE, 0);
    ListView_DeleteAllItems(m_list);
    if (const PickedThing* const thing = picking.GetThing()) {
        int index = 0;
        for (const PickedRow& row : thing->rows) {
            std::wstring name = WideText(row.name);
            std::wstring value = WideText(row.value);
            LVITEMW item = {};
            item.mask = LVIF_TEXT;
            item.iItem = index++;
            item.pszText = name.data();
            const auto added =
                static_cast<WPARAM>(SendMessageW(m_list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
            item.iSubItem = 1;
            item.pszText = value.data();
            SendMessageW(m_list, LVM_SETITEMTEXTW, added, reinterpret_cast<LPARAM>(&item));
        }
    }
    SendMessageW(m_list, WM_SETREDRAW, TRUE, 0);
    LayOut();
    InvalidateRect(m_list, nullptr, TRUE);
}

LRESULT InfoPanel::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE:
        CreateControls();
        return 0;
    case WM_SIZE:
        LayOut();
        return 0;
    case WM_NOTIFY: {
        const auto* const notice = reinterpret_cast<const NMHDR*>(lParam);
        if (notice->hwndFrom == m_list && notice->code == LVN_KEYDOWN) {
            HandleKey(reinterpret_cast<const NMLVKEYDOWN*>(lParam)->wVKey);
        }
        return 0;
    }
    case WM_CONTEXTMENU:
        ShowMenu({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        return 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

void InfoPanel::CreateControls() {
    INITCOMMONCONTROLSEX controls = {sizeof(controls), ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&controls);
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    const auto font = reinterpret_cast<WPARAM>(PanelFont());
    m_heading = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE | SS_ENDELLIPSIS, 0, 0, 0, 0, m_window,
                                nullptr, instance, nullptr);
    m_list = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"",
                             WS_CHILD | WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS, 0, 0,
                             0, 0, m_window, reinterpret_cast<HMENU>(static_cast<INT_PTR>(kListId)), instance, nullptr);
    SendMessageW(m_heading, WM_SETFONT, font, TRUE);
    SendMessageW(m_list, WM_SETFONT, font, TRUE);
    SendMessageW(m_list, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES);
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    wchar_t name[] = L"Name";
    wchar_t value[] = L"Value";
    column.cx = kNamePixels;
    column.pszText = name;
    SendMessageW(m_list, LVM_INSERTCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
    column.pszText = value;
    SendMessageW(m_list, LVM_INSERTCOLUMNW, 1, reinterpret_cast<LPARAM>(&column));
    ShowPick();
}

void InfoPanel::LayOut() const {
    RECT area = {};
    if (!m_list || !GetClientRect(m_window, &area)) {
        return;
    }
    const LONG width = std::max(area.right - 2 * kMarginPixels, 0L);
    const LONG top = kMarginPixels + kHeadingPixels;
    MoveWindow(m_heading, kMarginPixels, kMarginPixels, width, kHeadingPixels, TRUE);
    MoveWindow(m_list, kMarginPixels, top, width, std::max(area.bottom - top - kMarginPixels, 0L), TRUE);
    RECT rows = {};
    GetClientRect(m_list, &rows);
    const int rest = static_cast<int>(rows.right) - ListView_GetColumnWidth(m_list, 0);
    ListView_SetColumnWidth(m_list, 1, std::max(rest, kNamePixels));
}

void InfoPanel::HandleKey(WPARAM key) {
    if (key == 'C' && IsKeyDown(VK_CONTROL)) {
        m_session.CopyPick(m_window);
    } else if (key == 'N') {
        m_session.StepPick(!IsKeyDown(VK_SHIFT));
    } else if (key == VK_ESCAPE) {
        m_session.ClearPick();
        SetFocus(GetWindow(GetAncestor(m_window, GA_ROOT), GW_OWNER)); // keys are the map's again
    }
}

void InfoPanel::ShowMenu(POINT screen) {
    const PickedThing* thing = m_session.GetPicking().GetThing();
    if (!thing) {
        return;
    }
    const int selected = ListView_GetNextItem(m_list, -1, LVNI_SELECTED);
    const bool hasRow = selected >= 0 && static_cast<std::size_t>(selected) < thing->rows.size();
    if (screen.x == -1 && screen.y == -1) { // by the keyboard
        screen = {kMarginPixels, kMarginPixels + kHeadingPixels};
        ClientToScreen(m_window, &screen);
    }
    const HMENU menu = CreatePopupMenu();
    const UINT ofRow = MF_STRING | (hasRow ? 0U : MF_GRAYED);
    AppendMenuW(menu, ofRow, CopyValue, L"Copy value");
    AppendMenuW(menu, ofRow, CopyRow, L"Copy row");
    AppendMenuW(menu, MF_STRING, CopyAll, L"Copy all\tCtrl+C");
    const int chosen = TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, screen.x, screen.y, 0, m_window, nullptr);
    DestroyMenu(menu);
    // While the menu was open, something else may have been picked.
    thing = m_session.GetPicking().GetThing();
    if (!thing || (hasRow && static_cast<std::size_t>(selected) >= thing->rows.size())) {
        return;
    }
    if (chosen == CopyValue) {
        CopyText(m_window, thing->rows[static_cast<std::size_t>(selected)].value);
    } else if (chosen == CopyRow) {
        CopyText(m_window, RowsAsText({thing->rows[static_cast<std::size_t>(selected)]}));
    } else if (chosen == CopyAll) {
        m_session.CopyPick(m_window);
    }
}

} // namespace OrrinViewer
