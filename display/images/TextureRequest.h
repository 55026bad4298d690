#pragma once

namespace KTR {

class COpenGLView;
struct GLRenderingContextRecord;
struct GLTextureObject;

/// The names that a view draws textured with. They belong to the cache or to the host.
struct TextureRequest {
    bool requested = false; ///< a texture was asked of the cache
    unsigned int activeTexture = 0;
    unsigned int activeSampler = 0;  ///< of fixed-function contexts
    unsigned int textureSampler = 0; ///< what programs read the active texture through
    unsigned int fusionTexture = 0;  ///< the second image over the same ground
    unsigned int fusionSampler = 0;
    unsigned int shaderTexture = 0;
    unsigned int shaderSampler = 0;
};

/// A member of each view, which enters it into a list: a texture that leaves the cache has to be forgotten by all of
/// them. A copy of a view has its own. Views come and go on any thread.
class TextureUser {
public:
    explicit TextureUser(COpenGLView& view);
    ~TextureUser();
    TextureUser(const TextureUser&) = delete;
    TextureUser& operator=(const TextureUser&) = delete;

    /// Makes each view forget the names of a cached texture, those excepted whose contexts cannot mean it by them.
    static void ForgetEverywhere(const GLTextureObject& entry);

private:
    static TextureUser* s_first;

    COpenGLView& m_view;
    TextureUser* m_previous = nullptr;
    TextureUser* m_next = nullptr;
};

/// Whose textures a context can use: null for the contexts that share with each other; a context that shares with none
/// stands for itself.
const void* TextureGroupOf(const GLRenderingContextRecord& record);

/// The GL objects of a share group are gone with its last context: what is left of them in the cache goes too, and the
/// views forget it.
void ForgetTextureGroup(const void* shareGroup);

} // namespace KTR
