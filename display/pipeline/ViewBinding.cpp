#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"
#include "ProgramThread.h"
#include "StockPrograms.h"
#include "UniformWriter.h"

#include <GL/glext.h>

#include <atomic>
#include <cstddef>
#include <exception>
#include <limits>

namespace KTR {

namespace {

/// Behind each draw from a buffer, whichever function it is.
constexpr const wchar_t* kDrawn = L"glDrawArrays: AFTER:";

/// Most records that a size in bytes can tell.
constexpr unsigned __int64 kMostRecords =
    static_cast<unsigned __int64>(std::numeric_limits<GLsizeiptr>::max()) / sizeof(GLDrawGeometry);

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

/// The place of a context's vertex array for a program. Programs are shared between contexts, vertex arrays are not.
/// Null when there is no memory to remember it.
unsigned int* VertexArrayOf(ContextObjects& objects, const ShaderSet& set, const ShaderData& data) {
    for (std::size_t slot = 0; slot < kShaderCount; ++slot) {
        if (&set.programs[slot] == &data) {
            return &objects.vertexArrays[slot];
        }
    }
    for (ContextObjects::HostVertexArray& host : objects.hostVertexArrays) {
        if (host.program == data.program) {
            return &host.vertexArray;
        }
    }
    try {
        return &objects.hostVertexArrays.emplace_back(ContextObjects::HostVertexArray{data.program, 0}).vertexArray;
    } catch (const std::exception&) {
        return nullptr;
    }
}

} // namespace

long COpenGLView::BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    if (!IsStockProgram(type)) {
        return E_INVALIDARG;
    }
    UseProgram(context, type, data);
    const long result = BindVAOAndVBOBufferData(data);
    outputGlError(L"BindVariablesToShaderProgram: END");
    return result;
}

long COpenGLView::BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data,
                                               GLVBO& vbo, const GLDrawGeometry* geometry, unsigned __int64 count) {
    if (!IsStockProgram(type) || count > kMostRecords) {
        return E_INVALIDARG;
    }
    UseProgram(context, type, data);
    const long result = BindVAOAndVBOBufferData(data, vbo, geometry, count);
    outputGlError(L"BindVariablesToShaderProgram: END");
    return result;
}

long COpenGLView::BindStockProgram(GLShaderTypes type) {
    return IsStockProgram(type) ? BindVariablesToShaderProgram(m_currentContext, type, m_gShaderSet.programs[type])
                                : E_INVALIDARG;
}

void COpenGLView::UseProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    const GLCalls gl = CallGL();
    gl.Label(L"BindVariablesToShaderProgram: BEGIN");
    ContextObjects& objects = CurrentObjects();
    objects.currentShader = type;
    const UniformWriter writer(gl, data, TakeProgram(gl, data));
    BindMatrices(context, type, gl, writer);
    SetPolygonFillMode(type);
    PrepareContextFor(type);
    GatherUniforms(context, objects.boundUniforms);
    writer.WriteStockUniforms(type, objects.boundUniforms);
}

/// Makes the program current and writes down that its uniforms are about to be this context's. True when another
/// context's have been in it meanwhile.
bool COpenGLView::TakeProgram(const GLCalls& gl, ShaderData& data) {
    CheckProgramThread();
    ContextObjects& objects = CurrentObjects();
    if (objects.number == 0) {
        objects.number = NextContextNumber();
    }
    gl.glUseProgram(data.program);
    objects.boundProgram = data.program;
    objects.boundIsStock = &data >= m_gShaderSet.programs && &data < m_gShaderSet.programs + kShaderCount;
    const bool takenOver = data.uniformsOfContext != 0 && data.uniformsOfContext != objects.number;
    data.uniformsOfContext = objects.number;
    return takenOver;
}

/// Called before each draw: when another context has drawn with the program since it was bound here, its uniforms hold
/// that context's values. They are given again what they were given when it was bound, not what the state says now, so
/// that the frame does not depend on what other views did in between. What a host's own program was given the host
/// alone knows.
void COpenGLView::RestoreUniforms(const GLCalls& gl) {
    const ContextObjects& objects = CurrentObjects();
    if (!objects.boundIsStock || objects.boundProgram == 0) {
        return;
    }
    ShaderData& data = m_gShaderSet.programs[objects.currentShader];
    if (data.program != objects.boundProgram || data.uniformsOfContext == objects.number) {
        return;
    }
    const UniformWriter writer(gl, data, TakeProgram(gl, data));
    writer.WriteMatrix(objects.boundUniforms);
    writer.WriteStockUniforms(objects.currentShader, objects.boundUniforms);
}

/// True when BeginArrays has to bind the stock program: another type is bound, nothing is, or it was built anew. A
/// host's own program of the type stays bound.
bool COpenGLView::NeedsBinding(GLShaderTypes type) const {
    const ContextObjects& objects = CurrentObjects();
    return objects.currentShader != type || objects.boundProgram == 0 ||
           (objects.boundIsStock && objects.boundProgram != m_gShaderSet.programs[type].program);
}

long COpenGLView::BindVAOAndVBOBufferData(ShaderData& data) {
    VertexRing& ring = CurrentObjects().ring;
    const GLCalls gl = CallGL();
    if (!BindVertexStorage(gl, data, ring.Buffers()) || !ring.Create(gl) ||
        (!m_batch.drawArraysOnly && !ring.CreateIndices(gl))) {
        return E_OUTOFMEMORY;
    }
    m_batch.batchVertexPointer = m_batchStorage.batchVertices;
    m_batch.batchIndexPointer = m_batchStorage.batchIndices;
    gl.Label(L"BindVAOAndVBOBufferData: END");
    return S_OK;
}

long COpenGLView::BindVAOAndVBOBufferData(ShaderData& data, GLVBO& vbo, const GLDrawGeometry* geometry,
                                          unsigned __int64 count) {
    if (count > kMostRecords) {
        return E_INVALIDARG;
    }
    const GLCalls gl = CallGL();
    if (!BindVertexStorage(gl, data, vbo)) {
        return E_OUTOFMEMORY;
    }
    if (vbo.vertexBytes == 0 && geometry && count != 0) {
        gl.glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(count * sizeof(GLDrawGeometry)), geometry,
                        GL_STATIC_DRAW);
        vbo.currentSegment = 0;
        // The ring's figures, whatever `count` is: they only say that the geometry is there.
        vbo.vertexBytes = kRingVertexBytes;
        NumberSegments(vbo);
    }
    gl.Label(L"BindVAOAndVBOBufferData: END");
    return S_OK;
}

/// False when there is no memory to remember the vertex array.
bool COpenGLView::BindVertexStorage(const GLCalls& gl, ShaderData& data, GLVBO& vbo) {
    gl.Label(L"BindVAOAndVBOBufferData: Begin");
    unsigned int* const vertexArray = VertexArrayOf(CurrentObjects(), m_gShaderSet, data);
    if (!vertexArray) {
        return false;
    }
    if (*vertexArray == 0) {
        gl.glGenVertexArrays(1, vertexArray);
    }
    CurrentObjects().programStateBound = true;
    gl.glBindVertexArray(*vertexArray);
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
    return true;
}

/// For a context that drew with programs and now draws with fixed functions, since the process has changed pipelines:
/// what programs left bound goes, and OpenGL's own matrices and state follow the view's.
void COpenGLView::LeaveProgramState() {
    ContextObjects& objects = CurrentObjects();
    objects.programStateBound = false;
    objects.boundProgram = 0;
    objects.currentShader = GLShaderUnknown;
    const GLCalls gl = CurrentGL();
    gl.glUseProgram(0);
    gl.glBindVertexArray(0);
    gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
    for (const unsigned int unit : {0U, 1U}) {
        gl.glBindSampler(unit, 0);
    }
    SetPointSprites(false);
    const unsigned int mode = CurrentRecord().attributes.matrixMode;
    LoadCurrentMatrices();
    MatrixMode(mode);
    LoadCurrentGLState();
}

void COpenGLView::InitializeVBO(unsigned int mode, GLShaderTypes type, GLVBO& vbo, const GLDrawGeometry* geometry,
                                unsigned __int64 count) {
    DrawWaitingVertices();
    m_batch.batchPrimitiveMode = mode;
    m_batch.Keep(0);
    CurrentRecord().loopContinued = false;
    if (DrawsWithPrograms()) {
        if (!IsStockProgram(type) || BindVariablesToShaderProgram(m_currentContext, type, m_gShaderSet.programs[type],
                                                                  vbo, geometry, count) != S_OK) {
            CurrentObjects().boundProgram = 0; // nothing is drawn, least of all with the program of the batch before
        }
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
    const auto primitive = static_cast<GLenum>(mode);
    if (!DrawsWithPrograms()) {
        if (indices) {
            gl.As(kDrawn).glDrawElements(primitive, count, GL_UNSIGNED_INT, indices);
        } else {
            gl.As(kDrawn).glDrawArrays(primitive, 0, count);
        }
        return;
    }
    if (vbo.vertexBytes == 0 || CurrentObjects().boundProgram == 0) {
        return;
    }
    RestoreUniforms(gl);
    gl.glBindVertexBuffer(0, vbo.vertexBuffer, 0, sizeof(GLDrawGeometry));
    // The caller's own index buffer, or none, so that `indices` is an address and not an offset.
    gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, vbo.indexBuffer);
    if (indices || vbo.indexBuffer != 0) {
        gl.As(kDrawn).glDrawElements(primitive, count, GL_UNSIGNED_INT, indices);
    } else {
        gl.As(kDrawn).glDrawArrays(primitive, vbo.segments[vbo.currentSegment].firstVertex, count);
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
    const GLCalls gl = CallGL();
    for (const VertexAttribute& attribute : kVertexAttributes) {
        gl.glDisableVertexAttribArray(attribute.location);
    }
    return S_OK;
}

long COpenGLView::DeleteAttributeBuffers() {
    const GLCalls gl = CallGL();
    gl.Label(L"DeleteAttributeBuffers: BEGIN");
    ContextObjects& objects = CurrentObjects();
    for (unsigned int& vertexArray : objects.vertexArrays) {
        if (vertexArray != 0) {
            gl.glDeleteVertexArrays(1, &vertexArray);
            vertexArray = 0;
        }
    }
    for (const ContextObjects::HostVertexArray& host : objects.hostVertexArrays) {
        gl.glDeleteVertexArrays(1, &host.vertexArray);
    }
    objects.hostVertexArrays.clear();
    if (HasCurrentContext()) {
        m_gpuWaits += objects.ring.ReleaseFences(gl);
        objects.ring.Release(gl);
    }
    // The next batch binds its program again, with new arrays and buffers.
    objects.boundProgram = 0;
    gl.Label(L"DeleteAttributeBuffers: END");
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

void COpenGLView::LockGPUBuffer(GLsync& fence) {
    PlaceFence(CallGL(), fence);
}

void COpenGLView::WaitForGPUBuffer(GLsync& fence) {
    if (fence && HasCurrentContext()) {
        m_gpuWaits += WaitForFence(CallGL(), fence);
    }
}

} // namespace KTR
