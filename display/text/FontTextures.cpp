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

/// Uploads some rows of cells with their smaller levels. Those are mixed from all the font's bytes, so that texels that
/// belong to two parts are the same from both.
void UploadCellRows(const GLCalls& gl, const FontAtlasGlyphMetrics& font, const unsigned char* coverage, int firstRow,
                    int endRow) {
    const int top = firstRow * font.cellHeight;
    const int bottom = endRow * font.cellHeight;
    LevelRows level{font.textureWidth, font.textureHeight, 0, font.textureHeight, coverage};
    LevelRows part = RowsAround(level.width, level.height, top, bottom, font.textureHeight);
    part.pixels = coverage + static_cast<std::ptrdiff_t>(part.first) * part.width;
    UploadLevelRows(gl, 0, part);
    std::vector<unsigned char> reduced;
    for (int number = 1; number < kLevels; ++number) {
        const int width = NextLevelSide(level.width);
        const int height = NextLevelSide(level.height);
        part = RowsAround(width, height, top, bottom, font.textureHeight);
        // What the level after this one will be mixed from has to be here too.
        LevelRows wanted = part;
        if (number + 1 < kLevels) {
            const LevelRows next =
                RowsAround(NextLevelSide(width), NextLevelSide(height), top, bottom, font.textureHeight);
            const LevelRows behind = RowsBehind(width, height, next.first, next.count);
            const int end = std::max(part.first + part.count, behind.first + behind.count);
            wanted.first = std::min(part.first, behind.first);
            wanted.count = end - wanted.first;
        }
        reduced = ReduceRows(level, wanted.first, wanted.count);
        wanted.pixels = reduced.data();
        level = wanted;
        UploadLevelRows(gl, number, wanted);
    }
}

/// Builds a font's bytes again, which were released. Its names stay as they are.
long BuildBytesAgain(COpenGLView& view, CFTGLFontAtlas& atlas) {
    const FontAtlasGlyphMetrics before = *atlas.GetAtlasMetrics();
    if (const long result = atlas.BuildFontAtlas(true); result != S_OK) {
        unsigned int texture = before.textureName;
        unsigned int sampler = before.samplerName;
        ForgetPartial(texture);
        view.DeleteTextureAndSamplerNames(texture, sampler);
        return result;
    }
    FontAtlasGlyphMetrics& font = *atlas.GetAtlasMetrics();
    font.boundTexture = before.boundTexture;
    font.textureName = before.textureName;
    font.samplerName = before.samplerName;
    return S_OK;
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
    const bool released = !atlas.GetRawTexture();
    if (released) {
        if (const long result = BuildBytesAgain(view, atlas); result != S_OK) {
            return result;
        }
        text = nullptr; // once more is enough
    }
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
                UploadCellRows(gl, font, atlas.GetRawTexture(), row, row + 1);
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
    if (released) {
        atlas.ReleaseRawTexture();
    }
    return S_OK;
}

/// Texture and sampler for a font that has none. One that is small enough is whole at once.
long MakeNames(COpenGLView& view, CFTGLFontAtlas& atlas) {
    const bool released = !atlas.GetRawTexture();
    if (released) {
        if (const long result = atlas.BuildFontAtlas(true); result != S_OK) {
            return result;
        }
    }
    FontAtlasGlyphMetrics& font = *atlas.GetAtlasMetrics();
    const GLCalls gl = ViewAccess::CallGL(view);
    if (!released && font.textureBytes > kBytesAtOnce && gl.Has(&GLEntryPoints::glTexStorage2D)) {
        font.textureName = MakeEmptyTexture(view, gl, font);
    }
    if (font.textureName == 0) {
        font.textureName = MakeTexture(view, gl, font, atlas.GetRawTexture());
        ForgetPartial(font.textureName);
    }
    font.samplerName = MakeSharpSampler(gl);
    if (released) {
        atlas.ReleaseRawTexture();
    }
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
