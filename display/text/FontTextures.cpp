#include "FontTextures.h"

#include "../pipeline/PixelStoreScope.h"
#include "../view/ViewAccess.h"

#include <GL/glext.h>

namespace KTR {

namespace {

unsigned long long g_fontTextureChanges = 0;

/// The texture's own filter is for glyphs that are scaled or rotated.
unsigned int MakeTexture(COpenGLView& view, const GLCalls& gl, const FontAtlasGlyphMetrics& font,
                         const unsigned char* coverage) {
    unsigned int texture = 0;
    gl.glActiveTexture(GL_TEXTURE0);
    gl.glGenTextures(1, &texture);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    {
        const PixelStoreScope pixels(gl, PixelDirection::Unpack, {});
        gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, font.textureWidth, font.textureHeight, 0, GL_RED, GL_UNSIGNED_BYTE,
                        coverage);
    }
    view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    if (gl.Has(&GLEntryPoints::glGenerateMipmap)) {
        // Glyphs down to a quarter of their size. In coarser levels neighbouring cells would run into each other.
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 2);
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
        gl.glGenerateMipmap(GL_TEXTURE_2D);
    }
    for (const unsigned int wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        // Beyond the texture there is no ink.
        view.TexParameter(GL_TEXTURE_2D, wrap, GL_CLAMP_TO_BORDER);
    }
    return texture;
}

/// The sampler takes the nearest texel, which draws glyphs as sharp as they are.
unsigned int MakeSampler(const GLCalls& gl) {
    unsigned int sampler = 0;
    if (gl.Has(&GLEntryPoints::glGenSamplers) && gl.Has(&GLEntryPoints::glSamplerParameteri)) {
        gl.glGenSamplers(1, &sampler);
        for (const unsigned int filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            gl.glSamplerParameteri(sampler, filter, GL_NEAREST);
        }
        for (const unsigned int wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
            gl.glSamplerParameteri(sampler, wrap, GL_CLAMP_TO_EDGE);
        }
    }
    return sampler;
}

} // namespace

long UploadFontTexture(COpenGLView& view, CFTGLFontAtlas& atlas) {
    if (atlas.GetAtlasMetrics()->textureName != 0) {
        return S_OK;
    }
    const bool released = !atlas.GetRawTexture();
    if (released) {
        if (const long result = atlas.BuildFontAtlas(true); result != S_OK) {
            return result;
        }
    }
    FontAtlasGlyphMetrics& font = *atlas.GetAtlasMetrics();
    const GLCalls gl = ViewAccess::CallGL(view);
    font.textureName = MakeTexture(view, gl, font, atlas.GetRawTexture());
    font.samplerName = MakeSampler(gl);
    if (released) {
        atlas.ReleaseRawTexture();
    }
    ++g_fontTextureChanges;
    return S_OK;
}

void DeleteTaggedFontNames(COpenGLView& view) {
    CFTGLFontManager& fonts = COpenGLView::m_gFontManager;
    unsigned int texture = 0;
    unsigned int sampler = 0;
    const bool current = view.DrawsWithPrograms() && ViewAccess::HasCurrentContext(view);
    if (!current || !fonts.GetTagedForDeletionTextureAndSamplerNames(texture, sampler)) {
        return;
    }
    view.DeleteTextureAndSamplerNames(texture, sampler);
    fonts.ClearTaggedForDeletionTextureAndSamplerNames();
    ++g_fontTextureChanges;
}

void DeleteFontTextures(COpenGLView& view, bool contextIsCurrent) {
    CFTGLFontManager& fonts = COpenGLView::m_gFontManager;
    if (contextIsCurrent) {
        DeleteTaggedFontNames(view);
    }
    fonts.ClearTaggedForDeletionTextureAndSamplerNames();
    for (int slot = 0; slot < kFontSlots; ++slot) {
        const CFTGLFontAtlas* atlas = fonts.GetFontAtlas(slot);
        FontAtlasGlyphMetrics* font = atlas ? atlas->GetAtlasMetrics() : nullptr;
        if (!font) {
            continue;
        }
        if (contextIsCurrent) {
            view.DeleteTextureAndSamplerNames(font->textureName, font->samplerName);
        }
        font->boundTexture = 0;
        font->textureName = 0;
        font->samplerName = 0;
    }
    ++g_fontTextureChanges;
}

unsigned long long FontTextureChanges() {
    return g_fontTextureChanges;
}

} // namespace KTR
