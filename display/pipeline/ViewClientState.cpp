#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"
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

} // namespace

void COpenGLView::EnableClientState(bool vertex, bool normal, bool color, bool texture, GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        BindStockProgram(*this, shader);
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
        BindStockProgram(*this, shader);
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
    CallGL().glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    CallGL().glBindTexture(GL_TEXTURE_2D, m_textureRequest.shaderTexture);
}

void COpenGLView::EnableClientStateInternalVertexAndColors(int vertexSize, unsigned int vertexType, int colorSize,
                                                           unsigned int colorType, GLShaderTypes shader) {
    if (DrawsWithPrograms()) {
        BindStockProgram(*this, shader);
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
            CurrentObjects().fontAtlasTexture = texture;
        } else {
            m_textureRequest.shaderTexture = texture;
        }
        BindStockProgram(*this, shader);
        return;
    }
    const GLDrawGeometry* vertices = m_batchStorage.batchVertices;
    EnableClientStateVertex();
    EnableClientStateTexture();
    VertexPointer(vertexSize, vertexType, kStride, vertices);
    TexCoordPointer(textureSize, textureType, kStride, FieldOf(vertices, offsetof(GLDrawGeometry, s)));
    CallGL().glBindTexture(GL_TEXTURE_2D, texture);
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
    const GLCalls gl = CallGL();
    gl.Label(L"DisableClientState BEGIN:");
    m_batch.Keep(0);
    if (DrawsWithPrograms()) {
        ContextObjects& objects = CurrentObjects();
        if (HasCurrentContext() && !m_batch.SharesDraws()) {
            m_gpuWaits += objects.ring.ReleaseFences(gl);
        }
        DisableShaderVertexAttribArrays(objects.currentShader);
        gl.glUseProgram(0);
        objects.boundProgram = 0;
        ForceStateFor(*this, GLShaderUnknown);
    } else {
        for (const unsigned int array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY}) {
            gl.glDisableClientState(array);
        }
        GLRenderingContextRecord& record = CurrentRecord();
        record.clientVertexArray = false;
        record.clientColorArray = false;
        record.clientNormalArray = false;
        record.clientTextureArray = false;
    }
    gl.Label(L"DisableClientState END:");
}

} // namespace KTR
