#include "ImageUpload.h"

#include "../diagnostics/DebugNames.h"
#include "../pipeline/PixelStoreScope.h"
#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "ImageLevels.h"

#include <GL/glext.h>

#include <algorithm>

namespace KTR {

namespace {

/// How an image of the host's format is stored.
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

GLint LevelParameter(const GLCalls& gl, GLint level, GLenum name) {
    GLint value = 0;
    gl.glGetTexLevelParameteriv(GL_TEXTURE_2D, level, name, &value);
    return value;
}

/// Whether the current context can bind textures to a unit, given as GL_TEXTURE0 and up.
bool IsTextureUnit(const GLCalls& gl, unsigned int unit) {
    if (unit <= GL_TEXTURE0 || !gl.Has(&GLEntryPoints::glActiveTexture)) {
        return unit == GL_TEXTURE0;
    }
    GLint count = 0;
    gl.glGetIntegerv(
        gl.Has(&GLEntryPoints::glCreateShader) ? GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS : GL_MAX_TEXTURE_UNITS, &count);
    return unit - GL_TEXTURE0 < static_cast<unsigned int>(count);
}

/// Fills one level of the bound texture. False when the driver has no room for it.
bool FillLevel(const GLCalls& gl, GLint level, const ImageRows& rows, const TextureFormat& kept) {
    const auto hasSize = [&] {
        return LevelParameter(gl, level, GL_TEXTURE_WIDTH) == rows.width &&
               LevelParameter(gl, level, GL_TEXTURE_HEIGHT) == rows.height;
    };
    // NOTE: a driver that has no room leaves the level as it was. Asking for its size afterwards tells so without
    // taking OpenGL's errors away from the host.
    const PixelStoreScope pixels(gl, PixelDirection::Unpack, {rows.rowAlignment, rows.rowLength, 0, 0});
    if (hasSize() && LevelParameter(gl, level, GL_TEXTURE_INTERNAL_FORMAT) == kept.internalFormat) {
        if (rows.pixels) {
            gl.glTexSubImage2D(GL_TEXTURE_2D, level, 0, 0, rows.width, rows.height, kept.format, kept.type,
                               rows.pixels);
        }
        return true;
    }
    gl.glTexImage2D(GL_TEXTURE_2D, level, kept.internalFormat, rows.width, rows.height, 0, kept.format, kept.type,
                    rows.pixels);
    return hasSize();
}

ImageRows RowsOf(const ImageLevel& level, unsigned int format) {
    return {format, level.width, level.height, level.width, 1, level.pixels.empty() ? nullptr : level.pixels.data()};
}

bool FillSmallerLevels(const GLCalls& gl, const std::vector<ImageLevel>& levels, unsigned int format,
                       const TextureFormat& kept) {
    GLint level = 0;
    return std::all_of(levels.begin(), levels.end(),
                       [&](const ImageLevel& one) { return FillLevel(gl, ++level, RowsOf(one, format), kept); });
}

bool HasSmallerLevels(unsigned int filter) {
    return filter == GL_LINEAR_MIPMAP_LINEAR;
}

/// How a filter enlarges.
GLint MagnificationOf(unsigned int filter) {
    return static_cast<GLint>(HasSmallerLevels(filter) ? GL_LINEAR : filter);
}

/// Fills the bound texture. False when the driver has no room for it.
bool FillTexture(const GLCalls& gl, const ImageRows& rows, const std::vector<ImageLevel>& smaller, unsigned int filter,
                 bool programs) {
    const TextureFormat kept = FormatFor(rows.format, programs);
    if (!FillLevel(gl, 0, rows, kept) || !FillSmallerLevels(gl, smaller, rows.format, kept)) {
        return false;
    }
    const auto set = [&](GLenum name, GLint value) { gl.glTexParameteri(GL_TEXTURE_2D, name, value); };
    // Clamping to the edge came with OpenGL 1.2, as did the function that tells.
    const GLint clamp = gl.Has(&GLEntryPoints::glTexImage3D) ? GL_CLAMP_TO_EDGE : GL_CLAMP;
    set(GL_TEXTURE_MIN_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_MAG_FILTER, MagnificationOf(filter));
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

void SetUpSampler(const GLCalls& gl, unsigned int sampler, unsigned int filter) {
    const auto set = [&](GLenum name, GLint value) { gl.glSamplerParameteri(sampler, name, value); };
    set(GL_TEXTURE_MIN_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_MAG_FILTER, MagnificationOf(filter));
    set(GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    set(GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

/// The smaller levels that a filter wants of an image.
long MakeSmallerLevels(const ImageRows& rows, unsigned int filter, std::vector<ImageLevel>& levels) {
    try {
        if (HasSmallerLevels(filter)) {
            levels = SmallerLevels(rows);
        }
        return S_OK;
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

/// A format that all of a texture's channels can be read in.
unsigned int WholeFormat(GLint internalFormat, unsigned int format) {
    return internalFormat == GL_RGBA8 ? GL_RGBA : internalFormat == GL_RGB8 ? GL_RGB : format;
}

/// After a part of the bound texture has changed.
long RefreshSmallerLevels(const GLCalls& gl, unsigned int changedFormat, bool programs) {
    const GLint internalFormat = LevelParameter(gl, 0, GL_TEXTURE_INTERNAL_FORMAT);
    const unsigned int format = WholeFormat(internalFormat, changedFormat);
    const TextureFormat kept{internalFormat, FormatFor(format, programs).format, GL_UNSIGNED_BYTE};
    GLint filter = 0;
    gl.glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &filter);
    if (!HasSmallerLevels(static_cast<unsigned int>(filter))) {
        return S_OK;
    }
    const int width = LevelParameter(gl, 0, GL_TEXTURE_WIDTH);
    const int height = LevelParameter(gl, 0, GL_TEXTURE_HEIGHT);
    try {
        std::vector<unsigned char> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                          static_cast<std::size_t>(BytesPerPixel(format)));
        {
            const PixelStoreScope rows(gl, PixelDirection::Pack, {1, 0, 0, 0});
            gl.glGetTexImage(GL_TEXTURE_2D, 0, kept.format, kept.type, pixels.data());
        }
        const std::vector<ImageLevel> levels = SmallerLevels({format, width, height, width, 1, pixels.data()});
        return FillSmallerLevels(gl, levels, format, kept) ? S_OK : E_OUTOFMEMORY;
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

} // namespace

long UploadImage(COpenGLView& view, const ImageRows& rows, unsigned int textureUnit, unsigned int filter,
                 unsigned int& texture, unsigned int& sampler) {
    const bool levelled = HasSmallerLevels(filter) && rows.format != GL_DEPTH_COMPONENT;
    if (!IsLoadable(rows) || (filter != GL_NEAREST && filter != GL_LINEAR && !levelled)) {
        return E_INVALIDARG;
    }
    if (!ViewAccess::HasCurrentContext(view)) {
        return E_FAIL;
    }
    const GLCalls gl = ViewAccess::CallGL(view);
    if (!IsTextureUnit(gl, textureUnit)) {
        return E_INVALIDARG;
    }
    if (const int limit = view.GetContextMaxTextureSize(); rows.width > limit || rows.height > limit) {
        view.outputGlError(L"Warning: OpenGL texture capability error. Texture too big");
        return E_INVALIDARG;
    }
    std::vector<ImageLevel> smaller;
    if (const long result = MakeSmallerLevels(rows, filter, smaller); result != S_OK) {
        return result;
    }
    const bool programs = view.DrawsWithPrograms();
    const bool hasUnits = gl.Has(&GLEntryPoints::glActiveTexture);
    unsigned int filled = texture;
    unsigned int newSampler = 0;
    if (filled == 0) {
        gl.glGenTextures(1, &filled);
    }
    if (programs && sampler == 0) {
        gl.glGenSamplers(1, &newSampler);
    }
    if (hasUnits) {
        gl.glActiveTexture(textureUnit);
    }
    gl.glBindTexture(GL_TEXTURE_2D, filled);
    const bool samplerThere = !programs || sampler != 0 || newSampler != 0;
    const bool done = filled != 0 && samplerThere && FillTexture(gl, rows, smaller, filter, programs);
    if (done && programs) {
        sampler = sampler != 0 ? sampler : newSampler;
        SetUpSampler(gl, sampler, filter);
        NameObject(gl, GL_SAMPLER, sampler, "image");
        gl.glBindSampler(textureUnit - GL_TEXTURE0, sampler);
    }
    if (hasUnits && textureUnit != GL_TEXTURE0) {
        gl.glActiveTexture(GL_TEXTURE0);
    }
    if (!done) {
        unsigned int newTexture = texture == 0 ? filled : 0;
        view.DeleteTextureAndSamplerNames(newTexture, newSampler);
        return E_OUTOFMEMORY;
    }
    if (texture == 0) {
        NameObject(gl, GL_TEXTURE, filled, "image");
    }
    texture = filled;
    return S_OK;
}

long UpdateImage(COpenGLView& view, unsigned int texture, int x, int y, const ImageRows& rows) {
    const GLCalls gl = ViewAccess::CallGL(view);
    if (gl.Has(&GLEntryPoints::glActiveTexture)) {
        gl.glActiveTexture(GL_TEXTURE0);
    }
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    const long long right = static_cast<long long>(x) + rows.width;
    const long long top = static_cast<long long>(y) + rows.height;
    if (x < 0 || y < 0 || right > LevelParameter(gl, 0, GL_TEXTURE_WIDTH) ||
        top > LevelParameter(gl, 0, GL_TEXTURE_HEIGHT)) {
        return E_INVALIDARG;
    }
    const GLint internalFormat = LevelParameter(gl, 0, GL_TEXTURE_INTERNAL_FORMAT);
    const bool programs = view.DrawsWithPrograms();
    ImageRows source = rows;
    TextureFormat kept = FormatFor(source.format, programs);
    std::vector<unsigned char> rgba;
    if (internalFormat == GL_RGBA8 && kept.internalFormat != GL_RGBA8) {
        // The texture keeps colours that other formats mean as well.
        try {
            rgba = ToRgba(rows);
        } catch (...) {
            DropCaught();
            return E_OUTOFMEMORY;
        }
        source = {GL_RGBA, rows.width, rows.height, rows.width, 1, rgba.data()};
        kept = FormatFor(GL_RGBA, programs);
    }
    if (internalFormat != kept.internalFormat) {
        return E_INVALIDARG;
    }
    {
        const PixelStoreScope pixels(gl, PixelDirection::Unpack, {source.rowAlignment, source.rowLength, 0, 0});
        gl.glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, source.width, source.height, kept.format, kept.type, source.pixels);
    }
    return RefreshSmallerLevels(gl, source.format, programs);
}

} // namespace KTR
