#include "VertexRing.h"

#include "../diagnostics/DebugNames.h"
#include "../platform/GLCalls.h"

#include <GL/glext.h>

#include <atomic>

namespace KTR {

namespace {

constexpr GLbitfield kPersistentMapping = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT | GL_MAP_COHERENT_BIT;

/// Storage for the buffer bound to `target`, mapped for as long as it exists. Null when the driver has none.
void* MapStorage(const GLCalls& gl, GLenum target, unsigned int bytes) {
    if (!gl.Has(&GLEntryPoints::glBufferStorage) || !gl.Has(&GLEntryPoints::glMapBufferRange)) {
        return nullptr; // a driver older than the version that the host forced
    }
    gl.glBufferStorage(target, static_cast<GLsizeiptr>(bytes), nullptr, kPersistentMapping);
    return gl.glMapBufferRange(target, 0, static_cast<GLsizeiptr>(bytes), kPersistentMapping);
}

unsigned long long NextTurn() {
    static std::atomic<unsigned long long> s_last{0};
    return ++s_last;
}

} // namespace

void PlaceFence(const GLCalls& gl, GLsync& fence) {
    if (fence) {
        gl.glDeleteSync(fence);
    }
    fence = gl.glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    if (!fence) {
        // Nothing would tell when the GPU is done with what it reads, and that would be written over.
        gl.glFinish();
    }
    gl.As(L"LockGPUBuffer: END").glFlush();
}

unsigned long long WaitForFence(const GLCalls& gl, GLsync fence) {
    if (!fence || !gl.Has(&GLEntryPoints::glClientWaitSync)) {
        return 0;
    }
    unsigned long long questions = 0;
    GLenum state = GL_TIMEOUT_EXPIRED;
    while (state != GL_ALREADY_SIGNALED && state != GL_CONDITION_SATISFIED) {
        state = gl.glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 1);
        ++questions;
    }
    gl.Label(L"WaitForGPUBuffer: END");
    return questions;
}

bool VertexRing::Create(const GLCalls& gl) {
    if (m_buffers.vertexBytes != 0) {
        return true;
    }
    m_buffers.mappedVertices = static_cast<GLDrawGeometry*>(MapStorage(gl, GL_ARRAY_BUFFER, kRingVertexBytes));
    m_buffers.currentSegment = 0;
    m_refused = !m_buffers.mappedVertices;
    if (m_refused) {
        gl.glDeleteBuffers(1, &m_buffers.vertexBuffer);
        m_buffers.vertexBuffer = 0;
        return false;
    }
    m_buffers.vertexBytes = kRingVertexBytes;
    NameObject(gl, GL_BUFFER, m_buffers.vertexBuffer, "ring of vertices");
    NumberSegments(m_buffers);
    m_turn = NextTurn();
    return true;
}

bool VertexRing::CreateIndices(const GLCalls& gl) {
    if (m_buffers.indexBuffer == 0) {
        gl.glGenBuffers(1, &m_buffers.indexBuffer);
    }
    gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_buffers.indexBuffer);
    if (m_buffers.mappedIndices) {
        return true;
    }
    m_buffers.mappedIndices = static_cast<unsigned int*>(MapStorage(gl, GL_ELEMENT_ARRAY_BUFFER, kRingIndexBytes));
    m_refused = !m_buffers.mappedIndices;
    if (m_refused) {
        gl.glDeleteBuffers(1, &m_buffers.indexBuffer);
        m_buffers.indexBuffer = 0;
        return false;
    }
    m_buffers.indexBytes = kRingIndexBytes;
    NameObject(gl, GL_BUFFER, m_buffers.indexBuffer, "ring of indices");
    return true;
}

GLDrawGeometry* VertexRing::Claim() const {
    return m_buffers.mappedVertices ? m_buffers.mappedVertices + FirstVertex() : nullptr;
}

unsigned int* VertexRing::ClaimIndices() const {
    return m_buffers.mappedIndices ? m_buffers.mappedIndices + FirstVertex() : nullptr;
}

void VertexRing::Fence(const GLCalls& gl) {
    PlaceFence(gl, m_buffers.segments[m_buffers.currentSegment].fence);
    m_lacksFence = false;
}

unsigned long long VertexRing::Advance(const GLCalls& gl) {
    m_used = 0;
    m_turn = NextTurn();
    m_buffers.currentSegment = (m_buffers.currentSegment + 1) % kRingSegments;
    return WaitForFence(gl, m_buffers.segments[m_buffers.currentSegment].fence);
}

unsigned long long VertexRing::ReleaseFences(const GLCalls& gl) {
    if (LacksFence()) {
        Fence(gl);
    }
    unsigned long long questions = 0;
    for (GLVBO::Segment& segment : m_buffers.segments) {
        if (segment.fence) {
            questions += WaitForFence(gl, segment.fence);
            gl.glDeleteSync(segment.fence);
            segment.fence = nullptr;
        }
    }
    if (m_buffers.mappedVertices) {
        m_turn = NextTurn();
    }
    m_buffers.currentSegment = 0;
    m_used = 0;
    return questions;
}

void VertexRing::Release(const GLCalls& gl) {
    for (const GLVBO::Segment& segment : m_buffers.segments) {
        if (segment.fence) {
            gl.glDeleteSync(segment.fence);
        }
    }
    for (const unsigned int buffer : {m_buffers.vertexBuffer, m_buffers.indexBuffer}) {
        if (buffer != 0) {
            gl.glDeleteBuffers(1, &buffer);
        }
    }
    m_buffers = {};
    m_used = 0;
    m_lacksFence = false;
    m_turn = 0;
}

} // namespace KTR
