#pragma once

namespace KTR {

/// The two contexts of a view; the value indexes the view's records.
enum GLRenderingContextTypes : int {
    GLContextMain = 0,   ///< OpenGL 4.x when the process uses it, otherwise fixed-function
    GLContextLegacy = 1, ///< always fixed-function
};

/// Number of contexts of a view.
inline constexpr int kContextTypes = 2;

/// Which way a view looks at the model.
enum GLViewOrientation : int {
    GLViewOrientationTop = 0,
};

} // namespace KTR
