#pragma once

#include <OrrinDisplay.h>

namespace OrrinViewer {

/// True when the current context draws with the 4.x programs; not every 4.x context can.
inline bool DrawsWithPrograms(const KTR::COpenGLView& view) {
    return view.IsCurrentContextOpenGL4OrLater() &&
           !view.GetContextRecord(view.GetCurrentContextType()).fixedFunctionOnly;
}

} // namespace OrrinViewer
