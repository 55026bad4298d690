#pragma once

#include <OrrinDisplay.h>

namespace OrrinViewer {

/// Draws triangles with normals and colours in the scene's light.
inline void DrawLitGeometry(KTR::COpenGLView& view, KTR::GLGeometry& geometry) {
    view.SetUpLighting(true);
    view.EnableClientStateInternalBuffers(true, true, true, false, KTR::GLShaderShadedColor3Stage);
    view.DrawGeometry(geometry);
    view.DisableClientState();
    view.SetUpLighting(false);
}

} // namespace OrrinViewer
