#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"

#include <GL/glext.h>

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace KTR {

namespace {

/// Behind each draw from a buffer, whichever function it is.
constexpr const wchar_t* kDrawn = L"glDrawArrays: AFTER:";

constexpr GLbitfield kPersistentMapping = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT | GL_MAP_COHERENT_BIT;

struct VertexAttribute {
    GLuint location;
    GLint components;
    GLenum type;
    GLboolean normalized;
    GLuint offset;
};

constexpr VertexAttribute kVertexAttributes[] = {
    {VertexAttribPosition, 3, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, x)},
    {VertexAttribNormal, 3, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, nx)},
    {VertexAttribTexture, 2, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, s)},
    {VertexAttribColor, 4, GL_UNSIGNED_BYTE, GL_TRUE, offsetof(GLDrawGeometry, r)},
};

/// Where the program reads an input from, -1 when it does not.
int LocationOfInput(VertexAttribBufferType attribute, const ShaderData& data) {
    switch (attribute) {
    case VertexAttribPosition:
        return data.positionLocation;
    case VertexAttribNormal:
        return data.normalLocation;
    case VertexAttribTexture:
        return data.textureLocation;
    case VertexAttribColor:
        return data.colorLocation;
    }
    return -1;
}

unsigned long long NextContextNumber() {
    static std::atomic<unsigned long long> s_last{0};
    return ++s_last;
}

} // namespace

long COpenGLView::BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    UseStockProgram(context, type, data);
    const long result = BindVAOAndVBOBufferData(data);
    outputGlError(L"BindVariablesToShaderProgram: END");
    return result;
}

long COpenGLView::BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data,
                                               GLVBO& vbo, const GLDrawGeometry* geometry, unsigned __int64 count) {
    UseStockProgram(context, type, data);
    const long result = BindVAOAndVBOBufferData(data, vbo, geometry, count);
    outputGlError(L"BindVariablesToShaderProgram: END");
    return result;
}

void COpenGLView::UseStockProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    DrawWaitingVertices();
    outputGlError(L"BindVariablesToShaderProgram: BEGIN");
    GLRenderingContextRecord& record = m_contexts[context];
    record.objects.currentShader = type;
    TakeProgram(record, data);
    BindMatrices(context, type, data);
    SetPolygonFillMode(type);
    PrepareContextFor(type);
    GatherUniforms(context);
    SendUniforms(type, data, record.objects.boundUniforms);
}

/// Makes the program current and writes down that its uniforms are about to be this context's.
void COpenGLView::TakeProgram(GLRenderingContextRecord& record, ShaderData& data) {
    if (record.objects.number == 0) {
        record.objects.number = NextContextNumber();
    }
    CallGL().glUseProgram(data.program);
    record.objects.boundProgram = data.program;
    data.uniformsOfContext = record.objects.number;
}

/// Called before each draw: when another context has drawn with the program since it was bound here, its uniforms hold
/// that context's values. They are given again what they were given when it was bound, not what the state says now, so
/// that the picture does not depend on what other views did in between.
void COpenGLView::RestoreUniforms() {
    GLRenderingContextRecord& record = CurrentRecord();
    if (record.objects.currentShader == GLShaderUnknown || record.objects.boundProgram == 0) {
        return;
    }
    ShaderData& data = m_gShaderSet.programs[record.objects.currentShader];
    if (data.program != record.objects.boundProgram || data.uniformsOfContext == record.objects.number) {
        return;
    }
    TakeProgram(record, data);
    SendMatrix(data, record.objects.boundUniforms);
    SendUniforms(record.objects.currentShader, data, record.objects.boundUniforms);
}

/// True when BeginArrays has to bind the program: another one is bound, none is, or it was built anew.
bool COpenGLView::NeedsBinding(GLShaderTypes type) const {
    const GLRenderingContextRecord& record = CurrentRecord();
    return record.objects.currentShader != type || record.objects.boundProgram == 0 ||
           record.objects.boundProgram != m_gShaderSet.programs[type].program;
}

long COpenGLView::BindVAOAndVBOBufferData(ShaderData& data) {
    GLVBO& ring = m_batch.ring;
    BindVertexStorage(data, ring);
    const GLCalls gl = CallGL();
    if (ring.vertexBytes == 0) {
        ring.mappedVertices = static_cast<GLDrawGeometry*>(MapStorage(GL_ARRAY_BUFFER, kRingVertexBytes));
        ring.currentSegment = 0;
        if (!ring.mappedVertices) {
            // The storage of this buffer is settled for good; the next attempt takes a new one.
            gl.glDeleteBuffers(1, &ring.vertexBuffer);
            ring.vertexBuffer = 0;
            return E_OUTOFMEMORY;
        }
        ring.vertexBytes = kRingVertexBytes;
        NumberSegments(ring);
    }
    if (!m_batch.drawArraysOnly) {
        if (ring.indexBuffer == 0) {
            gl.glGenBuffers(1, &ring.indexBuffer);
        }
        gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, ring.indexBuffer);
        if (!ring.mappedIndices) {
            ring.mappedIndices = static_cast<unsigned int*>(MapStorage(GL_ELEMENT_ARRAY_BUFFER, kRingIndexBytes));
            if (!ring.mappedIndices) {
                gl.glDeleteBuffers(1, &ring.indexBuffer);
                ring.indexBuffer = 0;
                return E_OUTOFMEMORY;
            }
            ring.indexBytes = kRingIndexBytes;
        }
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
        CallGL().glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(count * sizeof(GLDrawGeometry)), geometry,
                              GL_STATIC_DRAW);
        vbo.currentSegment = 0;
        // The ring's figures, whatever `count` is: they only say that the geometry is there.
        vbo.vertexBytes = kRingVertexBytes;
        NumberSegments(vbo);
    }
    outputGlError(L"BindVAOAndVBOBufferData: END");
    return S_OK;
}

/// Storage for the buffer bound to `target`, mapped for as long as it exists. Null when the driver has none.
void* COpenGLView::MapStorage(unsigned int target, unsigned int bytes) {
    const GLCalls gl = CallGL();
    if (!gl.Has(&GLEntryPoints::glBufferStorage) || !gl.Has(&GLEntryPoints::glMapBufferRange)) {
        return nullptr; // a driver older than the version that the host forced
    }
    gl.glBufferStorage(target, static_cast<GLsizeiptr>(bytes), nullptr, kPersistentMapping);
    return gl.glMapBufferRange(target, 0, static_cast<GLsizeiptr>(bytes), kPersistentMapping);
}

/// The vertex array that the current context has for a program. Programs are shared between contexts, vertex arrays are
/// not.
unsigned int& COpenGLView::VertexArrayOf(ShaderData& data) {
    for (std::size_t slot = 0; slot < kShaderCount; ++slot) {
        if (&m_gShaderSet.programs[slot] == &data) {
            return CurrentRecord().objects.vertexArrays[slot];
        }
    }
    return data.vertexArray;
}

void COpenGLView::BindVertexStorage(ShaderData& data, GLVBO& vbo) {
    outputGlError(L"BindVAOAndVBOBufferData: Begin");
    const GLCalls gl = CallGL();
    unsigned int& vertexArray = VertexArrayOf(data);
    if (vertexArray == 0) {
        gl.glGenVertexArrays(1, &vertexArray);
    }
    gl.glBindVertexArray(vertexArray);
    if (vbo.vertexBuffer == 0) {
        gl.glGenBuffers(1, &vbo.vertexBuffer);
    }
    gl.glBindBuffer(GL_ARRAY_BUFFER, vbo.vertexBuffer);
    for (const VertexAttribute& attribute : kVertexAttributes) {
        gl.glEnableVertexAttribArray(attribute.location);
        gl.glVertexAttribFormat(attribute.location, attribute.components, attribute.type, attribute.normalized,
                                attribute.offset);
        gl.glVertexAttribBinding(attribute.location, 0);
    }
    gl.glBindVertexBuffer(0, vbo.vertexBuffer, 0, sizeof(GLDrawGeometry));
}

void COpenGLView::NumberSegments(GLVBO& vbo) {
    for (int index = 0; index < kRingSegments; ++index) {
        vbo.segments[index].firstVertex = index * kBatchRecords;
    }
}

void COpenGLView::InitializeVBO(unsigned int mode, GLShaderTypes type, GLVBO& vbo, const GLDrawGeometry* geometry,
                                unsigned __int64 count) {
    DrawWaitingVertices();
    m_batch.batchPrimitiveMode = mode;
    KeepBatchVertices(0);
    CurrentRecord().loopContinued = false;
    if (DrawsWithPrograms()) {
        BindVariablesToShaderProgram(m_currentContext, type, m_gShaderSet.programs[type], vbo, geometry, count);
        return;
    }
    GLint vertexSize = 0;
    GLint vertexType = 0;
    GLint colorSize = 0;
    GLint colorType = 0;
    const GLCalls gl = CallGL();
    gl.glGetIntegerv(GL_VERTEX_ARRAY_SIZE, &vertexSize);
    gl.glGetIntegerv(GL_VERTEX_ARRAY_TYPE, &vertexType);
    gl.glGetIntegerv(GL_COLOR_ARRAY_SIZE, &colorSize);
    gl.glGetIntegerv(GL_COLOR_ARRAY_TYPE, &colorType);
    VertexPointer(vertexSize, static_cast<unsigned int>(vertexType), sizeof(GLDrawGeometry), geometry);
    ColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GLDrawGeometry),
                 reinterpret_cast<const unsigned char*>(geometry) + offsetof(GLDrawGeometry, r));
}

void COpenGLView::DrawArrays(int mode, int count, GLVBO& vbo, const unsigned int* indices) {
    if (count <= 0) {
        return;
    }
    const GLCalls gl = CallGL();
    int first = 0;
    if (DrawsWithPrograms()) {
        if (vbo.vertexBytes == 0) {
            return;
        }
        RestoreUniforms();
        gl.glBindVertexBuffer(0, vbo.vertexBuffer, 0, sizeof(GLDrawGeometry));
        // The caller's own index buffer, or none, so that `indices` is an address and not an offset.
        gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, vbo.indexBuffer);
        first = vbo.segments[vbo.currentSegment].firstVertex;
    }
    const auto primitive = static_cast<GLenum>(mode);
    if (indices || vbo.indexBuffer != 0) {
        gl.As(kDrawn).glDrawElements(primitive, count, GL_UNSIGNED_INT, indices);
    } else {
        gl.As(kDrawn).glDrawArrays(primitive, first, count);
    }
}

void COpenGLView::EnableVertexAttribArray(VertexAttribBufferType attribute, ShaderData& data) {
    const int location = LocationOfInput(attribute, data);
    if (location >= 0) {
        CallGL().glEnableVertexAttribArray(static_cast<GLuint>(location));
    }
}

void COpenGLView::DisableVertexAttribArray(VertexAttribBufferType attribute, ShaderData& data) {
    const int location = LocationOfInput(attribute, data);
    if (location >= 0) {
        CallGL().glDisableVertexAttribArray(static_cast<GLuint>(location));
    }
}

long COpenGLView::DisableShaderVertexAttribArrays(GLShaderTypes type) {
    if (type == GLShaderUnknown) {
        return S_OK;
    }
    for (const VertexAttribute& attribute : kVertexAttributes) {
        CallGL().glDisableVertexAttribArray(attribute.location);
    }
    return S_OK;
}

long COpenGLView::DeleteAttributeBuffers() {
    outputGlError(L"DeleteAttributeBuffers: BEGIN");
    GLRenderingContextRecord& record = CurrentRecord();
    for (unsigned int& vertexArray : record.objects.vertexArrays) {
        if (vertexArray != 0) {
            CallGL().glDeleteVertexArrays(1, &vertexArray);
            vertexArray = 0;
        }
    }
    if (m_currentContext == GLContextMain) {
        ReleaseRingFences();
        DeleteVBO(m_batch.ring);
    }
    // The next batch binds its program again, with new arrays and buffers.
    record.objects.boundProgram = 0;
    outputGlError(L"DeleteAttributeBuffers: END");
    return S_OK;
}

void COpenGLView::DeleteVBO(GLVBO& vbo) {
    const GLCalls gl = CallGL();
    for (const unsigned int buffer : {vbo.vertexBuffer, vbo.indexBuffer}) {
        if (buffer != 0) {
            gl.glDeleteBuffers(1, &buffer);
        }
    }
    vbo = GLVBO{};
}

void COpenGLView::ReleaseRingFences() {
    GLVBO& ring = m_batch.ring;
    for (GLVBO::Segment& segment : ring.segments) {
        if (segment.fence) {
            WaitForGPUBuffer(segment.fence);
            CallGL().glDeleteSync(segment.fence);
            segment.fence = nullptr;
        }
    }
    ring.currentSegment = 0;
}

void COpenGLView::LockGPUBuffer(GLsync& fence) {
    const GLCalls gl = CallGL();
    if (fence) {
        gl.glDeleteSync(fence);
    }
    fence = gl.glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    gl.As(L"LockGPUBuffer: END").glFlush();
}

void COpenGLView::WaitForGPUBuffer(GLsync& fence) {
    // Without a context no wait can succeed, and this would never end.
    if (!fence || !wglGetCurrentContext()) {
        return;
    }
    const GLCalls gl = CallGL();
    GLenum state = GL_TIMEOUT_EXPIRED;
    while (state != GL_ALREADY_SIGNALED && state != GL_CONDITION_SATISFIED) {
        state = gl.glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 1);
        ++m_gpuWaits;
    }
    outputGlError(L"WaitForGPUBuffer: END");
}

} // namespace KTR
