#include "TextureRequest.h"

#include "../view/ViewAccess.h"

#include <mutex>

namespace KTR {

namespace {

/// Of the list of views. Taken last, and nothing is called under it.
std::mutex g_mutex;

/// Whether names of that share group can be meant by the view's.
bool MayUse(const COpenGLView& view, const void* shareGroup) {
    bool hasContext = false;
    for (const GLRenderingContextTypes type : {GLContextMain, GLContextLegacy}) {
        const GLRenderingContextRecord& record = view.GetContextRecord(type);
        if (record.renderingContext && TextureGroupOf(record) == shareGroup) {
            return true;
        }
        hasContext = hasContext || record.renderingContext;
    }
    return !hasContext;
}

} // namespace

TextureUser* TextureUser::s_first = nullptr;

TextureUser::TextureUser(COpenGLView& view) : m_view(view) {
    const std::lock_guard lock(g_mutex);
    m_next = s_first;
    if (m_next) {
        m_next->m_previous = this;
    }
    s_first = this;
}

TextureUser::~TextureUser() {
    const std::lock_guard lock(g_mutex);
    if (m_next) {
        m_next->m_previous = m_previous;
    }
    (m_previous ? m_previous->m_next : s_first) = m_next;
}

void TextureUser::ForgetEverywhere(const GLTextureObject& entry) {
    const auto forget = [](unsigned int& name, unsigned int gone) { name = name == gone ? 0 : name; };
    const std::lock_guard lock(g_mutex);
    for (const TextureUser* user = s_first; user; user = user->m_next) {
        if (!MayUse(user->m_view, entry.shareGroup)) {
            continue;
        }
        TextureRequest& names = ViewAccess::Textures(user->m_view);
        forget(names.activeTexture, entry.texture);
        forget(names.activeSampler, entry.sampler);
        forget(names.textureSampler, entry.sampler);
        forget(names.fusionTexture, entry.texture);
        forget(names.fusionSampler, entry.sampler);
        forget(names.shaderTexture, entry.texture);
        forget(names.shaderSampler, entry.sampler);
        GLTextureObject& requested = ViewAccess::RequestedTexture(user->m_view);
        forget(requested.texture, entry.texture);
        forget(requested.sampler, entry.sampler);
    }
}

const void* TextureGroupOf(const GLRenderingContextRecord& record) {
    return record.fixedFunctionOnly ? record.renderingContext : nullptr;
}

} // namespace KTR
