#include "../view/OpenGLView.h"

#include <GL/glext.h>

#include <cstddef>

namespace KTR {

namespace {

constexpr int kStride = sizeof(GLDrawGeometry);

const void* FieldOf(const GLDrawGeometry* vertices, std::size_t offset) {
    return reinterpret_cast<const unsigned char*>(vertices) + offset;
}

} // namespace

void COpenGLView::EnableClientState(bool vertex, bool normal, bool color, bool texture, GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        BindVariablesToShaderProgram(m_currentContext, shader, m_gShaderSet.programs[shader]);
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
}

void COpenGLView::EnableClientStateInternalBuffers(bool vertex, bool normal, bool color, bool texture,
                                                   GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        BindVariablesToShaderProgram(m_currentContext, shader, m_gShaderSet.programs[shader]);
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
    if (!texture) {
        Disable(GL_TEXTURE_2D);
        return;
    }
    EnableClientStateTexture();
    TexCoordPointer(2, GL_FLOAT, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, s)));
    Enable(GL_TEXTURE_2D);
    CurrentGL()->glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    outputGlError(L"glTexEnvi: END");
    CurrentGL()->glBindTexture(GL_TEXTURE_2D, m_textureRequest.shaderTexture);
    outputGlError(L"glBindTexture: END");
}

void COpenGLView::EnableClientStateInternalVertexAndColors(int vertexSize, unsigned int vertexType, int colorSize,
                                                           unsigned int colorType, GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        BindVariablesToShaderProgram(m_currentContext, shader, m_gShaderSet.programs[shader]);
        return;
    }
    const GLDrawGeometry* vertices = m_batchStorage.batchVertices;
    EnableClientStateVertex();
    EnableClientStateColor();
    VertexPointer(vertexSize, vertexType, kStride, vertices);
    ColorPointer(colorSize, colorType, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, r)));
}

void COpenGLView::EnableClientStateInternalVertexAndTexture(int vertexSize, unsigned int vertexType, int textureSize,
                                                            unsigned int textureType, unsigned int texture,
                                                            GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        if (shader == GLShaderText) {
            CurrentRecord().fontAtlasTexture = texture;
        } else {
            m_textureRequest.shaderTexture = texture;
        }
        BindVariablesToShaderProgram(m_currentContext, shader, m_gShaderSet.programs[shader]);
        return;
    }
    const GLDrawGeometry* vertices = m_batchStorage.batchVertices;
    EnableClientStateVertex();
    EnableClientStateTexture();
    VertexPointer(vertexSize, vertexType, kStride, vertices);
    TexCoordPointer(textureSize, textureType, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, s)));
    CurrentGL()->glBindTexture(GL_TEXTURE_2D, texture);
    outputGlError(L"glBindTexture: END");
}

void COpenGLView::EnableClientStateVertex() {
    CurrentGL()->glEnableClientState(GL_VERTEX_ARRAY);
    CurrentRecord().clientVertexArray = true;
    outputGlError(L"EnableClientStateVertex END: ");
}

void COpenGLView::EnableClientStateNormal() {
    CurrentGL()->glEnableClientState(GL_NORMAL_ARRAY);
    CurrentRecord().clientNormalArray = true;
    outputGlError(L"EnableClientStateNormal END: ");
}

void COpenGLView::EnableClientStateColor() {
    CurrentGL()->glEnableClientState(GL_COLOR_ARRAY);
    CurrentRecord().clientColorArray = true;
    outputGlError(L"EnableClientStateColor END: ");
}

void COpenGLView::EnableClientStateTexture() {
    const COrrinGLCement* gl = CurrentGL();
    gl->glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    if (gl->glClientActiveTexture) {
        gl->glClientActiveTexture(GL_TEXTURE0);
    }
    CurrentRecord().clientTextureArray = true;
    outputGlError(L"EnableClientStateTexture END: ");
}

void COpenGLView::VertexPointer(int size, unsigned int type, int stride, const void* pointer) {
    CurrentGL()->glVertexPointer(size, type, stride, pointer);
    outputGlError(L"VertexPointer END: ");
}

void COpenGLView::NormalPointer(unsigned int type, int stride, const void* pointer) {
    CurrentGL()->glNormalPointer(type, stride, pointer);
    outputGlError(L"NormalPointer END: ");
}

void COpenGLView::ColorPointer(int size, unsigned int type, int stride, const void* pointer) {
    CurrentGL()->glColorPointer(size, type, stride, pointer);
    outputGlError(L"ColorPointer END: ");
}

void COpenGLView::TexCoordPointer(int size, unsigned int type, int stride, const void* pointer) {
    CurrentGL()->glTexCoordPointer(size, type, stride, pointer);
    outputGlError(L"TexCoordPointer END: ");
}

void COpenGLView::DisableClientState() {
    DrawPendingText();
    outputGlError(L"DisableClientState BEGIN:");
    KeepBatchVertices(0);
    GLRenderingContextRecord& record = CurrentRecord();
    if (DrawsWithPrograms()) {
        ReleaseRingFences();
        DisableShaderVertexAttribArrays(record.currentShader);
        CurrentGL()->glUseProgram(0);
        record.boundProgram = 0;
    } else {
        const COrrinGLCement* gl = CurrentGL();
        for (const unsigned int array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY}) {
            gl->glDisableClientState(array);
        }
        record.clientVertexArray = false;
        record.clientNormalArray = false;
        record.clientColorArray = false;
        record.clientTextureArray = false;
    }
    outputGlError(L"DisableClientState END:");
}

} // namespace KTR
