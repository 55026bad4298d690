#include "OpenGLView.h"

#include "Ring.h"

#include <GL/glext.h>

namespace KTR {

void COpenGLView::EnableDisableGLState(unsigned int capability, unsigned char on) {
    const int position = CapabilityFlagPosition(capability);
    if (position >= 0) {
        CurrentRecord().attributes.capabilities[static_cast<std::size_t>(position)] = on != 0;
    }
}

unsigned char COpenGLView::IsOpenGLStateEnabled(unsigned int capability) const {
    const int position = CapabilityFlagPosition(capability);
    return position >= 0 && CurrentRecord().attributes.capabilities[static_cast<std::size_t>(position)] ? 1 : 0;
}

void COpenGLView::Enable(unsigned int capability) {
    LoadGLState(capability, 1);
}

void COpenGLView::Disable(unsigned int capability) {
    LoadGLState(capability, 0);
}

void COpenGLView::LoadGLState(unsigned int capability, unsigned char on) {
    const bool enable = on == 1;
    if (enable) {
        CurrentGL()->glEnable(capability);
        outputGlError(L"glEnable: END");
    } else {
        CurrentGL()->glDisable(capability);
        outputGlError(L"glDisable: END");
    }
    EnableDisableGLState(capability, enable ? 1 : 0);
}

void COpenGLView::GetInitialGLAttributes(GLAttributes& attributes) {
    outputGlError(L"GetInitialGLAttributes BEGIN:");
    // What OpenGL promises for a new context. Only the viewport depends on the window.
    attributes.capabilities = {};
    attributes.blendSource = GL_ONE;
    attributes.blendDestination = GL_ZERO;
    attributes.readBuffer = m_currentContext == GLContextLegacy ? GL_FRONT : GL_BACK;
    attributes.matrixMode = GL_MODELVIEW;
    attributes.polygonModeFace = GL_FRONT_AND_BACK;
    attributes.polygonMode = GL_FILL;
    attributes.logicOp = GL_COPY;
    attributes.lineWidth = 1.0F;
    attributes.pointSize = 1.0F;
    attributes.lineStippleFactor = 1;
    attributes.lineStipplePattern = 0xFFFF;
    CurrentGL()->glGetIntegerv(GL_VIEWPORT, attributes.viewport.data());
    CurrentMath().SetViewport(
        {attributes.viewport[0], attributes.viewport[1], attributes.viewport[2], attributes.viewport[3]});
    outputGlError(L"GetInitialGLAttributes END:");
}

void COpenGLView::LoadCurrentGLState() {
    const GLAttributes attributes = CurrentRecord().attributes;
    for (const unsigned int capability :
         {GL_BLEND, GL_COLOR_LOGIC_OP, GL_DEPTH_TEST, GL_LINE_SMOOTH, GL_SCISSOR_TEST}) {
        LoadGLState(capability, IsOpenGLStateEnabled(capability));
    }
    PolygonMode(attributes.polygonModeFace, attributes.polygonMode);
    LineWidth(attributes.lineWidth);
    PointSize(attributes.pointSize);
    LogicOp(attributes.logicOp);
    BlendFunc(attributes.blendSource, attributes.blendDestination);
    SetUpViewport(attributes.viewport[0], attributes.viewport[1], attributes.viewport[2], attributes.viewport[3]);
    Color(attributes.currentColor);
    if (!IsCurrentContextLegacyOpenGL11()) {
        return;
    }
    for (const unsigned int capability : {GL_LINE_STIPPLE, GL_LIGHTING, GL_LIGHT0, GL_LIGHT1, GL_COLOR_MATERIAL,
                                          GL_POINT_SMOOTH, GL_PROGRAM_POINT_SIZE, GL_TEXTURE_2D, GL_TEXTURE_1D}) {
        LoadGLState(capability, IsOpenGLStateEnabled(capability));
    }
}

void COpenGLView::PushAttributesOnStack(CircularAttributeStack& stack, const GLAttributes& attributes) {
    PushOnRing(stack, attributes);
}

bool COpenGLView::PopAttributesFromStack(CircularAttributeStack& stack, GLAttributes& attributes) {
    if (!PopFromRing(stack, attributes)) {
        return false;
    }
    LoadCurrentGLState();
    return true;
}

void COpenGLView::PushAttributes(unsigned int /*mask*/, const wchar_t* /*label*/) {
    GLRenderingContextRecord& record = CurrentRecord();
    PushAttributesOnStack(record.attributeStack, record.attributes);
    ++record.attributePushDepth;
}

void COpenGLView::PopAttributes(const wchar_t* /*label*/) {
    GLRenderingContextRecord& record = CurrentRecord();
    if (record.attributePushDepth >= 1) {
        PopAttributesFromStack(record.attributeStack, record.attributes);
        --record.attributePushDepth;
    }
}

void COpenGLView::BlendFunc(unsigned int source, unsigned int destination) {
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.blendSource = source;
    attributes.blendDestination = destination;
    CurrentGL()->glBlendFunc(source, destination);
    outputGlError(L"glBlendFunc: END");
}

void COpenGLView::LineWidth(float width) {
    CurrentRecord().attributes.lineWidth = width;
    CurrentGL()->glLineWidth(width);
    outputGlError(L"glLineWidth: END");
}

void COpenGLView::PointSize(float size) {
    CurrentRecord().attributes.pointSize = size;
    CurrentGL()->glPointSize(size);
    outputGlError(L"glPointSize: END");
}

void COpenGLView::PolygonMode(unsigned int face, unsigned int mode) {
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.polygonModeFace = face;
    attributes.polygonMode = mode;
    CurrentRecord().fillForced = false;
    CurrentGL()->glPolygonMode(face, mode);
    outputGlError(L"glPolygonMode: END");
}

void COpenGLView::LogicOp(unsigned int operation) {
    CurrentRecord().attributes.logicOp = operation;
    CurrentGL()->glLogicOp(operation);
    outputGlError(L"glLogicOp: END");
}

void COpenGLView::LineStipple(int factor, unsigned short pattern) {
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.lineStippleFactor = factor;
    attributes.lineStipplePattern = pattern;
    if (!DrawsWithPrograms()) {
        CurrentGL()->glLineStipple(factor, pattern);
        outputGlError(L"glLineStipple: END");
    }
}

void COpenGLView::DrawBuffer(unsigned int buffer) {
    CurrentGL()->glDrawBuffer(buffer);
    outputGlError(L"glDrawBuffer: END");
}

void COpenGLView::ReadBuffer(unsigned int buffer) {
    const unsigned int selected = m_currentContext == GLContextLegacy ? GL_FRONT : buffer;
    CurrentRecord().attributes.readBuffer = selected;
    CurrentGL()->glReadBuffer(selected);
    outputGlError(L"glReadBuffer: END");
}

} // namespace KTR
