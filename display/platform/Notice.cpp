#include "Notice.h"

#include <afxwin.h>

namespace {

KTR::MessageBoxHandler g_handler = nullptr;
void* g_handlerContext = nullptr;

} // namespace

namespace KTR {

void SetMessageBoxHandler(MessageBoxHandler handler, void* context) {
    g_handler = handler;
    g_handlerContext = context;
}

void SendToDebugger(const wchar_t* text) {
    OutputDebugStringW(text);
}

void SendToDebugger(const char* text) {
    OutputDebugStringA(text);
}

void ShowMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int type) {
    if (g_handler) {
        g_handler(text, caption, type, g_handlerContext);
        return;
    }
    MessageBoxW(owner, text, caption, type);
}

void ShowFrameworkMessageBox(const wchar_t* text) {
    if (g_handler) {
        g_handler(text, L"", MB_OK, g_handlerContext);
        return;
    }
    AfxMessageBox(text, MB_OK);
}

HWND FrameworkMainWindow() {
    const CWnd* mainWindow = AfxGetMainWnd();
    return mainWindow ? mainWindow->GetSafeHwnd() : nullptr;
}

} // namespace KTR
