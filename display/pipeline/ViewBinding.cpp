#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"
#include "../platform/Notice.h"
#include "../scene/SceneRelease.h"
#include "../scene/ViewLight.h"
#include "../text/FontTextures.h"
#include "GeometryFilling.h"
#include "ProgramBinding.h"
#include "StockPrograms.h"

#include <GL/glext.h>

#include <cstddef>
#include <limits>

namespace KTR {

namespace {

/// Behind each draw from a buffer, whichever function it is.
constexpr const wchar_t* kDrawn = L"glDrawArrays: AFTER:";

/// Most records that a size in bytes can tell.
constexpr unsigned __int64 kMostRecords =
    static_cast<unsigned __int64>(std::numeric_limits<GLsizeiptr>::max()) / sizeof(GLDrawGeometry);

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

} // namespace

long COpenGLView::BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    if (!IsStockProgram(type)) {
        return E_INVALIDARG;
    }
    UseProgram(*this, context, type, data);
    const long result = BindVAOAndVBOBufferData(data);
    outputGlError(L"BindVariablesToShaderProgram: END");
    return result;
}

long COpenGLView::BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data,
                                               GLVBO& vbo, const GLDrawGeometry* geometry, unsigned __int64 count) {
    if (!IsStockProgram(type) || count > kMostRecords) {
        return E_INVALIDARG;
    }
    UseProgram(*this, context, type, data);
    const long result = BindVAOAndVBOBufferData(data, vbo, geometry, count);
    outputGlError(L"BindVariablesToShaderProgram: END");
    return result;
}

long COpenGLView::BindVAOAndVBOBufferData(ShaderData& data) {
    ContextObjects& objects = CurrentObjects();
    VertexRing& ring = objects.ring;
    const GLCalls gl = CallGL();
    if (!BindVertexStorage(gl, objects, data, ring.Buffers())) {
        return E_OUTOFMEMORY;
    }
    const bool told = ring.WasRefused();
    if (!ring.Create(gl) || (!m_batch.drawArraysOnly && !ring.CreateIndices(gl))) {
        if (!told) {
            SendToDebugger(L"OrrinDisplay: the driver refuses memory for vertices. Nothing is drawn until it has some; "
                           L"GetDrawingState tells.\n");
        }
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
    if (!BindVertexStorage(gl, CurrentObjects(), data, vbo)) {
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

void COpenGLView::InitializeVBO(unsigned int mode, GLShaderTypes type, GLVBO& vbo, const GLDrawGeometry* geometry,
                                unsigned __int64 count) {
    DrawWaitingVertices();
    m_batch.batchPrimitiveMode = mode;
    m_batch.Keep(0);
    CurrentRecord().loopContinued = false;
    if (m_filling) {
        m_filling->Fail(E_INVALIDARG); // its records are not in the batch
        return;
    }
    if (DrawsWithPrograms()) {
        if (type == GLShaderText) {
            UploadRestOfBoundFont(*this);
        }
        if (!IsStockProgram(type) || BindVariablesToShaderProgram(m_currentContext, type, m_gShaderSet.programs[type],
                                                                  vbo, geometry, count) != S_OK) {
            CurrentObjects().boundProgram = 0; // nothing is drawn, least of all with the program of the batch before
        }
        return;
    }
    SendLight(*this);
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
    DrawArrays(mode, 0, count, vbo, indices);
}

void COpenGLView::DrawArrays(int mode, int first, int count, GLVBO& vbo, const unsigned int* indices) {
    if (first < 0 || count <= 0) {
        return;
    }
    const GLCalls gl = CallGL();
    const auto primitive = static_cast<GLenum>(mode);
    // An address, or with an index buffer an offset, which null is too.
    const bool indexed = indices || (DrawsWithPrograms() && vbo.indexBuffer != 0);
    const void* const firstIndex = reinterpret_cast<const void*>(
        reinterpret_cast<std::uintptr_t>(indices) + sizeof(unsigned int) * static_cast<std::size_t>(first));
    if (!DrawsWithPrograms()) {
        if (indexed) {
            gl.As(kDrawn).glDrawElements(primitive, count, GL_UNSIGNED_INT, firstIndex);
        } else {
            gl.As(kDrawn).glDrawArrays(primitive, first, count);
        }
        return;
    }
    if (vbo.vertexBytes == 0 || CurrentObjects().boundProgram == 0) {
        return;
    }
    RestoreUniforms(*this, gl);
    gl.glBindVertexBuffer(0, vbo.vertexBuffer, 0, sizeof(GLDrawGeometry));
    // The caller's own index buffer, or none, so that `indices` is an address and not an offset.
    gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, vbo.indexBuffer);
    if (indexed) {
        gl.As(kDrawn).glDrawElements(primitive, count, GL_UNSIGNED_INT, firstIndex);
    } else {
        gl.As(kDrawn).glDrawArrays(primitive, vbo.segments[vbo.currentSegment].firstVertex + first, count);
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
    for (const unsigned int location :
         {VertexAttribPosition, VertexAttribNormal, VertexAttribTexture, VertexAttribColor}) {
        gl.glDisableVertexAttribArray(location);
    }
    return S_OK;
}

long COpenGLView::DeleteAttributeBuffers() {
    const GLCalls gl = CallGL();
    gl.Label(L"DeleteAttributeBuffers: BEGIN");
    if (!HasCurrentContext()) {
        return S_OK;
    }
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
    m_gpuWaits += objects.ring.ReleaseFences(gl);
    objects.ring.Release(gl);
    DeleteSceneObjects(gl, objects.scene);
    // The next batch binds its program again, with new arrays and buffers.
    objects.boundProgram = 0;
    gl.Label(L"DeleteAttributeBuffers: END");
    return S_OK;
}

void COpenGLView::DeleteVBO(GLVBO& vbo) {
    const bool holdsBuffers = vbo.vertexBuffer != 0 || vbo.indexBuffer != 0;
    if (holdsBuffers && !HasCurrentContext()) {
        return;
    }
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
