#include "DrawingStateScope.h"

#include "../pipeline/TextureUnit.h"
#include "../view/ViewAccess.h"

namespace KTR {

namespace {

constexpr GLenum kOfImagesWithPrograms[] = {GL_BLEND};
constexpr GLenum kOfImagesWithFixedFunctions[] = {GL_BLEND, GL_LIGHTING, GL_TEXTURE_2D};
constexpr GLenum kOfFramesWithPrograms[] = {GL_BLEND,     GL_COLOR_LOGIC_OP, GL_SCISSOR_TEST,
                                            GL_CULL_FACE, GL_STENCIL_TEST,   GL_DEPTH_TEST};
constexpr GLenum kOfFramesWithFixedFunctions[] = {GL_BLEND,      GL_COLOR_LOGIC_OP, GL_SCISSOR_TEST,
                                                  GL_TEXTURE_1D, GL_TEXTURE_2D,     GL_DEPTH_TEST};

GLint IntegerOf(const GLCalls& gl, GLenum name) {
    GLint value = 0;
    gl.glGetIntegerv(name, &value);
    return value;
}

} // namespace

DrawingStateScope::DrawingStateScope(COpenGLView& view, DrawnThing thing)
    : m_pause(view), m_view(view), m_gl(ViewAccess::CallGL(view)), m_programs(view.DrawsWithPrograms()), m_thing(thing),
      m_attributes(ViewAccess::CurrentRecord(view).attributes), m_matrices(ViewAccess::CurrentMatrices(view)),
      m_shaderTexture(ViewAccess::Textures(view).shaderTexture),
      m_shaderSampler(ViewAccess::Textures(view).shaderSampler),
      m_fillForced(ViewAccess::CurrentObjects(view).fillForced), m_hasUnits(m_gl.Has(&GLEntryPoints::glActiveTexture)) {
    KeepUnits();
    for (std::size_t index = 0; index < Capabilities().size(); ++index) {
        m_capabilities[index] = m_gl.glIsEnabled(Capabilities()[index]) != 0;
    }
    m_gl.glGetIntegerv(GL_POLYGON_MODE, m_polygonMode);
    if (m_gl.Has(&GLEntryPoints::glUseProgram)) {
        const auto program = static_cast<GLuint>(IntegerOf(m_gl, GL_CURRENT_PROGRAM));
        m_hostProgram = program == ViewAccess::CurrentObjects(view).boundProgram ? 0 : program;
    }
    if (m_thing == DrawnThing::Frame) {
        KeepFrameState();
    } else {
        KeepBlending();
    }
}

DrawingStateScope::~DrawingStateScope() {
    m_view.DrawSetupSetShaderTexture(m_shaderTexture, m_shaderSampler);
    for (std::size_t index = 0; index < Capabilities().size(); ++index) {
        const GLenum capability = Capabilities()[index];
        if ((m_gl.glIsEnabled(capability) != 0) != m_capabilities[index]) {
            m_view.LoadGLState(capability, m_capabilities[index] ? 1 : 0);
        }
    }
    if (m_thing == DrawnThing::Frame) {
        ReturnFrameState();
    } else {
        ReturnBlending();
    }
    if (m_polygonModeChanged) {
        const auto mode = [this](int face) { return static_cast<GLenum>(m_polygonMode[face]); };
        if (m_polygonMode[0] == m_polygonMode[1]) {
            m_gl.glPolygonMode(GL_FRONT_AND_BACK, mode(0));
        } else {
            m_gl.glPolygonMode(GL_FRONT, mode(0));
            m_gl.glPolygonMode(GL_BACK, mode(1));
        }
    }
    ViewAccess::CurrentObjects(m_view).fillForced = m_fillForced;
    ViewAccess::CurrentMatrices(m_view) = m_matrices;
    if (!m_programs) {
        m_view.LoadCurrentMatrices();
        m_view.MatrixMode(m_attributes.matrixMode);
    }
    ReturnUnits();
    ViewAccess::CurrentRecord(m_view).attributes = m_attributes;
}

void DrawingStateScope::PrepareForDrawing() {
    // A core context has one mode for both sides and answers with one value.
    const bool fills = m_polygonMode[0] == GL_FILL && (m_polygonMode[1] == GL_FILL || m_polygonMode[1] == 0);
    if (!fills) {
        m_polygonMode[1] = m_polygonMode[1] == 0 ? m_polygonMode[0] : m_polygonMode[1];
        m_gl.glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        m_polygonModeChanged = true;
    }
    ViewAccess::CurrentObjects(m_view).fillForced = true;
    if (!m_programs && m_hostProgram != 0) {
        m_gl.glUseProgram(0);
    }
}

void DrawingStateScope::EndDrawing() {
    ViewAccess::CallGL(m_view); // m_gl comes past what waits
    // NOTE: a program that was marked for deletion while in use is gone once another one was.
    const GLuint program = m_hostProgram != 0 && m_gl.glIsProgram(m_hostProgram) ? m_hostProgram : 0;
    if (!m_programs) {
        if (m_thing != DrawnThing::Frame) {
            m_view.DisableClientState();
        }
        if (program != 0) {
            m_gl.glUseProgram(program);
        }
        return;
    }
    ContextObjects& objects = ViewAccess::CurrentObjects(m_view);
    m_view.DisableShaderVertexAttribArrays(objects.currentShader);
    m_gl.glUseProgram(program);
    objects.boundProgram = 0;
}

std::span<const GLenum> DrawingStateScope::Capabilities() const {
    static_assert(std::size(kOfFramesWithPrograms) == kMostCapabilities);
    static_assert(std::size(kOfFramesWithFixedFunctions) == kMostCapabilities);
    if (m_thing == DrawnThing::Frame) {
        return m_programs ? std::span<const GLenum>(kOfFramesWithPrograms)
                          : std::span<const GLenum>(kOfFramesWithFixedFunctions);
    }
    return m_programs ? std::span<const GLenum>(kOfImagesWithPrograms)
                      : std::span<const GLenum>(kOfImagesWithFixedFunctions);
}

/// A frame has a second texture for its depths. Of fixed functions a second image takes units of its own.
int DrawingStateScope::UnitCount() const {
    return m_programs && m_thing != DrawnThing::Image ? kMostUnits : 1;
}

/// What is bound to the units. A texture or sampler that was deleted in another context lives on only while it is bound
/// here: put back by its name it would be an error, or a new texture that nobody deletes.
///
/// The first unit is the active one afterwards.
void DrawingStateScope::KeepUnits() {
    if (m_hasUnits) {
        m_activeUnit = IntegerOf(m_gl, GL_ACTIVE_TEXTURE);
    }
    for (int unit = UnitCount() - 1; unit >= 0; --unit) {
        const GLenum wanted = GL_TEXTURE0 + static_cast<GLenum>(unit);
        if (m_hasUnits && (UnitCount() > 1 || m_activeUnit != GL_TEXTURE0)) {
            m_gl.glActiveTexture(wanted);
        }
        Unit& bound = m_units[unit];
        bound.texture = IntegerOf(m_gl, GL_TEXTURE_BINDING_2D);
        if (bound.texture != 0 && !m_gl.glIsTexture(static_cast<GLuint>(bound.texture))) {
            bound.texture = 0;
        }
        if (m_programs) {
            bound.sampler = IntegerOf(m_gl, GL_SAMPLER_BINDING);
        }
        if (bound.sampler != 0 && !m_gl.glIsSampler(static_cast<GLuint>(bound.sampler))) {
            bound.sampler = 0;
        }
    }
}

void DrawingStateScope::ReturnUnits() const {
    for (int unit = UnitCount() - 1; unit >= 0; --unit) {
        const auto texture = static_cast<GLuint>(m_units[unit].texture);
        if (m_programs) {
            BindTextureUnit(m_gl, static_cast<unsigned int>(unit), texture, static_cast<GLuint>(m_units[unit].sampler));
        } else {
            m_gl.glBindTexture(GL_TEXTURE_2D, texture);
        }
    }
    if (m_activeUnit != GL_TEXTURE0) {
        m_gl.glActiveTexture(static_cast<GLenum>(m_activeUnit));
    }
}

/// Factors of alpha's own came with OpenGL 1.4, and with them the names of the four.
void DrawingStateScope::KeepBlending() {
    const bool separate = m_gl.Has(&GLEntryPoints::glBlendFuncSeparate);
    m_blending[0] = IntegerOf(m_gl, separate ? GL_BLEND_SRC_RGB : GL_BLEND_SRC);
    m_blending[1] = IntegerOf(m_gl, separate ? GL_BLEND_DST_RGB : GL_BLEND_DST);
    m_blending[2] = separate ? IntegerOf(m_gl, GL_BLEND_SRC_ALPHA) : m_blending[0];
    m_blending[3] = separate ? IntegerOf(m_gl, GL_BLEND_DST_ALPHA) : m_blending[1];
}

void DrawingStateScope::ReturnBlending() const {
    const auto factor = [this](int index) { return static_cast<GLenum>(m_blending[index]); };
    if (factor(0) == factor(2) && factor(1) == factor(3)) {
        m_gl.glBlendFunc(factor(0), factor(1));
    } else {
        m_gl.glBlendFuncSeparate(factor(0), factor(1), factor(2), factor(3));
    }
}

void DrawingStateScope::KeepFrameState() {
    m_gl.glGetIntegerv(GL_VIEWPORT, m_viewport);
    m_drawBuffer = IntegerOf(m_gl, GL_DRAW_BUFFER);
    m_readBuffer = IntegerOf(m_gl, GL_READ_BUFFER);
    m_depthFunction = IntegerOf(m_gl, GL_DEPTH_FUNC);
    m_gl.glGetBooleanv(GL_DEPTH_WRITEMASK, &m_depthMask);
}

void DrawingStateScope::ReturnFrameState() const {
    const std::array<int, 4>& viewport = m_attributes.viewport;
    ViewAccess::CurrentMath(m_view).SetViewport({viewport[0], viewport[1], viewport[2], viewport[3]});
    m_gl.glViewport(m_viewport[0], m_viewport[1], m_viewport[2], m_viewport[3]);
    if (IntegerOf(m_gl, GL_READ_BUFFER) != m_readBuffer) {
        m_gl.glReadBuffer(static_cast<GLenum>(m_readBuffer));
    }
    if (IntegerOf(m_gl, GL_DRAW_BUFFER) != m_drawBuffer) {
        m_gl.glDrawBuffer(static_cast<GLenum>(m_drawBuffer));
    }
    m_gl.glDepthFunc(static_cast<GLenum>(m_depthFunction));
    m_gl.glDepthMask(m_depthMask);
}

} // namespace KTR
