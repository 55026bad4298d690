#pragma once

#include "../pipeline/GeometryPause.h"
#include "../platform/GLCalls.h"
#include "../values/GLAttributes.h"
#include "../values/MatrixStack.h"

#include <GL/glext.h>

#include <array>
#include <span>

namespace KTR {

class COpenGLView;

/// What is about to be drawn, or read back.
enum class DrawnThing { Image, TwoImages, Frame };

/// Keeps what drawing an image, or saving and restoring a frame, changes of a view's current context, and puts it back
/// when it goes: in OpenGL what OpenGL had, and in the library's copy what that said, even where a host has set the two
/// apart. The view's context has to be current all the while.
///
/// The values are asked of OpenGL rather than taken from the copy, and only those that the drawing changes.
class DrawingStateScope {
public:
    DrawingStateScope(COpenGLView& view, DrawnThing thing);
    ~DrawingStateScope();
    DrawingStateScope(const DrawingStateScope&) = delete;
    DrawingStateScope& operator=(const DrawingStateScope&) = delete;

    /// Fills polygons and puts a host's own program aside; either would change what an image looks like.
    void PrepareForDrawing();
    /// Ends reading from the arrays that an image was drawn from. The library's program is in use no longer, a host's
    /// own is again.
    ///
    /// Unlike COpenGLView::DisableClientState it does not wait for the GPU: the next thing can be drawn at once.
    void EndDrawing();

private:
    static constexpr int kMostCapabilities = 6;
    static constexpr int kMostUnits = 2;

    struct Unit {
        GLint texture = 0;
        GLint sampler = 0;
    };

    std::span<const GLenum> Capabilities() const;
    int UnitCount() const;
    void KeepUnits();
    void KeepBlending();
    void KeepFrameState();
    void ReturnUnits() const;
    void ReturnBlending() const;
    void ReturnFrameState() const;

    GeometryPause m_pause;
    COpenGLView& m_view;
    GLCalls m_gl;
    bool m_programs;
    DrawnThing m_thing;
    GLAttributes m_attributes;
    MatrixSet m_matrices;
    unsigned int m_shaderTexture;
    unsigned int m_shaderSampler;
    bool m_fillForced;
    bool m_hasUnits;
    bool m_capabilities[kMostCapabilities] = {};
    GLint m_polygonMode[2] = {};
    bool m_polygonModeChanged = false;
    GLuint m_hostProgram = 0; ///< in use without the library's doing
    GLint m_activeUnit = GL_TEXTURE0;
    Unit m_units[kMostUnits];
    GLint m_blending[4] = {};
    GLint m_viewport[4] = {};
    GLint m_drawBuffer = 0;
    GLint m_readBuffer = 0;
    GLint m_depthFunction = GL_LESS;
    GLboolean m_depthMask = GL_TRUE;
};

} // namespace KTR
