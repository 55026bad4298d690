#pragma once

#include "../values/SceneObjects.h"

namespace KTR {

class GLCalls;

/// Room in a stream buffer, mapped for as long as this lives.
///
/// The driver keeps what the GPU has still to read: a full buffer gets new storage, and only what nothing was drawn
/// from is mapped. So nothing is waited for, and no fence is needed.
class StreamRoom {
public:
    /// Makes the buffer where it has no name yet, and binds it to `target`.
    StreamRoom(const GLCalls& gl, GLenum target, StreamBuffer& buffer, GLsizeiptr bytes);
    ~StreamRoom();
    StreamRoom(const StreamRoom&) = delete;
    StreamRoom& operator=(const StreamRoom&) = delete;

    /// Where to write; null when the driver has no memory.
    void* Data() const { return m_data; }
    /// Bytes from the start of the buffer.
    GLintptr Offset() const { return m_offset; }

private:
    const GLCalls& m_gl;
    GLenum m_target;
    GLintptr m_offset = 0;
    void* m_data = nullptr;
};

} // namespace KTR
