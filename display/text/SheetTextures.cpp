#include "SheetTextures.h"

#include "../images/TextureRequest.h"
#include "../pipeline/PixelStoreScope.h"
#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "FontTextures.h"
#include "GlyphSheet.h"

#include <GL/glext.h>

#include <algorithm>
#include <vector>

namespace KTR {

namespace {

struct Entry {
    const GlyphSheet* sheet = nullptr; ///< null when it is gone
    const void* shareGroup = nullptr;
    bool programs = false; ///< fixed functions want another format
    SheetTexture names;
    unsigned int generation = 0; ///< of the sheet, when the texture was made
    std::size_t uploaded = 0;    ///< pictures
};

/// Never freed: the fonts of the process end with it, in an order of their own, and their sheets come here then.
std::vector<Entry>& Entries() {
    static auto* const entries = new std::vector<Entry>;
    return *entries;
}

bool IsOf(const Entry& entry, const void* shareGroup, bool programs) {
    return entry.shareGroup == shareGroup && entry.programs == programs;
}

void DeleteNames(COpenGLView& view, Entry& entry) {
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    if (objects.fontAtlasTexture == entry.names.texture) {
        objects.fontAtlasTexture = 0;
        objects.fontAtlasSampler = 0;
    }
    view.DeleteTextureAndSamplerNames(entry.names.texture, entry.names.sampler);
    NoteFontTextureChange();
}

void DeleteUnused(COpenGLView& view, const void* shareGroup) {
    std::erase_if(Entries(), [&](Entry& entry) {
        if (entry.sheet || entry.shareGroup != shareGroup) {
            return false;
        }
        DeleteNames(view, entry);
        return true;
    });
}

GLenum FormatFor(bool programs) {
    return programs ? GL_RED : GL_ALPHA;
}

/// A texture of the sheet as it is.
void MakeTexture(COpenGLView& view, Entry& entry) {
    const GlyphSheet& sheet = *entry.sheet;
    const GLCalls gl = ViewAccess::CallGL(view);
    if (gl.Has(&GLEntryPoints::glActiveTexture)) {
        gl.glActiveTexture(GL_TEXTURE0);
    }
    gl.glGenTextures(1, &entry.names.texture);
    gl.glBindTexture(GL_TEXTURE_2D, entry.names.texture);
    {
        const PixelStoreScope pixels(gl, PixelDirection::Unpack, {});
        gl.glTexImage2D(GL_TEXTURE_2D, 0, entry.programs ? GL_R8 : GL_ALPHA8, sheet.Width(), sheet.Height(), 0,
                        FormatFor(entry.programs), GL_UNSIGNED_BYTE, sheet.Pixels());
    }
    for (const unsigned int filter : {GL_TEXTURE_MAG_FILTER, GL_TEXTURE_MIN_FILTER}) {
        view.TexParameter(GL_TEXTURE_2D, filter, GL_LINEAR);
    }
    if (entry.programs) {
        entry.names.sampler = MakeSharpSampler(gl);
    }
    entry.generation = sheet.Generation();
    entry.uploaded = sheet.Drawn().size();
    NoteFontTextureChange();
}

/// Uploads the rows that have new pictures in them.
void UploadNew(COpenGLView& view, Entry& entry) {
    const GlyphSheet& sheet = *entry.sheet;
    const std::vector<SheetGlyph>& drawn = sheet.Drawn();
    int top = sheet.Height();
    int bottom = 0;
    for (std::size_t index = entry.uploaded; index < drawn.size(); ++index) {
        top = std::min(top, drawn[index].y);
        bottom = std::max(bottom, drawn[index].y + drawn[index].height);
    }
    const GLCalls gl = ViewAccess::CallGL(view);
    if (gl.Has(&GLEntryPoints::glActiveTexture)) {
        gl.glActiveTexture(GL_TEXTURE0);
    }
    gl.glBindTexture(GL_TEXTURE_2D, entry.names.texture);
    const PixelStoreScope pixels(gl, PixelDirection::Unpack, {});
    gl.glTexSubImage2D(GL_TEXTURE_2D, 0, 0, top, sheet.Width(), bottom - top, FormatFor(entry.programs),
                       GL_UNSIGNED_BYTE, sheet.Pixels() + static_cast<std::ptrdiff_t>(top) * sheet.Width());
    entry.uploaded = drawn.size();
}

} // namespace

SheetTexture UploadSheet(COpenGLView& view, const GlyphSheet& sheet) {
    const void* const shareGroup = TextureGroupOf(ViewAccess::CurrentRecord(view));
    const bool programs = view.DrawsWithPrograms();
    const auto found = std::ranges::find_if(
        Entries(), [&](const Entry& entry) { return entry.sheet == &sheet && IsOf(entry, shareGroup, programs); });
    if (found != Entries().end() && found->generation == sheet.Generation()) {
        if (found->uploaded != sheet.Drawn().size()) {
            UploadNew(view, *found);
        }
        return found->names;
    }
    if (!ViewAccess::HasCurrentContext(view)) {
        return {};
    }
    ViewAccess::CallGL(view); // strings that wait read the texture that goes
    if (found != Entries().end()) {
        DeleteNames(view, *found);
        MakeTexture(view, *found);
        return found->names;
    }
    DeleteUnused(view, shareGroup);
    try {
        Entries().push_back({&sheet, shareGroup, programs, {}, 0, 0});
    } catch (...) {
        DropCaught();
        return {};
    }
    MakeTexture(view, Entries().back());
    return Entries().back().names;
}

bool IsSheetTexture(unsigned int texture) {
    return texture != 0 && std::ranges::any_of(Entries(), [texture](const Entry& entry) {
               return entry.names.texture == texture && entry.programs;
           });
}

void ForgetSheet(const GlyphSheet& sheet) {
    for (Entry& entry : Entries()) {
        if (entry.sheet == &sheet) {
            entry.sheet = nullptr;
        }
    }
}

void DeleteSheetTextures(COpenGLView& view) {
    const void* const shareGroup = TextureGroupOf(ViewAccess::CurrentRecord(view));
    std::erase_if(Entries(), [&](Entry& entry) {
        if (entry.shareGroup != shareGroup) {
            return false;
        }
        DeleteNames(view, entry);
        return true;
    });
}

void ForgetSheetTextures(const void* shareGroup) {
    if (std::erase_if(Entries(), [shareGroup](const Entry& entry) { return entry.shareGroup == shareGroup; }) > 0) {
        NoteFontTextureChange();
    }
}

} // namespace KTR
