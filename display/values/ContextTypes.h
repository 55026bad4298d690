#pragma once

namespace KTR {

/// The two contexts of a view; the value indexes the view's records.
enum GLRenderingContextTypes : int {
    GLContextMain = 0,   ///< OpenGL 4.x when the process uses it, otherwise fixed-function
    GLContextLegacy = 1, ///< always fixed-function
};

/// Number of contexts of a view.
inline constexpr int kContextTypes = 2;

/// Whether drawing has an effect, and what keeps it from that.
enum GLDrawingState : int {
    GLDrawingReady = 0,           ///< what is drawn is seen
    GLDrawingNoContext = 1,       ///< the view has no context of the current kind
    GLDrawingNotCurrent = 2,      ///< it has one, but another is current on this thread, or none
    GLDrawingNoFunctions = 3,     ///< there was no memory for the context's table of functions
    GLDrawingNoPrograms = 4,      ///< a stock program could not be built: what needs it is not seen
    GLDrawingNoVertexStorage = 5, ///< the driver refused memory for vertices; the next EnableClientState... tries again
};

/// Which way a view looks at the model, x to the east, y to the north and z up.
enum GLViewOrientation : int {
    GLViewOrientationTop = 0,         ///< down: right +x, up +y
    GLViewOrientationBottom = 1,      ///< up: right -x, up +y
    GLViewOrientationFront = 2,       ///< towards +y: right +x, up +z
    GLViewOrientationBack = 3,        ///< towards -y: right -x, up +z
    GLViewOrientationLeft = 4,        ///< towards +x: right -y, up +z
    GLViewOrientationRight = 5,       ///< towards -x: right +y, up +z
    GLViewOrientationProfile = 6,     ///< along a line: right is the distance on it, up is the height
    GLViewOrientationPerspective = 7, ///< from an eye, any way
};

} // namespace KTR
