#include "../view/OpenGLView.h"

#include "../view/ViewAccess.h"
#include "ClientState.h"
#include "ForcedState.h"
#include "ProgramBinding.h"

#include <GL/glext.h>

#include <cstddef>

namespace KTR {

namespace {

constexpr int kStride = sizeof(GLDrawGeometry);

const void* FieldOf(const GLDrawGeometry* vertices, std::size_t offset) {
    return reinterpret_cast<const unsigned char*>(vertices) + offset;
}

std::array<bool, 4> EnabledArrays(const GLRenderingContextRecord& record) {
    return {record.clientVertexArray, record.clientNormalArray, record.clientColorArray, record.clientTextureArray};
}

void NoteEnabledArrays(GLRenderingContextRecord& record, const std::array<bool, 4>& arrays) {
    record.clientVertexArray = arrays[0];
    record.clientNormalArray = arrays[1];
    record.clientColorArray = arrays[2];
    record.clientTextureArray = arrays[3];
}

} // namespace

bool IsClientStateBound(COpenGLView& view, const ClientStateRequest& wanted) {
    VertexBatchState& batch = ViewAccess::Batch(view);
    if (batch.boundState != wanted || !ViewAccess::HasCurrentContext(view)) {
        return false;
    }
    batch.stateDisableWaits = false;
    if (wanted.form != ClientStateRequest::Form::Program) {
        NoteEnabledArrays(ViewAccess::CurrentRecord(view), wanted.arrays);
    }
    return true;
}

void RememberClientState(COpenGLView& view, const ClientStateRequest& bound) {
    VertexBatchState& batch = ViewAccess::Batch(view);
    // Arrays that an earlier request had enabled would not be bound by this one alone.
    const bool whole = bound.form == ClientStateRequest::Form::Program ||
                       EnabledArrays(ViewAccess::CurrentRecord(view)) == bound.arrays;
    if (batch.SharesDraws() && whole) {
        batch.boundState = bound;
    }
}

void UnbindClientState(COpenGLView& view, const GLCalls& gl) {
    if (view.DrawsWithPrograms()) {
        ContextObjects& objects = ViewAccess::CurrentObjects(view);
        view.DisableShaderVertexAttribArrays(objects.currentShader);
        gl.glUseProgram(0);
        objects.boundProgram = 0;
        ForceStateFor(view, GLShaderUnknown);
    } else {
        for (const unsigned int array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY}) {
            gl.glDisableClientState(array);
        }
        NoteEnabledArrays(ViewAccess::CurrentRecord(view), {});
    }
    gl.Label(L"DisableClientState END:");
}

void COpenGLView::EnableClientState(bool vertex, bool normal, bool color, bool texture, GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        BindStockProgram(*this, shader);
        return;
    }
    ClientStateRequest request;
    request.form = ClientStateRequest::Form::Arrays;
    request.arrays = {vertex, normal, color, texture};
    if (IsClientStateBound(*this, request)) {
        m_batch.Keep(m_batch.waitingCount);
        return;
    }
    outputGlError(L"EnableClientState: BEGIN  4 bool version");
    DisableClientState();
    if (vertex) {
        EnableClientStateVertex();
    }
    if (normal) {
        EnableClientStateNormal();
    }
    if (color) {
        EnableClientStateColor();
    }
    if (texture) {
        EnableClientStateTexture();
    }
    outputGlError(L"Enable ClientState: END: 4 bool version  ");
    RememberClientState(*this, request);
}

void COpenGLView::EnableClientStateInternalBuffers(bool vertex, bool normal, bool color, bool texture,
                                                   GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        BindStockProgram(*this, shader);
        return;
    }
    ClientStateRequest request;
    request.form = ClientStateRequest::Form::InternalBuffers;
    request.arrays = {vertex, normal, color, texture};
    request.texture = texture ? m_textureRequest.shaderTexture : 0;
    if (IsClientStateBound(*this, request)) {
        m_batch.Keep(m_batch.waitingCount);
        return;
    }
    DisableClientState();
    const GLDrawGeometry* vertices = m_batchStorage.batchVertices;
    if (vertex) {
        EnableClientStateVertex();
        VertexPointer(3, GL_FLOAT, kStride, vertices);
    }
    if (normal) {
        EnableClientStateNormal();
        NormalPointer(GL_FLOAT, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, nx)));
    }
    if (color) {
        EnableClientStateColor();
        ColorPointer(4, GL_UNSIGNED_BYTE, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, r)));
    }
    if (texture) {
        EnableClientStateTexture();
        TexCoordPointer(2, GL_FLOAT, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, s)));
        Enable(GL_TEXTURE_2D);
        CallGL().glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
        CallGL().glBindTexture(GL_TEXTURE_2D, m_textureRequest.shaderTexture);
    } else {
        Disable(GL_TEXTURE_2D);
    }
    RememberClientState(*this, request);
}

void COpenGLView::EnableClientStateInternalVertexAndColors(int vertexSize, unsigned int vertexType, int colorSize,
                                                           unsigned int colorType, GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        BindStockProgram(*this, shader);
        return;
    }
    ClientStateRequest request;
    request.form = ClientStateRequest::Form::InternalArrays;
    request.arrays = {true, false, true, false};
    request.layout = {static_cast<unsigned int>(vertexSize), vertexType, static_cast<unsigned int>(colorSize),
                      colorType};
    if (IsClientStateBound(*this, request)) {
        return;
    }
    const GLDrawGeometry* vertices = m_batchStorage.batchVertices;
    EnableClientStateVertex();
    EnableClientStateColor();
    VertexPointer(vertexSize, vertexType, kStride, vertices);
    ColorPointer(colorSize, colorType, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, r)));
    RememberClientState(*this, request);
}

void COpenGLView::EnableClientStateInternalVertexAndTexture(int vertexSize, unsigned int vertexType, int textureSize,
                                                            unsigned int textureType, unsigned int texture,
                                                            GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        if (shader == GLShaderText) {
            CurrentObjects().fontAtlasTexture = texture;
        } else {
            m_textureRequest.shaderTexture = texture;
        }
        BindStockProgram(*this, shader);
        return;
    }
    ClientStateRequest request;
    request.form = ClientStateRequest::Form::InternalArrays;
    request.arrays = {true, false, false, true};
    request.layout = {static_cast<unsigned int>(vertexSize), vertexType, static_cast<unsigned int>(textureSize),
                      textureType};
    request.texture = texture;
    if (IsClientStateBound(*this, request)) {
        return;
    }
    const GLDrawGeometry* vertices = m_batchStorage.batchVertices;
    EnableClientStateVertex();
    EnableClientStateTexture();
    VertexPointer(vertexSize, vertexType, kStride, vertices);
    TexCoordPointer(textureSize, textureType, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, s)));
    CallGL().glBindTexture(GL_TEXTURE_2D, texture);
    RememberClientState(*this, request);
}

void COpenGLView::EnableClientStateVertex() {
    CurrentRecord().clientVertexArray = true;
    CallGL().As(L"EnableClientStateVertex END: ").glEnableClientState(GL_VERTEX_ARRAY);
}

void COpenGLView::EnableClientStateNormal() {
    CurrentRecord().clientNormalArray = true;
    CallGL().As(L"EnableClientStateNormal END: ").glEnableClientState(GL_NORMAL_ARRAY);
}

void COpenGLView::EnableClientStateColor() {
    CurrentRecord().clientColorArray = true;
    CallGL().As(L"EnableClientStateColor END: ").glEnableClientState(GL_COLOR_ARRAY);
}

void COpenGLView::EnableClientStateTexture() {
    const GLCalls gl = CallGL();
    gl.glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    if (gl.Has(&GLEntryPoints::glClientActiveTexture)) {
        gl.glClientActiveTexture(GL_TEXTURE0);
    }
    CurrentRecord().clientTextureArray = true;
    gl.Label(L"EnableClientStateTexture END: ");
}

void COpenGLView::VertexPointer(int size, unsigned int type, int stride, const void* pointer) {
    CallGL().As(L"VertexPointer END: ").glVertexPointer(size, type, stride, pointer);
}

void COpenGLView::NormalPointer(unsigned int type, int stride, const void* pointer) {
    CallGL().As(L"NormalPointer END: ").glNormalPointer(type, stride, pointer);
}

void COpenGLView::ColorPointer(int size, unsigned int type, int stride, const void* pointer) {
    CallGL().As(L"ColorPointer END: ").glColorPointer(size, type, stride, pointer);
}

void COpenGLView::TexCoordPointer(int size, unsigned int type, int stride, const void* pointer) {
    CallGL().As(L"TexCoordPointer END: ").glTexCoordPointer(size, type, stride, pointer);
}

void COpenGLView::DisableClientState() {
    if (m_batch.boundState.form != ClientStateRequest::Form::None && m_batch.SharesDraws()) {
        // The next batch will most likely ask for the same again.
        m_batch.Keep(m_batch.waitingCount);
        m_batch.stateDisableWaits = true;
        NoteEnabledArrays(CurrentRecord(), {});
        return;
    }
    const GLCalls gl = CallGL();
    gl.Label(L"DisableClientState BEGIN:");
    m_batch.Keep(0);
    if (DrawsWithPrograms() && HasCurrentContext() && !m_batch.SharesDraws()) {
        m_gpuWaits += CurrentObjects().ring.ReleaseFences(gl);
    }
    UnbindClientState(*this, gl);
}

} // namespace KTR
