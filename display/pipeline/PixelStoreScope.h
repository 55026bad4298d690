#pragma once

#include "../platform/GLCalls.h"

#include <GL/glext.h>

namespace KTR {

/// Which way pixels go: from memory to OpenGL, or back.
enum class PixelDirection { Unpack, Pack };

/// How the rows of a rectangle lie in memory.
struct PixelRows {
    int alignment = 1;  ///< bytes: each row begins at a multiple of this from the first
    int rowLength = 0;  ///< pixels from one row to the next; 0 for the rectangle's width
    int skipRows = 0;   ///< before the rectangle
    int skipPixels = 0; ///< before the rectangle, in each row
};

/// While it lives, pixels of two-dimensional images go one way between OpenGL and an address in memory, lying there as
/// given and passing unchanged, whatever the host has set: row layout, order of bytes and bits, a pixel buffer (with
/// one bound an address is an offset into it), scales and biases of the pixel transfer. Afterwards all of it is the
/// host's again. Only what differs is changed.
class PixelStoreScope {
public:
    PixelStoreScope(const GLCalls& gl, PixelDirection direction, const PixelRows& rows);
    ~PixelStoreScope();
    PixelStoreScope(const PixelStoreScope&) = delete;
    PixelStoreScope& operator=(const PixelStoreScope&) = delete;

private:
    static constexpr int kStorageCount = 6;
    static constexpr int kTransferCount = 11;

    bool HasPixelTransfer() const;

    GLCalls m_gl;
    PixelDirection m_direction;
    GLint m_storage[kStorageCount] = {};
    GLint m_storageBefore[kStorageCount] = {};
    GLfloat m_transferBefore[kTransferCount] = {};
    GLint m_bufferBefore = 0;
    bool m_transfers = false; ///< the context has a pixel transfer
};

} // namespace KTR
