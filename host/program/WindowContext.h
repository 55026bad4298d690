#pragma once

#include <OrrinDisplay.h>

namespace OrrinViewer {

/// Gives a view the context to draw in a window: of the graphics card's driver, or else of the system's own software,
/// as in a remote desktop, which the error output is told once. False when there is neither.
///
/// Software switches the whole process to fixed functions.
bool CreateWindowContext(KTR::COpenGLView& view, HWND window, const wchar_t* name);

} // namespace OrrinViewer
