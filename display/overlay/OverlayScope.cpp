#include "OverlayScope.h"

#include <GL/glext.h>

namespace KTR {

namespace {

GLint IntegerOf(const GLCalls& gl, GLenum name) {
    GLint value = 0;
    gl.glGetIntegerv(name, &value);
    return value;
}

bool HasFramebuffers(const GLCalls& gl) {
    return gl.Has(&GLEntryPoints::glBindFramebuffer);
}

} // namespace

OverlayScope::OverlayScope(COpenGLView& view)
    : m_pause(view), m_view(view), m_gl(ViewAccess::CallGL(view)),
      m_attributes(ViewAccess::CurrentRecord(view).attributes), m_matrices(ViewAccess::CurrentMatrices(view)),
      m_matrixStacks(ViewAccess::CurrentRecord(view).matrixStacks),
      m_attributeStack(ViewAccess::CurrentRecord(view).attributeStack), m_textRuns(ViewAccess::Text(view).setups.count),
      m_sharedDepth(ViewAccess::Batch(view).sharedDepth), m_textScale(ViewAccess::CurrentRecord(view).textScale),
      m_textLook(ViewAccess::Text(view).look), m_offset{ViewAccess::CurrentRecord(view).coordinateOffsetX,
                                                        ViewAccess::CurrentRecord(view).coordinateOffsetY},
      m_camera(ViewAccess::CurrentRecord(view).camera), m_loadedView(ViewAccess::CurrentRecord(view).loadedView),
      m_shaderTexture(ViewAccess::Textures(view).shaderTexture),
      m_shaderSampler(ViewAccess::Textures(view).shaderSampler) {
    // What the library itself has set for the program in use must not be kept as the host's state.
    view.DisableClientState();
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    m_depths[0] = record.modelviewPushDepth;
    m_depths[1] = record.projectionPushDepth;
    m_depths[2] = record.attributePushDepth;
    m_depths[3] = record.textMatrixPushDepth;
    if (m_gl.Has(&GLEntryPoints::glUseProgram)) {
        const auto program = static_cast<GLuint>(IntegerOf(m_gl, GL_CURRENT_PROGRAM));
        m_hostProgram = program == ViewAccess::CurrentObjects(view).boundProgram ? 0 : program;
    }
    if (HasFramebuffers(m_gl)) {
        m_framebuffer = {IntegerOf(m_gl, GL_DRAW_FRAMEBUFFER_BINDING), IntegerOf(m_gl, GL_READ_FRAMEBUFFER_BINDING)};
    }
    m_gl.glPushAttrib(GL_ALL_ATTRIB_BITS);
    m_gl.glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
}

OverlayScope::~OverlayScope() {
    while (ViewAccess::Text(m_view).setups.count > m_textRuns) {
        m_view.DrawTeardownFontAtlasText(false, false);
    }
    while (ViewAccess::Batch(m_view).sharedDepth > m_sharedDepth) {
        m_view.EndSharedDraws();
    }
    ViewAccess::Batch(m_view).sharedDepth = m_sharedDepth;
    m_view.DisableClientState(); // draws what waits, with the state that it was added with
    if (HasFramebuffers(m_gl)) {
        m_gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(m_framebuffer.draw));
        m_gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(m_framebuffer.read));
    }
    ContextObjects& objects = ViewAccess::CurrentObjects(m_view);
    if (m_gl.Has(&GLEntryPoints::glUseProgram)) {
        m_gl.glUseProgram(m_hostProgram != 0 && m_gl.glIsProgram(m_hostProgram) ? m_hostProgram : 0);
        objects.boundProgram = 0;
    }
    m_gl.glPopClientAttrib();
    m_gl.glPopAttrib();
    GLRenderingContextRecord& record = ViewAccess::CurrentRecord(m_view);
    record.attributes = m_attributes;
    record.matrixStacks = m_matrixStacks;
    record.attributeStack = m_attributeStack;
    record.modelviewPushDepth = m_depths[0];
    record.projectionPushDepth = m_depths[1];
    record.attributePushDepth = m_depths[2];
    record.textMatrixPushDepth = m_depths[3];
    record.textScale = m_textScale;
    ViewAccess::Text(m_view).look = m_textLook;
    record.coordinateOffsetX = m_offset.x;
    record.coordinateOffsetY = m_offset.y;
    record.camera = m_camera;
    record.loadedView = m_loadedView;
    ViewAccess::CurrentMatrices(m_view) = m_matrices;
    const std::array<int, 4>& viewport = m_attributes.viewport;
    ViewAccess::CurrentMath(m_view).SetViewport({viewport[0], viewport[1], viewport[2], viewport[3]});
    m_view.DrawSetupSetShaderTexture(m_shaderTexture, m_shaderSampler);
    if (!m_view.DrawsWithPrograms()) {
        m_view.LoadCurrentMatrices();
        m_view.MatrixMode(m_attributes.matrixMode);
    }
}

} // namespace KTR
