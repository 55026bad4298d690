#pragma once

#include "../Export.h"
#include "../Framework.h"

namespace KTR {

/// Answers a message box in place of a person. `caption` is empty for a box of the host's framework, which would show
/// the program's name. The result is what the box would have returned (IDOK, ...).
using MessageBoxHandler = int (*)(const wchar_t* text, const wchar_t* caption, unsigned int type, void* context);

/// Sends every later message box of the library to `handler` instead of the screen; null shows them again. For hosts
/// that run unattended. Set it before the first view is made; it is not synchronised with boxes on other threads.
/// Without a handler a process whose desktop nobody sees, such as a service, shows none either: the debugger gets the
/// text.
ORRIN_DISPLAY_API void SetMessageBoxHandler(MessageBoxHandler handler, void* context);

/// Debugger output. Everything that the library says there goes through these two.
void SendToDebugger(const wchar_t* text);
void SendToDebugger(const char* text);

/// Modal message box of the system.
void ShowMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int type);
/// Modal message box of the host's framework, with the default style and the program's name as its caption. What a
/// host's handler throws goes no further.
void ShowFrameworkMessageBox(const wchar_t* text);
/// The main window of the host's framework, or null when there is none.
HWND FrameworkMainWindow();

} // namespace KTR
