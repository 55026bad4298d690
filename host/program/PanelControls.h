#pragma once

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <string>

namespace OrrinViewer {

/// What the keys do in a panel's controls where these do not take them: the panel's own, and those of the map.
using ControlKeys = std::function<bool(HWND control, WPARAM key)>;

/// Makes a control in the system's font. Each key that is pressed in it is offered to `keys` first, which must live as
/// long as the control.
HWND AddControl(HWND parent, const wchar_t* kind, const wchar_t* text, DWORD style, int id, const ControlKeys& keys);

/// The font that the system writes its messages in; lives as long as the program.
HFONT PanelFont();
/// The height of a line of it.
int PanelLineHeight();

/// A length of so many pixels on a screen of 96 to the inch, on that which the program was started on; fonts follow it
/// too.
int PanelPixels(int pixels) noexcept;

/// Sets a text only where it is another one, since that makes controls flicker.
void ShowText(HWND control, const std::wstring& text);
std::wstring TextOf(HWND control);

/// A list of lines with a tick each: a wide column, and a narrow one for `noteWidth` pixels.
HWND AddTickList(HWND parent, int id, int noteWidth, const ControlKeys& keys);
/// The wide column takes what the narrow one leaves.
void FitColumns(HWND list);
void SetTick(HWND list, int line, bool on);
bool HasTick(HWND list, int line);
void SetLine(HWND list, int line, const std::wstring& text, const std::wstring& note);

} // namespace OrrinViewer
