#include "../view/OpenGLView.h"

#include <GL/glext.h>

#include <glm/gtc/type_ptr.hpp>

#include <cstddef>

namespace KTR {

namespace {

constexpr GLbitfield kPersistentMapping = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT | GL_MAP_COHERENT_BIT;

struct VertexAttribute {
    GLuint location;
    GLint components;
    GLenum type;
    GLboolean normalized;
    GLuint offset;
};

constexpr VertexAttribute kVertexAttributes[] = {
    {0, 3, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, x)},
    {1, 3, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, nx)},
    {2, 2, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, s)},
    {3, 4, GL_UNSIGNED_BYTE, GL_TRUE, offsetof(GLDrawGeometry, r)},
};

} // namespace

long COpenGLView::BuildStockShaders() {
    return E_NOTIMPL;
}

long COpenGLView::BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    UseStockProgram(context, type, data);
    return BindVAOAndVBOBufferData(data);
}

long COpenGLView::BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data,
                                               GLVBO& vbo, const GLDrawGeometry* geometry, unsigned __int64 count) {
    UseStockProgram(context, type, data);
    return BindVAOAndVBOBufferData(data, vbo, geometry, count);
}

void COpenGLView::UseStockProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    outputGlError(L"BindVariablesToShaderProgram: BEGIN");
    m_contexts[context].currentShader = type;
    CurrentGL()->glUseProgram(data.program);
    outputGlError(L"BindVariablesToShaderProgram: END");
}

long COpenGLView::BindVAOAndVBOBufferData(ShaderData& data) {
    GLVBO& ring = m_batch.ring;
    BindVertexStorage(data, ring);
    if (ring.vertexBytes == 0) {
        const COrrinGLCement* gl = CurrentGL();
        gl->glBufferStorage(GL_ARRAY_BUFFER, kRingVertexBytes, nullptr, kPersistentMapping);
        ring.mappedVertices = static_cast<GLDrawGeometry*>(
            gl->glMapBufferRange(GL_ARRAY_BUFFER, 0, kRingVertexBytes, kPersistentMapping));
        ring.currentSegment = 0;
        if (!ring.mappedVertices) {
            return E_OUTOFMEMORY;
        }
        ring.vertexBytes = kRingVertexBytes;
        NumberSegments(ring);
    }
    m_batch.batchVertexPointer = m_batchStorage.batchVertices;
    m_batch.batchIndexPointer = m_batchStorage.batchIndices;
    outputGlError(L"BindVAOAndVBOBufferData: END");
    return S_OK;
}

long COpenGLView::BindVAOAndVBOBufferData(ShaderData& data, GLVBO& vbo, const GLDrawGeometry* geometry,
                                          unsigned __int64 count) {
    BindVertexStorage(data, vbo);
    if (vbo.vertexBytes == 0 && geometry && count != 0) {
        CurrentGL()->glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(count * sizeof(GLDrawGeometry)), geometry,
                                  GL_STATIC_DRAW);
        vbo.currentSegment = 0;
        vbo.vertexBytes = kRingVertexBytes;
        NumberSegments(vbo);
    }
    outputGlError(L"BindVAOAndVBOBufferData: END");
    return S_OK;
}

void COpenGLView::BindVertexStorage(ShaderData& data, GLVBO& vbo) {
    outputGlError(L"BindVAOAndVBOBufferData: Begin");
    const COrrinGLCement* gl = CurrentGL();
    if (data.vertexArray == 0) {
        gl->glGenVertexArrays(1, &data.vertexArray);
    }
    gl->glBindVertexArray(data.vertexArray);
    if (vbo.vertexBuffer == 0) {
        gl->glGenBuffers(1, &vbo.vertexBuffer);
    }
    gl->glBindBuffer(GL_ARRAY_BUFFER, vbo.vertexBuffer);
    for (const VertexAttribute& attribute : kVertexAttributes) {
        gl->glEnableVertexAttribArray(attribute.location);
        gl->glVertexAttribFormat(attribute.location, attribute.components, attribute.type, attribute.normalized,
                                 attribute.offset);
        gl->glVertexAttribBinding(attribute.location, 0);
    }
    gl->glBindVertexBuffer(0, vbo.vertexBuffer, 0, sizeof(GLDrawGeometry));
}

void COpenGLView::NumberSegments(GLVBO& vbo) {
    for (int index = 0; index < kRingSegments; ++index) {
        vbo.segments[index].firstVertex = index * kBatchRecords;
    }
}

void COpenGLView::InitializeVBO(unsigned int mode, GLShaderTypes type, GLVBO& vbo, const GLDrawGeometry* geometry,
                                unsigned __int64 count) {
    m_batch.batchPrimitiveMode = mode;
    m_batch.batchVertexCount = 0;
    CurrentRecord().loopContinued = false;
    if (IsCurrentContextOpenGL4OrLater()) {
        BindVariablesToShaderProgram(m_currentContext, type, m_gShaderSet.programs[type], vbo, geometry, count);
        return;
    }
    GLint vertexSize = 0;
    GLint vertexType = 0;
    GLint colorSize = 0;
    GLint colorType = 0;
    const COrrinGLCement* gl = CurrentGL();
    gl->glGetIntegerv(GL_VERTEX_ARRAY_SIZE, &vertexSize);
    gl->glGetIntegerv(GL_VERTEX_ARRAY_TYPE, &vertexType);
    gl->glGetIntegerv(GL_COLOR_ARRAY_SIZE, &colorSize);
    gl->glGetIntegerv(GL_COLOR_ARRAY_TYPE, &colorType);
    VertexPointer(vertexSize, static_cast<unsigned int>(vertexType), sizeof(GLDrawGeometry), geometry);
    ColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GLDrawGeometry),
                 reinterpret_cast<const unsigned char*>(geometry) + offsetof(GLDrawGeometry, r));
}

long COpenGLView::DisableShaderVertexAttribArrays(GLShaderTypes type) {
    if (type == GLShaderUnknown) {
        return S_OK;
    }
    for (const VertexAttribute& attribute : kVertexAttributes) {
        CurrentGL()->glDisableVertexAttribArray(attribute.location);
    }
    return S_OK;
}

void COpenGLView::ReleaseRingFences() {
    GLVBO& ring = m_batch.ring;
    for (GLVBO::Segment& segment : ring.segments) {
        if (segment.fence) {
            WaitForGPUBuffer(segment.fence);
            CurrentGL()->glDeleteSync(segment.fence);
            segment.fence = nullptr;
        }
    }
    ring.currentSegment = 0;
}

void COpenGLView::LockGPUBuffer(GLsync& fence) {
    const COrrinGLCement* gl = CurrentGL();
    if (fence) {
        gl->glDeleteSync(fence);
    }
    fence = gl->glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    gl->glFlush();
    outputGlError(L"LockGPUBuffer: END");
}

void COpenGLView::WaitForGPUBuffer(GLsync& fence) {
    if (!fence) {
        return;
    }
    const COrrinGLCement* gl = CurrentGL();
    GLenum state = GL_TIMEOUT_EXPIRED;
    while (state != GL_ALREADY_SIGNALED && state != GL_CONDITION_SATISFIED) {
        state = gl->glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 1);
        ++m_gpuWaits;
    }
    outputGlError(L"WaitForGPUBuffer: END");
}

/// Releases what the context `type` holds; the master also releases what all views share.
void COpenGLView::ReleaseGLObjects(HWND window, GLRenderingContextTypes type) {
    const HDC deviceContext = GetDC(window);
    if (!deviceContext) {
        return;
    }
    if (MakeCurrent(deviceContext, m_contexts[type].renderingContext, type) == 1) {
        if (type == GLContextMain && m_batch.ring.vertexBuffer != 0) {
            ReleaseRingFences();
            CurrentGL()->glDeleteBuffers(1, &m_batch.ring.vertexBuffer);
            m_batch.ring = GLVBO{};
        }
    }
    ReleaseDC(window, deviceContext);
}

} // namespace KTR
