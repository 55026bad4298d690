#include "TextureManager.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <new>
#include <string_view>
#include <unordered_map>

namespace KTR {

/// What the list's nodes point to: an entry with its place in the list and in the index.
struct COpenGLViewTextureManager::Entry : GLTextureObject {
    POSITION position = nullptr;
    std::size_t nameHash = 0;
    Entry* next = nullptr; ///< the next of this hash
};

struct COpenGLViewTextureManager::Index : std::unordered_map<std::size_t, Entry*> {};

namespace {

std::size_t HashOf(const wchar_t* name) {
    return std::hash<std::wstring_view>()(name);
}

void Give(GLTextureObject* found, POSITION at, GLTextureObject** entry, POSITION* position) {
    if (entry) {
        *entry = found;
    }
    if (position) {
        *position = at;
    }
}

} // namespace

int TextureBytes(std::initializer_list<int> factors) {
    constexpr long long largest = std::numeric_limits<int>::max();
    if (std::any_of(factors.begin(), factors.end(), [](int factor) { return factor <= 0; })) {
        return 0;
    }
    long long bytes = 1;
    for (const int factor : factors) {
        bytes = std::min(bytes * factor, largest);
    }
    return static_cast<int>(bytes);
}

void GLTextureObject::TakeValues(const GLTextureObject& other) {
    imageWidth = other.imageWidth;
    imageHeight = other.imageHeight;
    textureWidth = other.textureWidth;
    textureHeight = other.textureHeight;
    size = other.size;
    regionXMin = other.regionXMin;
    regionXMax = other.regionXMax;
    regionYMin = other.regionYMin;
    regionYMax = other.regionYMax;
    components = other.components;
    bytesPerGroup = other.bytesPerGroup;
    partial = other.partial;
    scale = other.scale;
    shareGroup = other.shareGroup;
}

COpenGLViewTextureManager::COpenGLViewTextureManager() : m_textures(10) {}

COpenGLViewTextureManager::~COpenGLViewTextureManager() {
    DeleteTextureObjects();
}

GLTextureObject* COpenGLViewTextureManager::GetNext(POSITION& position) const {
    Entry* const entry = EntryAt(position);
    m_textures.GetNext(position);
    return entry;
}

GLTextureObject* COpenGLViewTextureManager::GetAt(POSITION position) const {
    return EntryAt(position);
}

long COpenGLViewTextureManager::DeleteTextureObjects() {
    m_index.reset();
    for (POSITION position = m_textures.GetHeadPosition(); position;) {
        Entry* const entry = EntryAt(position);
        m_textures.GetNext(position);
        delete entry;
    }
    m_textures.RemoveAll();
    m_cacheSize = 0;
    return S_OK;
}

long COpenGLViewTextureManager::AddTexture(const GLTextureObject& source, unsigned int texture, unsigned int sampler,
                                           GLTextureObject** out) {
    Give(nullptr, nullptr, out, nullptr);
    if (source.textureWidth < 0 || source.textureHeight < 0 || source.bytesPerGroup < 0) {
        return E_INVALIDARG;
    }
    Entry* entry = new (std::nothrow) Entry;
    if (!entry) {
        return E_OUTOFMEMORY;
    }
    try {
        entry->name = source.name;
        entry->TakeValues(source);
        entry->texture = texture;
        entry->sampler = sampler;
        entry->size = TextureBytes({source.bytesPerGroup, source.textureHeight, source.textureWidth});
        entry->nameHash = HashOf(entry->name);
        AddToIndex(entry);
        entry->position = m_textures.AddTail(entry);
    } catch (...) { // whatever the string's, the index's or the list's allocation throws: MFC has exceptions of its own
        RemoveFromIndex(entry);
        delete entry;
        return E_OUTOFMEMORY;
    }
    m_cacheSize += static_cast<unsigned long long>(entry->size);
    Give(entry, nullptr, out, nullptr);
    return S_OK;
}

long COpenGLViewTextureManager::DeleteTexture(const wchar_t* name) {
    POSITION position = nullptr;
    const long result = FindTextureByName(name, nullptr, &position);
    return result == S_OK ? Remove(position) : result;
}

long COpenGLViewTextureManager::DeleteTexture(unsigned int texture) {
    POSITION position = nullptr;
    const long result = FindTextureByID(texture, nullptr, &position);
    return result == S_OK ? Remove(position) : result;
}

long COpenGLViewTextureManager::DeleteTextureLRU() {
    return m_textures.IsEmpty() ? E_INVALIDARG : Remove(m_textures.GetHeadPosition());
}

long COpenGLViewTextureManager::DeleteTexture(GLTextureObject* entry, POSITION position) {
    if (position) {
        return EntryAt(position) == entry ? Remove(position) : E_INVALIDARG;
    }
    if (const POSITION own = entry ? PositionOf(entry) : nullptr) {
        Free(EntryAt(own));
        m_textures.SetAt(own, nullptr);
    }
    return E_INVALIDARG;
}

long COpenGLViewTextureManager::FindTextureByName(const wchar_t* name, GLTextureObject** entry,
                                                  POSITION* position) const {
    const auto any = [](const Entry&) { return true; };
    return GiveIfFound(FirstNamed(name, any), entry, position);
}

long COpenGLViewTextureManager::FindTextureByName(const wchar_t* name, const void* shareGroup, GLTextureObject** entry,
                                                  POSITION* position) const {
    const auto ofGroup = [shareGroup](const Entry& one) { return one.shareGroup == shareGroup; };
    return GiveIfFound(FirstNamed(name, ofGroup), entry, position);
}

long COpenGLViewTextureManager::FindTextureByID(unsigned int texture, GLTextureObject** entry,
                                                POSITION* position) const {
    Give(nullptr, nullptr, entry, position);
    for (POSITION next = m_textures.GetHeadPosition(); next;) {
        const POSITION at = next;
        GLTextureObject* const one = GetNext(next);
        if (one && one->texture == texture) {
            Give(one, at, entry, position);
            return S_OK;
        }
    }
    return E_INVALIDARG;
}

long COpenGLViewTextureManager::FindTextureLRU(GLTextureObject** entry, POSITION* position) const {
    Give(nullptr, nullptr, entry, position);
    for (POSITION next = m_textures.GetHeadPosition(); next;) {
        const POSITION at = next;
        if (GLTextureObject* const one = GetNext(next)) {
            Give(one, at, entry, position);
            return S_OK;
        }
    }
    return E_INVALIDARG;
}

long COpenGLViewTextureManager::MakeTextureNewest(GLTextureObject* entry) {
    const POSITION position = entry ? PositionOf(entry) : nullptr;
    if (!position) {
        return E_INVALIDARG;
    }
    Entry* const moved = EntryAt(position);
    try {
        const POSITION tail = m_textures.AddTail(moved);
        m_textures.RemoveAt(position);
        moved->position = tail;
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    // The last of a hash's chain too. The index has its place already, so that nothing is allocated.
    Entry** link = &(*m_index)[moved->nameHash];
    while (*link != moved) {
        link = &(*link)->next;
    }
    *link = moved->next;
    while (*link) {
        link = &(*link)->next;
    }
    *link = moved;
    moved->next = nullptr;
    return S_OK;
}

template <typename Predicate> COpenGLViewTextureManager::Entry*
COpenGLViewTextureManager::FirstNamed(const wchar_t* name, Predicate predicate) const {
    if (!m_index || !name) {
        return nullptr;
    }
    const auto found = m_index->find(HashOf(name));
    Entry* entry = found == m_index->end() ? nullptr : found->second;
    while (entry && !(entry->name == name && predicate(*entry))) {
        entry = entry->next;
    }
    return entry;
}

long COpenGLViewTextureManager::GiveIfFound(Entry* found, GLTextureObject** entry, POSITION* position) {
    Give(found, found ? found->position : nullptr, entry, position);
    return found ? S_OK : E_INVALIDARG;
}

COpenGLViewTextureManager::Entry* COpenGLViewTextureManager::EntryAt(POSITION position) const {
    // MFC's list gives constant pointers where the list is constant.
    return position ? static_cast<Entry*>(const_cast<void*>(m_textures.GetAt(position))) : nullptr;
}

/// Where the list has an entry, or null. The pointer is compared only: it may be anybody's.
POSITION COpenGLViewTextureManager::PositionOf(const GLTextureObject* entry) const {
    const auto isEntry = [entry](const Entry& one) { return &one == entry; };
    if (const Entry* const found = FirstNamed(entry->name, isEntry)) {
        return found->position;
    }
    // The host has changed the name since.
    for (POSITION next = m_textures.GetHeadPosition(); next;) {
        const POSITION at = next;
        if (GetNext(next) == entry) {
            return at;
        }
    }
    return nullptr;
}

void COpenGLViewTextureManager::AddToIndex(Entry* entry) {
    if (!m_index) {
        m_index.reset(new Index);
    }
    Entry** link = &(*m_index)[entry->nameHash];
    while (*link) {
        link = &(*link)->next;
    }
    *link = entry;
}

void COpenGLViewTextureManager::RemoveFromIndex(Entry* entry) {
    if (!m_index) {
        return;
    }
    const auto found = m_index->find(entry->nameHash);
    if (found == m_index->end()) {
        return;
    }
    Entry** link = &found->second;
    while (*link && *link != entry) {
        link = &(*link)->next;
    }
    if (*link) {
        *link = entry->next;
    }
    if (!found->second) {
        m_index->erase(found);
    }
}

/// Takes an entry out of the index and the sum; its node is the caller's.
void COpenGLViewTextureManager::Free(Entry* entry) {
    RemoveFromIndex(entry);
    m_cacheSize -= std::min(m_cacheSize, static_cast<unsigned long long>(std::max(entry->size, 0)));
    delete entry;
}

/// Removes a node with its entry; E_INVALIDARG when it held none.
long COpenGLViewTextureManager::Remove(POSITION position) {
    Entry* const entry = EntryAt(position);
    m_textures.RemoveAt(position);
    if (!entry) {
        return E_INVALIDARG;
    }
    Free(entry);
    return S_OK;
}

} // namespace KTR
