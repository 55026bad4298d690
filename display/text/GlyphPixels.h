#pragma once

#include "../platform/GLCalls.h"

#include <GL/glext.h>

#include <iterator>

namespace KTR {

/// How OpenGL reads pixels from memory. While it lives glyphs are read as they lie there, whatever the host has set.
class GlyphPixels {
public:
    explicit GlyphPixels(const GLCalls& gl) : m_gl(gl) {
        for (std::size_t index = 0; index < std::size(kSettings); ++index) {
            m_gl.glGetIntegerv(kSettings[index].name, &m_before[index]);
            m_gl.glPixelStorei(kSettings[index].name, kSettings[index].value);
        }
        // With a buffer bound, addresses would be taken for offsets into it.
        if (m_gl.Has(&GLEntryPoints::glBindBuffer)) {
            m_gl.glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &m_bufferBefore);
            m_gl.glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        }
    }
    ~GlyphPixels() {
        for (std::size_t index = 0; index < std::size(kSettings); ++index) {
            m_gl.glPixelStorei(kSettings[index].name, m_before[index]);
        }
        if (m_gl.Has(&GLEntryPoints::glBindBuffer)) {
            m_gl.glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(m_bufferBefore));
        }
    }
    GlyphPixels(const GlyphPixels&) = delete;
    GlyphPixels& operator=(const GlyphPixels&) = delete;

private:
    struct Setting {
        GLenum name;
        GLint value;
    };
    static constexpr Setting kSettings[] = {{GL_UNPACK_ALIGNMENT, 1},  {GL_UNPACK_ROW_LENGTH, 0},
                                            {GL_UNPACK_SKIP_ROWS, 0},  {GL_UNPACK_SKIP_PIXELS, 0},
                                            {GL_UNPACK_SWAP_BYTES, 0}, {GL_UNPACK_LSB_FIRST, 0}};

    const GLCalls& m_gl;
    GLint m_before[std::size(kSettings)] = {};
    GLint m_bufferBefore = 0;
};

} // namespace KTR
