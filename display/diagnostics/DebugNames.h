#pragma once

#include "../platform/GLCalls.h"

namespace KTR {

// What a capture tool shows beside the library's objects and calls. Nothing of it reaches OpenGL unless the host has
// asked for it and the driver has KHR_debug.

void WantDebugNames(bool on);
bool WantsDebugNames();

/// Names an object, which has been bound or made by glCreate...: a name that was only generated is none yet.
void NameObject(const GLCalls& gl, GLenum kind, GLuint object, const char* name);
/// The same with more behind the name: "program OrrinLine.vert".
void NameObject(const GLCalls& gl, GLenum kind, GLuint object, const char* name, const wchar_t* detail);

/// The calls made while it lives are one group of a capture. `gl` outlives it, and the context stays the same.
class DebugGroup {
public:
    DebugGroup(const GLCalls& gl, const char* name);
    ~DebugGroup();
    DebugGroup(const DebugGroup&) = delete;
    DebugGroup& operator=(const DebugGroup&) = delete;

private:
    const GLCalls* m_gl = nullptr; ///< null where nothing was opened
};

/// Has the driver tell the host's logger what it thinks, of the context that has just become current for the first
/// time.
void HearDriver(const GLCalls& gl);

} // namespace KTR
