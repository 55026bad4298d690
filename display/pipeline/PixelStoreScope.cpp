#include "PixelStoreScope.h"

namespace KTR {

namespace {

/// What OpenGL calls the settings of one direction. The figures of three-dimensional images are missing: no image of
/// this library is read by them. The order of bits counts for the bitmaps of fonts.
struct StorageNames {
    GLenum storage[6]; ///< alignment, row length, rows and pixels to skip, order of bytes and of bits
    GLenum buffer;
    GLenum bufferBinding;
};

constexpr StorageNames kUnpackNames{{GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS,
                                     GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SWAP_BYTES, GL_UNPACK_LSB_FIRST},
                                    GL_PIXEL_UNPACK_BUFFER,
                                    GL_PIXEL_UNPACK_BUFFER_BINDING};
constexpr StorageNames kPackNames{{GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS, GL_PACK_SKIP_PIXELS,
                                   GL_PACK_SWAP_BYTES, GL_PACK_LSB_FIRST},
                                  GL_PIXEL_PACK_BUFFER,
                                  GL_PIXEL_PACK_BUFFER_BINDING};

const StorageNames& NamesOf(PixelDirection direction) {
    return direction == PixelDirection::Unpack ? kUnpackNames : kPackNames;
}

/// A setting of the pixel transfer and its value when pixels pass unchanged.
struct Transfer {
    GLenum name;
    GLfloat unchanged;
};

constexpr Transfer kTransfers[] = {{GL_MAP_COLOR, 0.0F},   {GL_RED_SCALE, 1.0F},   {GL_RED_BIAS, 0.0F},
                                   {GL_GREEN_SCALE, 1.0F}, {GL_GREEN_BIAS, 0.0F},  {GL_BLUE_SCALE, 1.0F},
                                   {GL_BLUE_BIAS, 0.0F},   {GL_ALPHA_SCALE, 1.0F}, {GL_ALPHA_BIAS, 0.0F},
                                   {GL_DEPTH_SCALE, 1.0F}, {GL_DEPTH_BIAS, 0.0F}};

/// Pixel buffers came with OpenGL 2.1, as did this function.
bool HasPixelBuffers(const GLCalls& gl) {
    return gl.Has(&GLEntryPoints::glUniformMatrix2x3fv) && gl.Has(&GLEntryPoints::glBindBuffer);
}

} // namespace

PixelStoreScope::PixelStoreScope(const GLCalls& gl, PixelDirection direction, const PixelRows& rows)
    : m_gl(gl), m_direction(direction), m_storage{rows.alignment,  rows.rowLength, rows.skipRows,
                                                  rows.skipPixels, GL_FALSE,       GL_FALSE},
      m_transfers(HasPixelTransfer()) {
    const StorageNames& names = NamesOf(m_direction);
    for (int index = 0; index < kStorageCount; ++index) {
        m_gl.glGetIntegerv(names.storage[index], &m_storageBefore[index]);
        if (m_storage[index] != m_storageBefore[index]) {
            m_gl.glPixelStorei(names.storage[index], m_storage[index]);
        }
    }
    if (HasPixelBuffers(m_gl)) {
        m_gl.glGetIntegerv(names.bufferBinding, &m_bufferBefore);
    }
    if (m_bufferBefore != 0) {
        m_gl.glBindBuffer(names.buffer, 0);
    }
    for (int index = 0; m_transfers && index < kTransferCount; ++index) {
        m_gl.glGetFloatv(kTransfers[index].name, &m_transferBefore[index]);
        if (m_transferBefore[index] != kTransfers[index].unchanged) {
            m_gl.glPixelTransferf(kTransfers[index].name, kTransfers[index].unchanged);
        }
    }
}

PixelStoreScope::~PixelStoreScope() {
    static_assert(std::size(kTransfers) == kTransferCount);
    const StorageNames& names = NamesOf(m_direction);
    for (int index = 0; index < kStorageCount; ++index) {
        if (m_storage[index] != m_storageBefore[index]) {
            m_gl.glPixelStorei(names.storage[index], m_storageBefore[index]);
        }
    }
    // A buffer that another context has deleted meanwhile lives on only while it is bound.
    if (m_bufferBefore != 0 && m_gl.glIsBuffer(static_cast<GLuint>(m_bufferBefore))) {
        m_gl.glBindBuffer(names.buffer, static_cast<GLuint>(m_bufferBefore));
    }
    for (int index = 0; m_transfers && index < kTransferCount; ++index) {
        if (m_transferBefore[index] != kTransfers[index].unchanged) {
            m_gl.glPixelTransferf(kTransfers[index].name, m_transferBefore[index]);
        }
    }
}

/// Core contexts have none; asking there would leave an error with the host. Profiles came with OpenGL 3.2, as did the
/// function that tells.
bool PixelStoreScope::HasPixelTransfer() const {
    GLint profile = 0;
    if (m_gl.Has(&GLEntryPoints::glGetInteger64i_v)) {
        m_gl.glGetIntegerv(GL_CONTEXT_PROFILE_MASK, &profile);
    }
    return (profile & GL_CONTEXT_CORE_PROFILE_BIT) == 0;
}

} // namespace KTR
