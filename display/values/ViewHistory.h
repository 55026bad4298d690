#pragma once

#include "MatrixStack.h"
#include "ViewCamera.h"

namespace KTR {

/// A bounded stack of cameras with the rules of CircularMatrixStack.
struct CircularCameraStack {
    int count = 0;
    int top = -1;
    ViewCamera entries[kStackDepth];
};

/// The views before and after the one that is shown.
struct ViewHistory {
    CircularCameraStack previous;
    CircularCameraStack next;
    int openChanges = 0;       ///< nested COpenGLView::BeginViewChange
    bool isRemembered = false; ///< the view from before the open change is on the stack
};

/// The camera's matrices as they were loaded last. As long as the current ones are these the camera's picture is drawn.
struct LoadedView {
    ViewExtents visible;
    glm::dmat4 projection{0.0};
    glm::dmat4 modelview{0.0};
};

/// Where the last zoom went to, and the camera that it left.
struct ZoomFocus {
    double clientX = 0.0;
    double clientY = 0.0;
    glm::dvec3 place{0.0};
    ViewCamera camera;
};

} // namespace KTR
