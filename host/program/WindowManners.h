#pragma once

#include <windows.h>

namespace OrrinViewer {

/// Of the screen that most of the window is on.
int FindPixelsPerInch(HWND window);

/// What a window does as all windows of the desktop do, whatever it shows: it takes the size that another screen wants.
/// Called with every message of the window.
void FollowDesktop(HWND window, UINT message, LPARAM lParam);

/// Makes the window's area, without title and borders, so large.
void SetClientSize(HWND window, int widthPixels, int heightPixels);

} // namespace OrrinViewer
