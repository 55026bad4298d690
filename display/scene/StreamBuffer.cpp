#include "StreamBuffer.h"

#include "../diagnostics/DebugNames.h"
#include "../platform/GLCalls.h"

#include <GL/glext.h>

#include <algorithm>

namespace KTR {

namespace {

/// So that small surfaces, one after the other, need new storage seldom.
constexpr GLsizeiptr kSmallestCapacity = 1 << 20;

} // namespace

StreamRoom::StreamRoom(const GLCalls& gl, GLenum target, StreamBuffer& buffer, GLsizeiptr bytes)
    : m_gl(gl), m_target(target) {
    const bool isNew = buffer.name == 0;
    if (isNew) {
        m_gl.glGenBuffers(1, &buffer.name);
    }
    m_gl.glBindBuffer(target, buffer.name);
    if (isNew) {
        NameObject(m_gl, GL_BUFFER, buffer.name, "surfaces");
    }
    if (buffer.used + bytes > buffer.capacity) {
        buffer.capacity = std::max({buffer.capacity, bytes, kSmallestCapacity});
        m_gl.glBufferData(target, buffer.capacity, nullptr, GL_STREAM_DRAW);
        buffer.used = 0;
    }
    m_offset = buffer.used;
    m_data = m_gl.glMapBufferRange(target, m_offset, bytes,
                                   GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_RANGE_BIT | GL_MAP_UNSYNCHRONIZED_BIT);
    if (m_data) {
        buffer.used += bytes;
    } else {
        buffer.capacity = 0; // the next one asks for storage again
        buffer.used = 0;
    }
}

StreamRoom::~StreamRoom() {
    if (m_data) {
        m_gl.glUnmapBuffer(m_target);
    }
}

} // namespace KTR
