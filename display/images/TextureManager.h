#pragma once

#include "../Export.h"

/// The process's cache of raster textures. One instance serves all views (COpenGLView::m_gRasterTextureManager); it
/// lives from the load of the library to its unload. It makes no GL call, so that it may be made while the loader holds
/// its lock.
class ORRIN_DISPLAY_API COpenGLViewTextureManager {
public:
    COpenGLViewTextureManager() = default;
    COpenGLViewTextureManager(const COpenGLViewTextureManager&) = delete;
    COpenGLViewTextureManager& operator=(const COpenGLViewTextureManager&) = delete;

    /// Bytes of all cached textures.
    unsigned long long GetTextureCacheSize() const { return m_cacheSize; }

private:
    unsigned long long m_cacheSize = 0;
};
