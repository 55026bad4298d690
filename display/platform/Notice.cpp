#include "Notice.h"

#include "Border.h"
#include "ProcessEnvironment.h"

#include <afxwin.h>

namespace {

KTR::MessageBoxHandler g_handler = nullptr;
void* g_handlerContext = nullptr;

/// Answers a box without a person: by the host, or, in a process whose desktop nobody sees, by telling the debugger. A
/// service's box would wait there for ever.
bool AnswerUnseen(const wchar_t* text, const wchar_t* caption, unsigned int type) {
    if (g_handler) {
        g_handler(text, caption, type, g_handlerContext);
        return true;
    }
    int visible = 1;
    if (KTR::IsProcessInteractive(visible) == 1 || visible != 0) {
        return false;
    }
    KTR::SendToDebugger(text);
    return true;
}

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
    if (!AnswerUnseen(text, caption, type)) {
        MessageBoxW(owner, text, caption, type);
    }
}

void ShowFrameworkMessageBox(const wchar_t* text) {
    AtTheBorder([text] {
        if (!AnswerUnseen(text, L"", MB_OK)) {
            AfxMessageBox(text, MB_OK);
        }
    });
}

HWND FrameworkMainWindow() {
    const CWnd* mainWindow = AfxGetMainWnd();
    return mainWindow ? mainWindow->GetSafeHwnd() : nullptr;
}

} // namespace KTR
