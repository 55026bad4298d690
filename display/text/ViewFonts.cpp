#include "../view/OpenGLView.h"

#include "../pipeline/PixelStoreScope.h"
#include "../view/ViewAccess.h"

#include <GL/glext.h>

#include <cwchar>

namespace KTR {

unsigned long long COpenGLView::m_gFontTextures = 0;

long COpenGLView::SetUpNewFont(FontParameters& request) {
    DrawWaitingVertices();
    // A font that has to go puts its names where an earlier one's may still wait.
    DeleteTaggedFontNames();
    const long result = m_gFontManager.SetUpNewFont(request);
    if (result != S_OK) {
        return result;
    }
    m_text.currentFont = m_gFontManager.GetCurrentFontIndex();
    DeleteTaggedFontNames();
    return S_OK;
}

long COpenGLView::GetFontParameters(FontParameters& parameters) const {
    return m_gFontManager.GetFontParameters(parameters);
}

int COpenGLView::GetFontAverageWidthPixels() const {
    return m_gFontManager.GetFontAverageWidthPixels();
}

int COpenGLView::GetFontAverageHeightPixels() const {
    return m_gFontManager.GetFontAverageHeightPixels();
}

double COpenGLView::GetFontAverageWidthNotionalUnits() const {
    return m_gFontManager.GetFontAverageWidthNotionalUnits();
}

double COpenGLView::GetFontAverageHeightNotionalUnits() const {
    return m_gFontManager.GetFontAverageHeightNotionalUnits();
}

std::size_t COpenGLView::GetTextStringLength(const wchar_t* text) const {
    return text && m_gFontManager.GetCurrentFontAtlasMetrics() ? std::wcslen(text) : 0;
}

long COpenGLView::GetTextStringDimensions(const wchar_t* text, std::size_t& length, double& width,
                                          double& height) const {
    length = 0;
    width = 0.0;
    height = 0.0;
    return m_gFontManager.GetTextStringDimensions(text, length, &width, &height);
}

void COpenGLView::DrawSetupTextTransparency(unsigned char transparency) {
    CurrentRecord().attributes.textTransparency = transparency;
}

unsigned char COpenGLView::GetTextTransparancy() const {
    return CurrentRecord().attributes.textTransparency;
}

/// Sees to it that the current font can be drawn with: when it was not built, the default font becomes current. False
/// without that.
bool COpenGLView::SelectUsableFont() {
    if (m_gFontManager.GetCurrentFontAtlasMetrics()) {
        return true;
    }
    int defaultFont = 0;
    const CFTGLFontAtlas* atlas = m_gFontManager.GetFontAtlas(defaultFont);
    if (!atlas || !atlas->GetAtlasMetrics()) {
        return false;
    }
    m_gFontManager.SetCurrentFontIndex(defaultFont);
    m_text.currentFont = defaultFont;
    return true;
}

/// Makes the texture and the sampler of the current font, if it has none yet. The share group keeps them, so that each
/// view finds them there.
///
/// The sampler takes the nearest texel, which draws glyphs as sharp as they are; the texture's own filter, which holds
/// without a sampler, is for glyphs that are scaled or turned.
void COpenGLView::UploadFontTexture(FontAtlasGlyphMetrics& font) {
    int width = 0;
    int height = 0;
    unsigned char* coverage = nullptr;
    m_gFontManager.GetCurrentFontTexture(width, height, &coverage);
    if (font.textureName != 0 || !coverage) {
        return;
    }
    const GLCalls gl = CallGL();
    unsigned int texture = 0;
    unsigned int sampler = 0;
    gl.glActiveTexture(GL_TEXTURE0);
    gl.glGenTextures(1, &texture);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    {
        const PixelStoreScope rows(gl, PixelDirection::Unpack, {});
        gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, width, height, 0, GL_RED, GL_UNSIGNED_BYTE, coverage);
    }
    TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    if (gl.Has(&GLEntryPoints::glGenerateMipmap)) {
        // Glyphs down to a quarter of their size. In coarser levels neighbouring cells would run into each other.
        TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 2);
        TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
        gl.glGenerateMipmap(GL_TEXTURE_2D);
    }
    for (const unsigned int wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        // Beyond the texture there is no ink.
        TexParameter(GL_TEXTURE_2D, wrap, GL_CLAMP_TO_BORDER);
    }
    if (gl.Has(&GLEntryPoints::glGenSamplers) && gl.Has(&GLEntryPoints::glSamplerParameteri)) {
        gl.glGenSamplers(1, &sampler);
        for (const unsigned int filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            gl.glSamplerParameteri(sampler, filter, GL_NEAREST);
        }
        for (const unsigned int wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
            gl.glSamplerParameteri(sampler, wrap, GL_CLAMP_TO_EDGE);
        }
    }
    m_gFontManager.SetCurrentFontTextureAndSamplerId(texture, sampler);
    font.boundTexture = texture;
    ++m_gFontTextures;
}

/// Deletes the names of a font that had to go. They wait as long as no context of the share group is current.
void COpenGLView::DeleteTaggedFontNames() {
    unsigned int texture = 0;
    unsigned int sampler = 0;
    const bool current = DrawsWithPrograms() && ViewAccess::HasCurrentContext(*this);
    if (!current || !m_gFontManager.GetTagedForDeletionTextureAndSamplerNames(texture, sampler)) {
        return;
    }
    DeleteTextureAndSamplerNames(texture, sampler);
    m_gFontManager.ClearTaggedForDeletionTextureAndSamplerNames();
    ++m_gFontTextures;
}

/// The fonts stay loaded, but have to be uploaded again: their share group goes. Without a current context of the group
/// the names are only forgotten and go with it.
void COpenGLView::DeleteFontTextures(bool contextIsCurrent) {
    if (contextIsCurrent) {
        DeleteTaggedFontNames();
    }
    m_gFontManager.ClearTaggedForDeletionTextureAndSamplerNames();
    for (int slot = 0; slot < kFontSlots; ++slot) {
        const CFTGLFontAtlas* atlas = m_gFontManager.GetFontAtlas(slot);
        FontAtlasGlyphMetrics* font = atlas ? atlas->GetAtlasMetrics() : nullptr;
        if (!font) {
            continue;
        }
        if (contextIsCurrent) {
            DeleteTextureAndSamplerNames(font->textureName, font->samplerName);
        }
        font->boundTexture = 0;
        font->textureName = 0;
        font->samplerName = 0;
    }
    ++m_gFontTextures;
}

} // namespace KTR
