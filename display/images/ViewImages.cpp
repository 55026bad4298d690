#include "../view/OpenGLView.h"

#include "ImageRows.h"

#include <GL/glext.h>

namespace KTR {

namespace {

/// How a format of the host is kept.
struct TextureFormat {
    GLint internalFormat;
    GLenum format;
    GLenum type;
};

/// Grey and alpha are formats of the fixed functions. A program's texture keeps them in red and green and says with a
/// swizzle what they mean, so that both pipelines read the same colours.
TextureFormat FormatFor(unsigned int format, bool programs) {
    switch (format) {
    case GL_RGB:
    case GL_BGR:
        return {GL_RGB8, format, GL_UNSIGNED_BYTE};
    case GL_LUMINANCE:
        return programs ? TextureFormat{GL_R8, GL_RED, GL_UNSIGNED_BYTE}
                        : TextureFormat{GL_LUMINANCE8, GL_LUMINANCE, GL_UNSIGNED_BYTE};
    case GL_ALPHA:
        return programs ? TextureFormat{GL_R8, GL_RED, GL_UNSIGNED_BYTE}
                        : TextureFormat{GL_ALPHA8, GL_ALPHA, GL_UNSIGNED_BYTE};
    case GL_LUMINANCE_ALPHA:
        return programs ? TextureFormat{GL_RG8, GL_RG, GL_UNSIGNED_BYTE}
                        : TextureFormat{GL_LUMINANCE8_ALPHA8, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE};
    case GL_RED:
        return {programs ? GL_R8 : GL_RGB8, GL_RED, GL_UNSIGNED_BYTE};
    case GL_DEPTH_COMPONENT:
        return {programs ? GL_DEPTH_COMPONENT32F : GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_FLOAT};
    default:
        return {GL_RGBA8, format, GL_UNSIGNED_BYTE};
    }
}

/// What a program reads as red, green, blue and alpha.
struct Swizzle {
    GLint r, g, b, a;
};

Swizzle SwizzleFor(unsigned int format) {
    switch (format) {
    case GL_LUMINANCE:
        return {GL_RED, GL_RED, GL_RED, GL_ONE};
    case GL_ALPHA:
        return {GL_ONE, GL_ONE, GL_ONE, GL_RED};
    case GL_LUMINANCE_ALPHA:
        return {GL_RED, GL_RED, GL_RED, GL_GREEN};
    default:
        return {GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA};
    }
}

/// How pixels are read from memory. The host's settings come back when it goes.
class UnpackState {
public:
    UnpackState(COpenGLView& view, const COrrinGLCement* gl, const ImageRows& rows) : m_view(view) {
        const int wanted[kSettings] = {rows.rowAlignment, rows.rowLength, 0, 0};
        for (int index = 0; index < kSettings; ++index) {
            gl->glGetIntegerv(kNames[index], &m_before[index]);
            m_now[index] = wanted[index];
            Change(index, m_before[index], m_now[index]);
        }
    }
    ~UnpackState() {
        for (int index = 0; index < kSettings; ++index) {
            Change(index, m_now[index], m_before[index]);
        }
    }
    UnpackState(const UnpackState&) = delete;
    UnpackState& operator=(const UnpackState&) = delete;

private:
    static constexpr int kSettings = 4;
    static constexpr GLenum kNames[kSettings] = {GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS,
                                                 GL_UNPACK_SKIP_PIXELS};

    void Change(int index, GLint from, GLint to) {
        if (from != to) {
            m_view.PixelStore(kNames[index], to);
        }
    }

    COpenGLView& m_view;
    GLint m_before[kSettings] = {};
    GLint m_now[kSettings] = {};
};

GLint LevelParameter(const COrrinGLCement* gl, GLenum name) {
    GLint value = 0;
    gl->glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, name, &value);
    return value;
}

} // namespace

long COpenGLView::LoadGLImage(unsigned int textureUnit, unsigned int format, int width, int height, int rowAlignment,
                              unsigned int filter, const void* pixels, unsigned int& texture, unsigned int& sampler) {
    const ImageRows rows{format, width, height, width, rowAlignment, static_cast<const unsigned char*>(pixels)};
    return UploadImage(rows, textureUnit, filter, texture, sampler);
}

/// LoadGLImage for a part of an image.
long COpenGLView::UploadImage(const ImageRows& rows, unsigned int textureUnit, unsigned int filter,
                              unsigned int& texture, unsigned int& sampler) {
    const COrrinGLCement* gl = CurrentGL();
    const bool knownFilter = filter == GL_NEAREST || filter == GL_LINEAR;
    const bool knownUnit = textureUnit == GL_TEXTURE0 || (textureUnit > GL_TEXTURE0 && gl->glActiveTexture);
    if (!IsLoadable(rows) || !knownFilter || !knownUnit) {
        return E_INVALIDARG;
    }
    if (!IsMyContextCurrent(m_currentContext) || IsCurrentGLRenderingContextNull(m_currentContext)) {
        return E_FAIL;
    }
    if (const int limit = GetContextMaxTextureSize(); rows.width > limit || rows.height > limit) {
        outputGlError(L"Warning: OpenGL texture capability error. Texture too big");
        return E_INVALIDARG;
    }
    unsigned int filled = texture;
    unsigned int newSampler = 0;
    if (filled == 0) {
        gl->glGenTextures(1, &filled);
        outputGlError(L"glGenTextures: END");
    }
    if (DrawsWithPrograms() && sampler == 0) {
        gl->glGenSamplers(1, &newSampler);
        outputGlError(L"glGenSamplers: END");
    }
    if (gl->glActiveTexture) {
        gl->glActiveTexture(textureUnit);
        outputGlError(L"glActiveTexture: END");
    }
    gl->glBindTexture(GL_TEXTURE_2D, filled);
    outputGlError(L"glBindTexture: END");
    const bool samplerThere = !DrawsWithPrograms() || sampler != 0 || newSampler != 0;
    const bool done = filled != 0 && samplerThere && FillTexture(rows, filter);
    if (done && DrawsWithPrograms()) {
        sampler = sampler != 0 ? sampler : newSampler;
        SetUpSampler(sampler, filter);
        gl->glBindSampler(textureUnit - GL_TEXTURE0, sampler);
        outputGlError(L"glBindSampler: END");
    }
    if (gl->glActiveTexture && textureUnit != GL_TEXTURE0) {
        gl->glActiveTexture(GL_TEXTURE0);
        outputGlError(L"glActiveTexture: END");
    }
    if (!done) {
        unsigned int newTexture = texture == 0 ? filled : 0;
        DeleteTextureAndSamplerNames(newTexture, newSampler);
        return E_OUTOFMEMORY;
    }
    texture = filled;
    return S_OK;
}

/// Fills the bound texture. False when the driver has no room for it.
bool COpenGLView::FillTexture(const ImageRows& rows, unsigned int filter) {
    const COrrinGLCement* gl = CurrentGL();
    const bool programs = DrawsWithPrograms();
    const TextureFormat kept = FormatFor(rows.format, programs);
    const auto hasSize = [&] {
        return LevelParameter(gl, GL_TEXTURE_WIDTH) == rows.width &&
               LevelParameter(gl, GL_TEXTURE_HEIGHT) == rows.height;
    };
    // NOTE: a driver that has no room leaves the level as it was. Asking for its size afterwards tells so without
    // taking OpenGL's errors away from the host.
    const UnpackState unpack(*this, gl, rows);
    if (hasSize() && LevelParameter(gl, GL_TEXTURE_INTERNAL_FORMAT) == kept.internalFormat) {
        if (rows.pixels) {
            gl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, rows.width, rows.height, kept.format, kept.type, rows.pixels);
            outputGlError(L"glTexSubImage2D: END");
        }
    } else {
        gl->glTexImage2D(GL_TEXTURE_2D, 0, kept.internalFormat, rows.width, rows.height, 0, kept.format, kept.type,
                         rows.pixels);
        outputGlError(L"glTexImage2D: END");
        if (!hasSize()) {
            return false;
        }
    }
    const auto set = [&](unsigned int name, GLint value) { TexParameter(GL_TEXTURE_2D, name, value); };
    // Clamping to the edge came with OpenGL 1.2, as did the function that tells.
    const GLint clamp = gl->glTexImage3D ? GL_CLAMP_TO_EDGE : GL_CLAMP;
    set(GL_TEXTURE_MIN_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_MAG_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_WRAP_S, clamp);
    set(GL_TEXTURE_WRAP_T, clamp);
    if (programs) {
        const Swizzle swizzle = SwizzleFor(rows.format);
        set(GL_TEXTURE_SWIZZLE_R, swizzle.r);
        set(GL_TEXTURE_SWIZZLE_G, swizzle.g);
        set(GL_TEXTURE_SWIZZLE_B, swizzle.b);
        set(GL_TEXTURE_SWIZZLE_A, swizzle.a);
    }
    return true;
}

void COpenGLView::SetUpSampler(unsigned int sampler, unsigned int filter) {
    const COrrinGLCement* gl = CurrentGL();
    const auto set = [&](GLenum name, GLint value) {
        gl->glSamplerParameteri(sampler, name, value);
        outputGlError(L"glSamplerParameteri: END");
    };
    set(GL_TEXTURE_MIN_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_MAG_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    set(GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

} // namespace KTR
