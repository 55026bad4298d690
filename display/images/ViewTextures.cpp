#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"

#include "../values/GLTypes.h"

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
        request.shareGroup = TextureGroup();
    }
    POSITION position = nullptr;
    if (m_gRasterTextureManager.FindTextureByName(name, TextureGroup(), out, &position) == S_OK) {
        if (recordRequest && Holds(**out, m_requestedTexture)) {
            return TakeFromCache(**out, makeActive);
        }
        if (!deleteOnMismatch) {
            return false;
        }
        DeleteCachedTexture(*out, position);
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
    const long result = m_gRasterTextureManager.FindTextureByName(name, TextureGroup(), &entry, &position);
    if (result == S_OK) {
        DeleteCachedTexture(entry, position);
    }
    return result;
}

long COpenGLView::LimitTextureCache(unsigned long long maximumBytes) {
    COpenGLViewTextureManager& cache = m_gRasterTextureManager;
    if (IsMyContextCurrent(m_currentContext)) {
        for (POSITION next = cache.GetHeadPosition(); next && cache.GetTextureCacheSize() > maximumBytes;) {
            const POSITION at = next;
            GLTextureObject* const entry = cache.GetNext(next);
            if (!entry || entry->shareGroup == TextureGroup()) {
                DeleteCachedTexture(entry, at);
            }
        }
    }
    return cache.GetTextureCacheSize() <= maximumBytes ? S_OK : E_FAIL;
}

void COpenGLView::DeleteDisplayTextureCache() {
    DeleteCachedTexturesOfGroup();
    m_gRasterTextureManager.DeleteTextureObjects();
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
    CArray<unsigned int>& samplers = m_gcaSamplersForWindowToDelete;
    const GLCalls gl = CallGL();
    if (samplers.IsEmpty() || !IsMyContextCurrent(m_currentContext) || TextureGroup() ||
        !gl.Has(&GLEntryPoints::glDeleteSamplers)) {
        return;
    }
    gl.glDeleteSamplers(static_cast<GLsizei>(samplers.GetSize()), samplers.GetData());
    samplers.RemoveAll();
}

void COpenGLView::DeleteTexturesAndSamplers() {
    DeleteCachedTexturesOfGroup();
    DeleteSamplerNameStack();
}

void COpenGLView::DeleteTextureAndSamplerNames(unsigned int& texture, unsigned int& sampler) {
    if (!IsMyContextCurrent(m_currentContext)) {
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

/// Whose textures the current context can use: null for the contexts that share with each other; a context that shares
/// with none stands for itself.
const void* COpenGLView::TextureGroup() const {
    const GLRenderingContextRecord& record = CurrentRecord();
    return record.fixedFunctionOnly ? record.renderingContext : nullptr;
}

/// A hit: the entry becomes the requested texture.
bool COpenGLView::TakeFromCache(const GLTextureObject& entry, bool makeActive) {
    m_requestedTexture.TakeValues(entry);
    m_requestedTexture.texture = entry.texture;
    m_requestedTexture.sampler = entry.sampler;
    SetLoadNewTextureFlag(false, false);
    if (!makeActive) {
        return true;
    }
    if (entry.texture != 0) {
        m_textureRequest.activeTexture = entry.texture;
        m_textureRequest.textureSampler = entry.sampler;
    } else {
        SetLoadNewTextureFlag(true, true);
    }
    if (entry.sampler != 0 && !IsCurrentContextOpenGL4OrLater()) {
        m_textureRequest.activeSampler = entry.sampler;
    }
    return true;
}

/// Removes an entry of the current context's share group with its GL objects; a null entry stands for a node that holds
/// none. What this view would still draw with is forgotten.
void COpenGLView::DeleteCachedTexture(GLTextureObject* entry, POSITION position) {
    if (entry) {
        const auto forget = [](unsigned int& name, unsigned int gone) { name = name == gone ? 0 : name; };
        forget(m_textureRequest.activeTexture, entry->texture);
        forget(m_textureRequest.activeSampler, entry->sampler);
        forget(m_textureRequest.textureSampler, entry->sampler);
        forget(m_textureRequest.shaderTexture, entry->texture);
        forget(m_textureRequest.shaderSampler, entry->sampler);
        forget(m_requestedTexture.texture, entry->texture);
        forget(m_requestedTexture.sampler, entry->sampler);
        DeleteTextureAndSamplerNames(entry->texture, entry->sampler);
        if (!TextureGroup()) {
            AddSamplerNameToDeleteStack(entry->sampler);
        }
    }
    m_gRasterTextureManager.DeleteTexture(entry, position);
}

void COpenGLView::DeleteCachedTexturesOfGroup() {
    COpenGLViewTextureManager& cache = m_gRasterTextureManager;
    for (POSITION next = cache.GetHeadPosition(); next;) {
        const POSITION at = next;
        GLTextureObject* const entry = cache.GetNext(next);
        if (entry && entry->shareGroup == TextureGroup()) {
            DeleteCachedTexture(entry, at);
        }
    }
}

/// The GL objects of a share group are gone with its last context: what is left of them in the books goes too.
void COpenGLView::ForgetTextureGroup(const void* shareGroup) {
    COpenGLViewTextureManager& cache = m_gRasterTextureManager;
    for (POSITION next = cache.GetHeadPosition(); next;) {
        const POSITION at = next;
        GLTextureObject* const entry = cache.GetNext(next);
        if (entry && entry->shareGroup == shareGroup) {
            cache.DeleteTexture(entry, at);
        }
    }
    if (!shareGroup) {
        m_gcaSamplersForWindowToDelete.RemoveAll();
    }
}

} // namespace KTR
