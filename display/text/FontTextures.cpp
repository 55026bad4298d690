#include "FontTextures.h"

#include "../diagnostics/DebugNames.h"
#include "../pipeline/PixelStoreScope.h"
#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "FontAtlas.h"
#include "FontLevels.h"
#include "SheetTextures.h"
#include "StringDrawing.h"

#include <GL/glext.h>

#include <algorithm>
#include <new>
#include <vector>

namespace KTR {

namespace {

unsigned long long g_fontTextureChanges = 0;

/// A font whose texture has more bytes is uploaded in parts: as a whole it would take more than some milliseconds.
constexpr long long kBytesAtOnce = 2'000'000;

/// Glyphs down to a quarter of their size. In coarser levels neighbouring cells would run into each other.
constexpr int kLevels = 3;

/// What is uploaded of a font's texture, by rows of its cells. Without an entry a texture is whole.
struct PartialTexture {
    unsigned int name = 0;
    std::vector<bool> rows;
    std::size_t missing = 0;
};
std::vector<PartialTexture> g_partialTextures;

PartialTexture* FindPartial(unsigned int texture) {
    const auto found = std::ranges::find(g_partialTextures, texture, &PartialTexture::name);
    return found == g_partialTextures.end() ? nullptr : &*found;
}

void ForgetPartial(unsigned int texture) {
    std::erase_if(g_partialTextures, [texture](const PartialTexture& partial) { return partial.name == texture; });
}

/// The texture's own filter is for glyphs that are scaled or rotated.
void SetFilters(COpenGLView& view, bool levels) {
    view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    if (levels) {
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, kLevels - 1);
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    }
}

void SetWrapping(COpenGLView& view) {
    for (const unsigned int wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        // Beyond the texture there is no ink.
        view.TexParameter(GL_TEXTURE_2D, wrap, GL_CLAMP_TO_BORDER);
    }
}

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
    const bool levels = gl.Has(&GLEntryPoints::glGenerateMipmap);
    SetFilters(view, levels);
    if (levels) {
        gl.glGenerateMipmap(GL_TEXTURE_2D);
    }
    SetWrapping(view);
    NameObject(gl, GL_TEXTURE, texture, "font");
    return texture;
}

/// A texture for parts to come. 0 when there is no memory to remember them.
unsigned int MakeEmptyTexture(COpenGLView& view, const GLCalls& gl, const FontAtlasGlyphMetrics& font) {
    PartialTexture partial;
    try {
        partial.rows.resize(static_cast<std::size_t>(font.rows));
        partial.missing = partial.rows.size();
        g_partialTextures.reserve(g_partialTextures.size() + 1);
    } catch (...) {
        DropCaught();
        return 0;
    }
    gl.glActiveTexture(GL_TEXTURE0);
    gl.glGenTextures(1, &partial.name);
    gl.glBindTexture(GL_TEXTURE_2D, partial.name);
    gl.glTexStorage2D(GL_TEXTURE_2D, kLevels, GL_R8, font.textureWidth, font.textureHeight);
    SetFilters(view, true);
    SetWrapping(view);
    NameObject(gl, GL_TEXTURE, partial.name, "font");
    ForgetPartial(partial.name);
    g_partialTextures.push_back(std::move(partial));
    return g_partialTextures.back().name;
}

void UploadLevelRows(const GLCalls& gl, int level, const LevelRows& rows) {
    gl.glTexSubImage2D(GL_TEXTURE_2D, level, 0, rows.first, rows.width, rows.count, GL_RED, GL_UNSIGNED_BYTE,
                       rows.pixels);
}

/// The rows of a level of `height` texels that a glyph between `top` and `bottom`, in texels of the whole texture, may
/// be filtered from: its own and the next one on either side.
LevelRows RowsAround(int width, int height, int top, int bottom, int textureHeight) {
    const auto place = [&](int row) { return static_cast<long long>(row) * height / textureHeight; };
    const int first = static_cast<int>(std::max(place(top) - 1, 0LL));
    const int end = static_cast<int>(std::min<long long>(place(bottom - 1) + 2, height));
    return {width, height, first, end - first, nullptr};
}

/// The rows that hold both.
LevelRows Joined(LevelRows rows, const LevelRows& others) {
    const int end = std::max(rows.first + rows.count, others.first + others.count);
    rows.first = std::min(rows.first, others.first);
    rows.count = end - rows.first;
    return rows;
}

/// Uploads a row of cells with its smaller levels. Those are mixed from all the font's bytes around it, so that texels
/// that belong to two parts are the same from both. Throws when there is no memory.
void UploadCellRow(const GLCalls& gl, const CFTGLFontAtlas& atlas, int row) {
    const FontAtlasGlyphMetrics& font = *atlas.GetAtlasMetrics();
    LevelRows parts[kLevels];
    int width = font.textureWidth;
    int height = font.textureHeight;
    for (LevelRows& part : parts) {
        part = RowsAround(width, height, row * font.cellHeight, (row + 1) * font.cellHeight, font.textureHeight);
        width = NextLevelSide(width);
        height = NextLevelSide(height);
    }
    const LevelRows whole = parts[0];
    // What the level after a level will be mixed from has to be here too.
    for (int number = kLevels - 1; number > 0; --number) {
        LevelRows& larger = parts[number - 1];
        larger = Joined(larger, RowsBehind(larger.width, larger.height, parts[number].first, parts[number].count));
    }
    std::vector<unsigned char> pixels(static_cast<std::size_t>(parts[0].width) *
                                      static_cast<std::size_t>(parts[0].count));
    if (atlas.CopyTextureRows(parts[0].first, parts[0].count, pixels.data()) != S_OK) {
        throw std::bad_alloc();
    }
    parts[0].pixels = pixels.data();
    LevelRows shown = whole;
    shown.pixels = pixels.data() + static_cast<std::ptrdiff_t>(whole.first - parts[0].first) * whole.width;
    UploadLevelRows(gl, 0, shown);
    for (int number = 1; number < kLevels; ++number) {
        std::vector<unsigned char> reduced = ReduceRows(parts[number - 1], parts[number].first, parts[number].count);
        pixels.swap(reduced);
        parts[number].pixels = pixels.data();
        UploadLevelRows(gl, number, parts[number]);
    }
}

/// The row of cells that a character's glyph lies in.
std::size_t RowOf(const FontAtlasGlyphMetrics& font, wchar_t character) {
    return static_cast<std::size_t>(font.characterMap[static_cast<unsigned short>(character)] / font.columns);
}

/// Whether a row of cells that `text` needs is missing; null is every row.
bool LacksRows(const PartialTexture& partial, const FontAtlasGlyphMetrics& font, const wchar_t* text) {
    if (!text) {
        return partial.missing != 0;
    }
    for (; *text != L'\0'; ++text) {
        if (!partial.rows[RowOf(font, *text)]) {
            return true;
        }
    }
    return false;
}

/// Uploads what is missing of the rows that `text` needs; null is every row.
long UploadMissing(COpenGLView& view, CFTGLFontAtlas& atlas, PartialTexture& partial, const wchar_t* text) {
    const FontAtlasGlyphMetrics& font = *atlas.GetAtlasMetrics();
    const GLCalls gl = ViewAccess::CallGL(view);
    try {
        std::vector<bool> wanted(partial.rows.size(), !text);
        for (; text && *text != L'\0'; ++text) {
            wanted[RowOf(font, *text)] = true;
        }
        gl.glActiveTexture(GL_TEXTURE0);
        gl.glBindTexture(GL_TEXTURE_2D, partial.name);
        const PixelStoreScope pixels(gl, PixelDirection::Unpack, {});
        for (int row = 0; row < font.rows; ++row) {
            const auto slot = static_cast<std::size_t>(row);
            if (wanted[slot] && !partial.rows[slot]) {
                UploadCellRow(gl, atlas, row);
                partial.rows[slot] = true;
                --partial.missing;
            }
        }
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY; // what is missing still counts as missing
    }
    if (partial.missing == 0) {
        ForgetPartial(partial.name);
    }
    return S_OK;
}

/// Texture and sampler for a font that has none. One that is small enough is whole at once.
long MakeNames(COpenGLView& view, CFTGLFontAtlas& atlas) {
    FontAtlasGlyphMetrics& font = *atlas.GetAtlasMetrics();
    const GLCalls gl = ViewAccess::CallGL(view);
    if (font.textureBytes > kBytesAtOnce && gl.Has(&GLEntryPoints::glTexStorage2D)) {
        font.textureName = MakeEmptyTexture(view, gl, font);
    }
    if (font.textureName == 0) {
        std::vector<unsigned char> coverage;
        if (!AtTheBorder([&] { coverage.resize(static_cast<std::size_t>(font.textureBytes)); }) ||
            atlas.CopyTextureRows(0, font.textureHeight, coverage.data()) != S_OK) {
            return E_OUTOFMEMORY;
        }
        font.textureName = MakeTexture(view, gl, font, coverage.data());
        ForgetPartial(font.textureName);
    }
    font.samplerName = MakeSharpSampler(gl);
    ++g_fontTextureChanges;
    return S_OK;
}

} // namespace

unsigned int MakeSharpSampler(const GLCalls& gl) {
    unsigned int sampler = 0;
    if (gl.Has(&GLEntryPoints::glGenSamplers) && gl.Has(&GLEntryPoints::glSamplerParameteri)) {
        gl.glGenSamplers(1, &sampler);
        for (const unsigned int filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            gl.glSamplerParameteri(sampler, filter, GL_NEAREST);
        }
        for (const unsigned int wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
            gl.glSamplerParameteri(sampler, wrap, GL_CLAMP_TO_EDGE);
        }
        NameObject(gl, GL_SAMPLER, sampler, "font");
    }
    return sampler;
}

long UploadFontTexture(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text) {
    if (atlas.GetAtlasMetrics()->textureName == 0) {
        if (const long result = MakeNames(view, atlas); result != S_OK) {
            return result;
        }
    }
    const FontAtlasGlyphMetrics& font = *atlas.GetAtlasMetrics();
    PartialTexture* const partial = FindPartial(font.textureName);
    return partial && LacksRows(*partial, font, text) ? UploadMissing(view, atlas, *partial, text) : S_OK;
}

void UploadRestOfBoundFont(COpenGLView& view) {
    if (IsSheetTexture(ViewAccess::CurrentObjects(view).fontAtlasTexture)) {
        BindCurrentFont(view); // the host's glyphs are the atlas's
    }
    const unsigned int bound = ViewAccess::CurrentObjects(view).fontAtlasTexture;
    PartialTexture* const partial = FindPartial(bound);
    if (!partial || !ViewAccess::HasCurrentContext(view)) {
        return;
    }
    for (int slot = 0; slot < kFontSlots; ++slot) {
        CFTGLFontAtlas* const atlas = COpenGLView::m_gFontManager.GetFontAtlas(slot);
        if (atlas && atlas->GetAtlasMetrics() && atlas->GetAtlasMetrics()->textureName == bound) {
            UploadMissing(view, *atlas, *partial, nullptr);
            return;
        }
    }
}

void DeleteTaggedFontNames(COpenGLView& view) {
    CFTGLFontManager& fonts = COpenGLView::m_gFontManager;
    unsigned int texture = 0;
    unsigned int sampler = 0;
    const bool current = view.DrawsWithPrograms() && ViewAccess::HasCurrentContext(view);
    if (!current || !fonts.GetTagedForDeletionTextureAndSamplerNames(texture, sampler)) {
        return;
    }
    ForgetPartial(texture); // the next texture of that name may be whole
    view.DeleteTextureAndSamplerNames(texture, sampler);
    fonts.ClearTaggedForDeletionTextureAndSamplerNames();
    ++g_fontTextureChanges;
}

void DeleteFontTextures(COpenGLView& view, bool contextIsCurrent) {
    CFTGLFontManager& fonts = COpenGLView::m_gFontManager;
    if (contextIsCurrent) {
        DeleteTaggedFontNames(view);
        DeleteSheetTextures(view);
    } else {
        ForgetSheetTextures(nullptr);
    }
    fonts.ClearTaggedForDeletionTextureAndSamplerNames();
    g_partialTextures.clear();
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

void NoteFontTextureChange() {
    ++g_fontTextureChanges;
}

} // namespace KTR
