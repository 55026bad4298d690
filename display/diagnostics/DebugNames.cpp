#include "DebugNames.h"

#include "../platform/Border.h"

#include <GL/glext.h>

#include <spdlog/logger.h>

#include <atomic>
#include <string>

namespace KTR {

namespace {

std::atomic<bool> g_wanted = false;

spdlog::level::level_enum LevelOf(GLenum severity) {
    switch (severity) {
    case GL_DEBUG_SEVERITY_HIGH:
        return spdlog::level::err;
    case GL_DEBUG_SEVERITY_MEDIUM:
        return spdlog::level::warn;
    case GL_DEBUG_SEVERITY_LOW:
        return spdlog::level::info;
    default:
        return spdlog::level::debug;
    }
}

/// The driver may call this on a thread of its own, and has no use for an exception.
void APIENTRY TakeMessage(GLenum source, GLenum, GLuint, GLenum severity, GLsizei length, const GLchar* message,
                          const void*) {
    if (source == GL_DEBUG_SOURCE_APPLICATION || !message) {
        return; // the groups themselves, and what the host says to its own tools
    }
    try {
        if (const std::shared_ptr<spdlog::logger> logger = FindLogger()) {
            const std::string text = length < 0 ? message : std::string(message, static_cast<std::size_t>(length));
            logger->log(LevelOf(severity), "OpenGL driver: {}", text);
        }
    } catch (...) {
        DropCaught();
    }
}

} // namespace

void WantDebugNames(bool on) {
    g_wanted = on;
}

bool WantsDebugNames() {
    return g_wanted.load(std::memory_order_relaxed);
}

void NameObject(const GLCalls& gl, GLenum kind, GLuint object, const char* name) {
    if (WantsDebugNames() && object != 0 && gl.Has(&GLEntryPoints::glObjectLabel)) {
        gl.glObjectLabel(kind, object, -1, name);
    }
}

void NameObject(const GLCalls& gl, GLenum kind, GLuint object, const char* name, const wchar_t* detail) {
    if (!WantsDebugNames()) {
        return;
    }
    char text[128] = {}; // drivers take at least 256 characters
    std::size_t end = 0;
    for (; *name != 0 && end + 1 < sizeof(text); ++name) {
        text[end++] = *name;
    }
    for (; detail && *detail != 0 && end + 1 < sizeof(text); ++detail) {
        text[end++] = *detail < 128 ? static_cast<char>(*detail) : '?';
    }
    NameObject(gl, kind, object, text);
}

DebugGroup::DebugGroup(const GLCalls& gl, const char* name) {
    if (WantsDebugNames() && gl.Has(&GLEntryPoints::glPushDebugGroup) && gl.Has(&GLEntryPoints::glPopDebugGroup)) {
        gl.glPushDebugGroup(GL_DEBUG_SOURCE_APPLICATION, 0, -1, name);
        m_gl = &gl;
    }
}

DebugGroup::~DebugGroup() {
    if (m_gl) {
        m_gl->glPopDebugGroup();
    }
}

void HearDriver(const GLCalls& gl) {
    if (WantsDebugNames() && gl.Has(&GLEntryPoints::glDebugMessageCallback)) {
        gl.glDebugMessageCallback(TakeMessage, nullptr);
        gl.glEnable(GL_DEBUG_OUTPUT);
    }
}

} // namespace KTR
