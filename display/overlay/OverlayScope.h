#pragma once

#include "../pipeline/GeometryPause.h"
#include "../platform/GLCalls.h"
#include "../view/ViewAccess.h"

namespace KTR {

/// Lets code of others draw on the view's context and takes back whatever it has changed there: OpenGL's state, the
/// library's copy of it, matrices and their stacks, the camera,
/// open batches and runs. The view's context has to be current.
///
/// Client state is disabled afterwards, and a program of the library's is in use no longer.
class OverlayScope {
public:
    explicit OverlayScope(COpenGLView& view);
    ~OverlayScope();
    OverlayScope(const OverlayScope&) = delete;
    OverlayScope& operator=(const OverlayScope&) = delete;

private:
    struct Binding {
        GLint draw = 0;
        GLint read = 0;
    };

    GeometryPause m_pause;
    COpenGLView& m_view;
    GLCalls m_gl;
    GLAttributes m_attributes;
    MatrixSet m_matrices;
    StackOfMatrices m_matrixStacks;
    CircularAttributeStack m_attributeStack;
    int m_depths[4] = {};
    int m_textRuns;
    int m_sharedDepth;
    double m_textScale;
    TextLook m_textLook;
    PointXY m_offset;
    ViewCamera m_camera;
    decltype(GLRenderingContextRecord::loadedView) m_loadedView;
    unsigned int m_shaderTexture;
    unsigned int m_shaderSampler;
    GLuint m_hostProgram = 0;
    Binding m_framebuffer;
};

} // namespace KTR
