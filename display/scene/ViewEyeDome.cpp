#include "../images/DrawingStateScope.h"

#include "../diagnostics/DebugNames.h"
#include "../pipeline/PixelStoreScope.h"
#include "../view/ViewAccess.h"
#include "EyeDome.h"

#include <GL/glext.h>

#include <cmath>

namespace KTR {

namespace {

constexpr float kSmallestRadius = 1.0F;
constexpr float kLargestRadius = 64.0F;

/// Keeps the factors that what is drawn is blended by.
class BlendingScope {
public:
    explicit BlendingScope(const GLCalls& gl) : m_gl(gl) {
        for (int index = 0; index < 4; ++index) {
            m_gl.glGetIntegerv(kFactors[index], &m_factors[index]);
        }
        m_gl.glGetIntegerv(GL_BLEND_EQUATION_RGB, &m_equations[0]);
        m_gl.glGetIntegerv(GL_BLEND_EQUATION_ALPHA, &m_equations[1]);
    }
    ~BlendingScope() {
        m_gl.glBlendFuncSeparate(Enum(m_factors[0]), Enum(m_factors[1]), Enum(m_factors[2]), Enum(m_factors[3]));
        m_gl.glBlendEquationSeparate(Enum(m_equations[0]), Enum(m_equations[1]));
    }
    BlendingScope(const BlendingScope&) = delete;
    BlendingScope& operator=(const BlendingScope&) = delete;

    /// What is there is multiplied with what is drawn.
    void Multiply() const {
        m_gl.glBlendEquation(GL_FUNC_ADD);
        m_gl.glBlendFunc(GL_ZERO, GL_SRC_COLOR);
    }

private:
    static constexpr GLenum kFactors[] = {GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA};

    static GLenum Enum(GLint value) { return static_cast<GLenum>(value); }

    const GLCalls& m_gl;
    GLint m_factors[4] = {};
    GLint m_equations[2] = {};
};

} // namespace

long COpenGLView::SetUpEyeDomeLighting(bool on, float strength, float radiusPixels) {
    if (!std::isfinite(strength) || strength < 0.0F ||
        !(radiusPixels >= kSmallestRadius && radiusPixels <= kLargestRadius)) {
        return E_INVALIDARG;
    }
    CurrentRecord().eyeDome = {on, strength, radiusPixels};
    return S_OK;
}

bool COpenGLView::IsEyeDomeLightingAvailable() const {
    return DrawsWithPrograms() && HasCurrentContext() && CurrentRecord().pixelFormat.cDepthBits != 0 &&
           !CurrentObjects().scene.eyeDome.failed;
}

long COpenGLView::DrawEyeDomeLighting() {
    const EyeDomeSettings& settings = CurrentRecord().eyeDome;
    if (!settings.on || !IsEyeDomeLightingAvailable()) {
        return S_OK;
    }
    const GLCalls gl = CallGL();
    const DebugGroup group(gl, "DrawEyeDomeLighting");
    EyeDomeObjects& objects = CurrentObjects().scene.eyeDome;
    if (!BuildEyeDomeProgram(gl, objects)) {
        return E_FAIL;
    }
    const std::array<int, 4> viewport = CurrentRecord().attributes.viewport;
    if (viewport[2] <= 0 || viewport[3] <= 0) {
        return S_OK;
    }
    if (objects.vertexArray == 0) {
        gl.glGenVertexArrays(1, &objects.vertexArray);
    }
    CurrentObjects().programStateBound = true;
    DrawingStateScope state(*this, DrawnThing::Frame);
    const BlendingScope blending(gl);
    state.PrepareForDrawing();
    for (const GLenum capability : {GL_DEPTH_TEST, GL_COLOR_LOGIC_OP, GL_CULL_FACE, GL_STENCIL_TEST}) {
        Disable(capability);
    }
    Enable(GL_BLEND);
    blending.Multiply();
    {
        const PixelStoreScope unchanged(gl, PixelDirection::Unpack, {});
        CopyDepths(gl, objects, viewport);
    }
    DrawEyeDome(gl, objects, settings, DepthScaleOf(CurrentMath().Matrices().projection, viewport[3]), viewport);
    state.EndDrawing();
    return S_OK;
}

} // namespace KTR
