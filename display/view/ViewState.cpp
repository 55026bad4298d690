#include "OpenGLView.h"

#include "../pipeline/ForcedState.h"
#include "../platform/GLCalls.h"
#include "../values/BoundedStack.h"
#include "../values/Capabilities.h"

#include <algorithm>
#include <cmath>

namespace KTR {

namespace {

unsigned char ColorByte(float channel) {
    return static_cast<unsigned char>(std::lround(std::clamp(channel, 0.0F, 1.0F) * 255.0F));
}

} // namespace

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
        CallGL().glEnable(capability);
    } else {
        CallGL().glDisable(capability);
    }
    EnableDisableGLState(capability, enable ? 1 : 0);
    ForceStateAgain(*this, capability);
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
    CallGL().glGetIntegerv(GL_VIEWPORT, attributes.viewport.data());
    CurrentMath().SetViewport(
        {attributes.viewport[0], attributes.viewport[1], attributes.viewport[2], attributes.viewport[3]});
    outputGlError(L"GetInitialGLAttributes END:");
}

void COpenGLView::GetCurrentGLAttributes(GLAttributes& attributes) {
    outputGlError(L"GetCurrentGLAttributes BEGIN: ");
    attributes = CurrentRecord().attributes;
    const GLCalls gl = CallGL();
    for (const Capability& capability : kCapabilities) {
        if (capability.asked) {
            attributes.capabilities[static_cast<std::size_t>(capability.flag)] = gl.glIsEnabled(capability.name) != 0;
        }
    }
    float color[4] = {};
    gl.glGetFloatv(GL_CURRENT_COLOR, color);
    attributes.currentColor = {ColorByte(color[0]), ColorByte(color[1]), ColorByte(color[2]), ColorByte(color[3])};
    float rasterColor[4] = {};
    gl.glGetFloatv(GL_CURRENT_RASTER_COLOR, rasterColor);
    double rasterPosition[4] = {};
    gl.glGetDoublev(GL_CURRENT_RASTER_POSITION, rasterPosition);
    std::copy_n(rasterPosition, attributes.rasterPosition.size(), attributes.rasterPosition.begin());
    const auto integer = [&](unsigned int name) {
        GLint values[4] = {};
        gl.glGetIntegerv(name, values);
        return static_cast<unsigned int>(values[0]);
    };
    gl.glGetFloatv(GL_POINT_SIZE, &attributes.pointSize);
    gl.glGetFloatv(GL_LINE_WIDTH, &attributes.lineWidth);
    attributes.polygonMode = integer(GL_POLYGON_MODE);
    attributes.polygonModeFace = GL_FRONT_AND_BACK;
    // NOTE: Mesa with a thread of its own says 0 before the first mode is set.
    const unsigned int mode = integer(GL_MATRIX_MODE);
    attributes.matrixMode = mode == 0 ? GL_MODELVIEW : mode;
    gl.glGetIntegerv(GL_VIEWPORT, attributes.viewport.data());
    attributes.logicOp = integer(GL_LOGIC_OP_MODE);
    attributes.blendSource = integer(GL_BLEND_SRC_RGB);
    attributes.blendDestination = integer(GL_BLEND_DST_RGB);
    integer(GL_BLEND_SRC_ALPHA);
    integer(GL_BLEND_DST_ALPHA);
    GetLightColor(GL_LIGHT0, attributes.light.color.data());
    outputGlError(L"GetCurrentGLAttributes END: ");
}

void COpenGLView::LoadCurrentGLState() {
    const GLAttributes attributes = CurrentRecord().attributes;
    const auto send = [this](const Capability& capability) {
        LoadGLState(capability.name, IsOpenGLStateEnabled(capability.name));
    };
    for (const Capability& capability : kCapabilities) {
        if (capability.sent == kSentToEveryContext) {
            send(capability);
        }
    }
    PolygonMode(attributes.polygonModeFace, attributes.polygonMode);
    LineWidth(attributes.lineWidth);
    PointSize(attributes.pointSize);
    LogicOp(attributes.logicOp);
    BlendFunc(attributes.blendSource, attributes.blendDestination);
    SetUpViewport(attributes.viewport[0], attributes.viewport[1], attributes.viewport[2], attributes.viewport[3]);
    Color(attributes.currentColor);
    RasterPosition(attributes.rasterPosition[0], attributes.rasterPosition[1], attributes.rasterPosition[2]);
    if (!DrawsWithPrograms()) {
        std::ranges::for_each(FixedFunctionCapabilities(), send);
    }
}

void COpenGLView::PushAttributesOnStack(CircularAttributeStack& stack, const GLAttributes& attributes) {
    PushOnBoundedStack(stack, attributes);
}

bool COpenGLView::PopAttributesFromStack(CircularAttributeStack& stack, GLAttributes& attributes) {
    const GLAttributes before = CurrentRecord().attributes;
    if (!PopFromBoundedStack(stack, attributes)) {
        return false;
    }
    LoadCurrentGLState();
    // What that does not send has to follow where it changed, or the next matrix would land in another mode's.
    const GLAttributes& after = CurrentRecord().attributes;
    if (DrawsWithPrograms()) {
        for (const Capability& capability : FixedFunctionCapabilities()) {
            const auto flag = static_cast<std::size_t>(capability.flag);
            if (after.capabilities[flag] != before.capabilities[flag]) {
                LoadGLState(capability.name, after.capabilities[flag] ? 1 : 0);
            }
        }
    }
    if (after.lineStippleFactor != before.lineStippleFactor || after.lineStipplePattern != before.lineStipplePattern) {
        LineStipple(after.lineStippleFactor, after.lineStipplePattern);
    }
    if (after.readBuffer != before.readBuffer) {
        ReadBuffer(after.readBuffer);
    }
    if (after.matrixMode != before.matrixMode) {
        MatrixMode(after.matrixMode);
    }
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

void COpenGLView::PopAttributesAndMatrices(const wchar_t* label) {
    PopMatricesAndAttributes(true, true, true, 0, label);
}

void COpenGLView::PopMatricesAndAttributes(bool projection, bool modelview, bool attributes, unsigned int drawBuffer,
                                           const wchar_t* label) {
    if (projection) {
        PopMatrix(GL_PROJECTION, label);
    }
    if (modelview) {
        PopMatrix(GL_MODELVIEW, label);
    }
    // Last, because popping a matrix selects its mode, and because the raster position goes through the matrices.
    if (attributes) {
        PopAttributes(label);
    }
    if (drawBuffer != 0) {
        DrawBuffer(drawBuffer);
    }
}

void COpenGLView::BlendFunc(unsigned int source, unsigned int destination) {
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.blendSource = source;
    attributes.blendDestination = destination;
    CallGL().glBlendFunc(source, destination);
}

void COpenGLView::LineWidth(float width) {
    CurrentRecord().attributes.lineWidth = width;
    CallGL().glLineWidth(width);
}

void COpenGLView::PointSize(float size) {
    CurrentRecord().attributes.pointSize = size;
    CallGL().glPointSize(size);
}

void COpenGLView::PolygonMode(unsigned int face, unsigned int mode) {
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.polygonModeFace = face;
    attributes.polygonMode = mode;
    CurrentRecord().objects.fillForced = false;
    CallGL().glPolygonMode(face, mode);
}

void COpenGLView::LogicOp(unsigned int operation) {
    CurrentRecord().attributes.logicOp = operation;
    CallGL().glLogicOp(operation);
}

void COpenGLView::ShadeModel(unsigned int mode) {
    CallGL().glShadeModel(mode);
}

void COpenGLView::LineStipple(int factor, unsigned short pattern) {
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.lineStippleFactor = factor;
    attributes.lineStipplePattern = pattern;
    CallGL().glLineStipple(factor, pattern);
}

void COpenGLView::LineStippleOnOff(bool on) {
    if (!DrawsWithPrograms()) {
        LoadGLState(GL_LINE_STIPPLE, on ? 1 : 0);
    }
}

void COpenGLView::TexEnv(unsigned int target, unsigned int name, int value) {
    CallGL().glTexEnvi(target, name, value);
}

void COpenGLView::TexParameter(unsigned int target, unsigned int name, int value) {
    CallGL().glTexParameteri(target, name, value);
}

void COpenGLView::Light(unsigned int light, unsigned int name, const float* values) {
    if (light == GL_LIGHT0) {
        GLAttributes& attributes = CurrentRecord().attributes;
        GLLightParameters& cached = attributes.light;
        if (name == GL_DIFFUSE) {
            std::copy_n(values, cached.color.size(), cached.color.begin());
        } else if (name == GL_POSITION) {
            // As OpenGL does, the modelview matrix of this moment takes the position to eye coordinates.
            const glm::dvec4 eye =
                CurrentMath().Matrices().modelview * glm::dvec4(values[0], values[1], values[2], values[3]);
            cached.direction = {static_cast<float>(eye.x), static_cast<float>(eye.y), static_cast<float>(eye.z),
                                static_cast<float>(eye.w)};
            attributes.lightInModel = false;
            attributes.headlight = false;
        }
    }
    CallGL().As(L"Light: END").glLightfv(light, name, values);
    // Where the library has set up OpenGL's lights they get its light again.
    CurrentObjects().scene.lighting.sent.reset();
}

void COpenGLView::GetLightColor(unsigned int light, float* color) const {
    CurrentGL().glGetLightfv(light, GL_DIFFUSE, color);
    outputGlError(L"GetLightColor END: ");
}

void COpenGLView::DisableLightingState() {
    if (!DrawsWithPrograms()) {
        Disable(GL_LIGHTING);
    }
}

void COpenGLView::DisableLightsAndTextures() {
    if (DrawsWithPrograms()) {
        return;
    }
    for (const unsigned int capability : {GL_LIGHTING, GL_LIGHT0, GL_COLOR_MATERIAL, GL_TEXTURE_2D}) {
        Disable(capability);
    }
}

void COpenGLView::SaveDepthBufferState() {
    m_savedDepthTest = IsOpenGLStateEnabled(GL_DEPTH_TEST);
}

void COpenGLView::RestoreDepthBufferState() {
    LoadGLState(GL_DEPTH_TEST, static_cast<unsigned char>(m_savedDepthTest));
}

void COpenGLView::SaveLightingState() {
    m_savedLighting = IsOpenGLStateEnabled(GL_LIGHTING);
}

void COpenGLView::RestoreLightingState() {
    LoadGLState(GL_LIGHTING, static_cast<unsigned char>(m_savedLighting));
}

void COpenGLView::RasterPosition(double x, double y, double z) {
    CurrentRecord().attributes.rasterPosition = {x, y, z};
    if (!DrawsWithPrograms()) {
        CallGL().glRasterPos3d(x, y, z);
    }
}

void COpenGLView::DrawBuffer(unsigned int buffer) {
    CallGL().glDrawBuffer(buffer);
}

void COpenGLView::ReadBuffer(unsigned int buffer) {
    const unsigned int selected = m_currentContext == GLContextLegacy ? GL_FRONT : buffer;
    CurrentRecord().attributes.readBuffer = selected;
    CallGL().glReadBuffer(selected);
}

} // namespace KTR
