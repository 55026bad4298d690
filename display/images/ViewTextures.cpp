#include "../view/OpenGLView.h"

#include "../platform/Border.h"
#include "../view/ViewAccess.h"

#include <vector>

namespace KTR {

namespace {

/// Whether a cached texture shows what is asked for: the same image, and all of the region.
bool Holds(const GLTextureObject& cached, const GLTextureObject& request) {
    return cached.imageWidth == request.imageWidth && cached.imageHeight == request.imageHeight &&
           cached.regionXMin <= request.regionXMin && cached.regionYMin <= request.regionYMin &&
           cached.regionXMax >= request.regionXMax && cached.regionYMax >= request.regionYMax;
}

/// False when there is no memory for the text.
bool Assign(CString& target, const wchar_t* text) {
    try {
        target = text;
        return true;
    } catch (...) { // MFC's strings throw an exception of MFC's own
        return false;
    }
}

const void* TextureGroup(const COpenGLView& view) {
    return TextureGroupOf(ViewAccess::CurrentRecord(view));
}

/// The texture of an entry that left the cache while no context of its share group was current.
struct WaitingTexture {
    unsigned int name;
    const void* shareGroup;
};

std::vector<WaitingTexture> g_waitingTextures;

void DeleteWaitingTextures(COpenGLView& view) {
    if (!ViewAccess::HasCurrentContext(view)) {
        return;
    }
    std::erase_if(g_waitingTextures, [&view](const WaitingTexture& waiting) {
        if (waiting.shareGroup != TextureGroup(view)) {
            return false;
        }
        ViewAccess::CallGL(view).glDeleteTextures(1, &waiting.name);
        return true;
    });
}

/// Deletes the GL objects of an entry that leaves the cache, or has them wait for a context that can. A plain context's
/// sampler waits for the end of its context.
void DeleteNamesOf(COpenGLView& view, const GLTextureObject& entry) {
    unsigned int texture = entry.texture;
    unsigned int sampler = entry.sampler;
    if (entry.shareGroup == TextureGroup(view)) {
        view.DeleteTextureAndSamplerNames(texture, sampler);
    }
    if (texture != 0) {
        try {
            g_waitingTextures.push_back({texture, entry.shareGroup});
        } catch (...) {
            DropCaught();
            texture = 0; // Without memory for its name it goes with its share group.
        }
    }
    if (!entry.shareGroup) {
        view.AddSamplerNameToDeleteStack(sampler);
    }
}

/// Removes an entry with its GL objects; a null entry stands for a node that holds none. No view draws with it any
/// more.
void DeleteCachedTexture(COpenGLView& view, GLTextureObject* entry, POSITION position) {
    if (entry) {
        TextureUser::ForgetEverywhere(*entry);
        DeleteNamesOf(view, *entry);
    }
    COpenGLView::m_gRasterTextureManager.DeleteTexture(entry, position);
}

/// Removes the entries of the current context's share group.
void DeleteCachedTexturesOfGroup(COpenGLView& view) {
    COpenGLViewTextureManager& cache = COpenGLView::m_gRasterTextureManager;
    for (POSITION next = cache.GetHeadPosition(); next;) {
        const POSITION at = next;
        GLTextureObject* const entry = cache.GetNext(next);
        if (entry && entry->shareGroup == TextureGroup(view)) {
            DeleteCachedTexture(view, entry, at);
        }
    }
}

/// A hit: the entry becomes the requested texture.
bool TakeFromCache(COpenGLView& view, const GLTextureObject& entry, bool makeActive) {
    GLTextureObject& requested = ViewAccess::RequestedTexture(view);
    requested.TakeValues(entry);
    requested.texture = entry.texture;
    requested.sampler = entry.sampler;
    view.SetLoadNewTextureFlag(false, false);
    if (!makeActive) {
        return true;
    }
    TextureRequest& names = ViewAccess::Textures(view);
    if (entry.texture != 0) {
        names.activeTexture = entry.texture;
        names.textureSampler = entry.sampler;
    } else {
        view.SetLoadNewTextureFlag(true, true);
    }
    if (entry.sampler != 0 && !view.IsCurrentContextOpenGL4OrLater()) {
        names.activeSampler = entry.sampler;
    }
    return true;
}

} // namespace

bool COpenGLView::RequestTextureFromCache(const wchar_t* name, int imageWidth, int imageHeight, int factor,
                                          int bytesPerGroup, int textureWidth, int textureHeight, int xMin, int yMin,
                                          int xMax, int yMax, double scale, double /*unused1*/, double /*unused2*/,
                                          bool recordRequest, bool deleteOnMismatch, bool makeActive, bool missFlagA,
                                          bool missFlagB, GLTextureObject** out) {
    m_textureRequest.requested = true;
    *out = nullptr;
    if (!name || !m_gsOpenGLVersionData.bTextureCache) {
        return false;
    }
    if (recordRequest) {
        GLTextureObject& request = m_requestedTexture;
        if (!Assign(request.name, name)) {
            return false;
        }
        request.imageWidth = imageWidth;
        request.imageHeight = imageHeight;
        request.textureWidth = textureWidth;
        request.textureHeight = textureHeight;
        request.size = TextureBytes({factor, bytesPerGroup, textureWidth, textureHeight});
        request.regionXMin = xMin;
        request.regionXMax = xMax;
        request.regionYMin = yMin;
        request.regionYMax = yMax;
        request.components = bytesPerGroup;
        request.bytesPerGroup = bytesPerGroup;
        request.scale = scale;
        request.partial = textureWidth != imageWidth && textureHeight != imageHeight;
        request.texture = 0;
        request.sampler = 0;
        request.shareGroup = TextureGroup(*this);
    }
    POSITION position = nullptr;
    if (m_gRasterTextureManager.FindTextureByName(name, TextureGroup(*this), out, &position) == S_OK) {
        if (recordRequest && Holds(**out, m_requestedTexture)) {
            if (m_gRasterTextureManager.GetOrder() == GLTextureCacheByUse) {
                m_gRasterTextureManager.MakeTextureNewest(*out);
            }
            return TakeFromCache(*this, **out, makeActive);
        }
        if (!deleteOnMismatch) {
            return false;
        }
        DeleteCachedTexture(*this, *out, position);
        *out = nullptr;
    }
    SetLoadNewTextureFlag(missFlagA, missFlagB);
    return false;
}

long COpenGLView::AddRequestedTexture(unsigned int texture, unsigned int sampler, GLTextureObject** out) {
    if (!m_gsOpenGLVersionData.bTextureCache) {
        return S_OK;
    }
    return m_gRasterTextureManager.AddTexture(m_requestedTexture, texture, sampler, out);
}

long COpenGLView::MakeRequestedTextureActive() {
    const GLTextureObject& request = m_requestedTexture;
    const bool there = request.texture != 0;
    if (there) {
        m_textureRequest.activeTexture = request.texture;
        m_textureRequest.textureSampler = request.sampler;
    }
    SetLoadNewTextureFlag(!there, !there);
    const long result = there ? S_OK : E_INVALIDARG;
    if (IsCurrentContextOpenGL4OrLater()) {
        return result;
    }
    if (request.sampler == 0) {
        return E_INVALIDARG;
    }
    m_textureRequest.activeSampler = request.sampler;
    return result;
}

void COpenGLView::SetLoadNewTextureFlag(bool a, bool b) {
    m_loadNewTexture[0] = a;
    m_loadNewTexture[1] = b;
}

void COpenGLView::GetLoadNewTextureFlag(bool& a, bool& b) const {
    a = m_loadNewTexture[0];
    b = m_loadNewTexture[1];
}

GLTextureObject* COpenGLView::GetTextureObjectAtPosition(POSITION position) const {
    return m_gRasterTextureManager.GetAt(position);
}

long COpenGLView::DeleteTextureFromCache(const wchar_t* name) {
    GLTextureObject* entry = nullptr;
    POSITION position = nullptr;
    if (!ViewAccess::HasCurrentContext(*this)) {
        return E_INVALIDARG;
    }
    DeleteWaitingTextures(*this);
    const long result = m_gRasterTextureManager.FindTextureByName(name, TextureGroup(*this), &entry, &position);
    if (result == S_OK) {
        DeleteCachedTexture(*this, entry, position);
    }
    return result;
}

long COpenGLView::LimitTextureCache(unsigned long long maximumBytes) {
    COpenGLViewTextureManager& cache = m_gRasterTextureManager;
    if (ViewAccess::HasCurrentContext(*this)) {
        DeleteWaitingTextures(*this);
        for (POSITION next = cache.GetHeadPosition(); next && cache.GetTextureCacheSize() > maximumBytes;) {
            const POSITION at = next;
            GLTextureObject* const entry = cache.GetNext(next);
            if (!entry || entry->shareGroup == TextureGroup(*this)) {
                DeleteCachedTexture(*this, entry, at);
            }
        }
    }
    return cache.GetTextureCacheSize() <= maximumBytes ? S_OK : E_FAIL;
}

void COpenGLView::DeleteDisplayTextureCache() {
    DeleteWaitingTextures(*this);
    COpenGLViewTextureManager& cache = m_gRasterTextureManager;
    for (POSITION next = cache.GetHeadPosition(); next;) {
        const POSITION at = next;
        DeleteCachedTexture(*this, cache.GetNext(next), at);
    }
    cache.DeleteTextureObjects();
}

void COpenGLView::AddSamplerNameToDeleteStack(unsigned int sampler) {
    if (sampler == 0) {
        return;
    }
    try {
        m_gcaSamplersForWindowToDelete.Add(sampler);
    } catch (...) {
        // Without memory for its name the sampler goes with its share group.
        return;
    }
}

void COpenGLView::DeleteSamplerNameStack() {
    DeleteWaitingTextures(*this);
    CArray<unsigned int>& samplers = m_gcaSamplersForWindowToDelete;
    if (samplers.IsEmpty() || TextureGroup(*this) || !ViewAccess::HasCurrentContext(*this) ||
        !CurrentGL().Has(&GLEntryPoints::glDeleteSamplers)) {
        return;
    }
    CallGL().glDeleteSamplers(static_cast<GLsizei>(samplers.GetSize()), samplers.GetData());
    samplers.RemoveAll();
}

void COpenGLView::DeleteTexturesAndSamplers() {
    DeleteCachedTexturesOfGroup(*this);
    DeleteSamplerNameStack();
}

void COpenGLView::DeleteTextureAndSamplerNames(unsigned int& texture, unsigned int& sampler) {
    if (!ViewAccess::HasCurrentContext(*this)) {
        return;
    }
    const GLCalls gl = CallGL();
    if (texture != 0) {
        gl.glDeleteTextures(1, &texture);
        texture = 0;
    }
    if (sampler != 0 && gl.Has(&GLEntryPoints::glDeleteSamplers)) {
        gl.glDeleteSamplers(1, &sampler);
        sampler = 0;
    }
}

void ForgetTextureGroup(const void* shareGroup) {
    COpenGLViewTextureManager& cache = COpenGLView::m_gRasterTextureManager;
    for (POSITION next = cache.GetHeadPosition(); next;) {
        const POSITION at = next;
        GLTextureObject* const entry = cache.GetNext(next);
        if (entry && entry->shareGroup == shareGroup) {
            TextureUser::ForgetEverywhere(*entry);
            cache.DeleteTexture(entry, at);
        }
    }
    std::erase_if(g_waitingTextures,
                  [shareGroup](const WaitingTexture& waiting) { return waiting.shareGroup == shareGroup; });
    if (!shareGroup) {
        COpenGLView::m_gcaSamplersForWindowToDelete.RemoveAll();
    }
}

} // namespace KTR
