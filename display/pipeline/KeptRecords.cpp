#include "KeptRecords.h"

#include "../diagnostics/DebugNames.h"
#include "../platform/ContextLifecycle.h"
#include "../platform/GLCalls.h"
#include "../platform/ShareGroup.h"
#include "GeometryFilling.h"

#include <GL/glext.h>

#include <algorithm>

namespace KTR {

namespace {

/// Binds a buffer to be filled while it lives, at a place that no draw reads from. What a host has there comes back.
class FilledBuffer {
public:
    FilledBuffer(const GLCalls& gl, unsigned int buffer) : m_gl(gl) {
        gl.glGetIntegerv(GL_COPY_WRITE_BUFFER_BINDING, &m_previous);
        gl.glBindBuffer(GL_COPY_WRITE_BUFFER, buffer);
    }
    ~FilledBuffer() { m_gl.glBindBuffer(GL_COPY_WRITE_BUFFER, static_cast<GLuint>(m_previous)); }
    FilledBuffer(const FilledBuffer&) = delete;
    FilledBuffer& operator=(const FilledBuffer&) = delete;

private:
    const GLCalls& m_gl;
    GLint m_previous = 0;
};

GLsizeiptr BytesOf(std::size_t records) {
    return static_cast<GLsizeiptr>(records * sizeof(GLDrawGeometry));
}

} // namespace

KeptRecords::~KeptRecords() {
    if (filling) {
        filling->ForgetTarget();
    }
    ReleaseBuffer();
}

void KeptRecords::NoteChange(int first, int changed) {
    const bool none = m_changedFirst == m_changedEnd;
    m_changedFirst = none ? first : std::min(m_changedFirst, first);
    m_changedEnd = none ? first + changed : std::max(m_changedEnd, first + changed);
}

void KeptRecords::Empty() {
    mode = GL_POINTS;
    count = 0;
    records.clear();
    chainFirsts.clear();
    chainCounts.clear();
    m_bufferIsFilled = false;
    m_changedFirst = 0;
    m_changedEnd = 0;
}

long KeptRecords::Upload(COpenGLView& view, const GLCalls& gl, unsigned int& name) {
    if (m_bufferGroup != ShareGroup::Number()) {
        // It went with the last context of its group.
        m_buffer = 0;
        m_bufferIsFilled = false;
    }
    if (!m_bufferIsFilled) {
        if (records.empty()) {
            return E_HANDLE;
        }
        DeleteLeftBehind(view);
        if (!FillBuffer(gl)) {
            return E_OUTOFMEMORY;
        }
    } else if (m_changedFirst != m_changedEnd) {
        SendChange(gl);
    }
    if (freesAfterUpload) {
        std::vector<GLDrawGeometry>().swap(records);
    }
    name = m_buffer;
    return S_OK;
}

/// False when the driver has no room; then there is no buffer.
bool KeptRecords::FillBuffer(const GLCalls& gl) {
    if (m_buffer == 0) {
        gl.glGenBuffers(1, &m_buffer);
        m_bufferGroup = ShareGroup::Number();
    }
    if (m_buffer == 0) {
        return false;
    }
    const FilledBuffer bound(gl, m_buffer);
    NameObject(gl, GL_BUFFER, m_buffer, "geometry");
    const GLsizeiptr bytes = BytesOf(records.size());
    gl.glBufferData(GL_COPY_WRITE_BUFFER, bytes, records.data(), GL_STATIC_DRAW);
    // NOTE: a driver that has no room leaves the buffer as it was. Asking for its size afterwards tells so without
    // taking OpenGL's errors away from the host.
    GLint64 size = 0;
    gl.glGetBufferParameteri64v(GL_COPY_WRITE_BUFFER, GL_BUFFER_SIZE, &size);
    if (size != bytes) {
        gl.glDeleteBuffers(1, &m_buffer);
        m_buffer = 0;
        return false;
    }
    m_bufferIsFilled = true;
    m_changedFirst = 0;
    m_changedEnd = 0;
    return true;
}

void KeptRecords::SendChange(const GLCalls& gl) {
    const FilledBuffer bound(gl, m_buffer);
    const auto first = static_cast<std::size_t>(m_changedFirst);
    gl.glBufferSubData(GL_COPY_WRITE_BUFFER, BytesOf(first),
                       BytesOf(static_cast<std::size_t>(m_changedEnd - m_changedFirst)), records.data() + first);
    m_changedFirst = 0;
    m_changedEnd = 0;
}

void KeptRecords::ReleaseBuffer() {
    if (m_buffer == 0) {
        return;
    }
    ShareGroup::LeaveBufferBehind(m_buffer, m_bufferGroup);
    m_buffer = 0;
    m_bufferIsFilled = false;
    const LibraryContext current = ShareGroup::Find(wglGetCurrentContext());
    if (current.owner) {
        DeleteLeftBehind(*current.owner);
    }
}

} // namespace KTR
