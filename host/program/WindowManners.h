#pragma once

#include <windows.h>

namespace OrrinViewer {

/// Of the screen that most of the window is on.
int FindPixelsPerInch(HWND window);

/// What a window does as all windows of the desktop do, whatever it shows: it takes the size that another screen wants,
/// and its title bar is dark where the user wants programs dark. Called with every message of the window.
void FollowDesktop(HWND window, UINT message, LPARAM lParam);

/// Makes the window's area, without title and borders, so large.
void SetClientSize(HWND window, int widthPixels, int heightPixels);

/// Whether the user wants programs dark; false where the system does not ask that.
bool WantsDarkTitle();

/// Has the system draw the title bar dark or light. Systems that cannot leave it as it is.
void SetTitleDark(HWND window, bool isDark);

} // namespace OrrinViewer
