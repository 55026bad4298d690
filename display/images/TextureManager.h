#pragma once

#include "../Export.h"
#include "../Framework.h"
#include "../values/SoleOwner.h"
#include "RasterTypes.h"

#include <afxcoll.h>

#include <cstddef>
#include <initializer_list>

namespace KTR {

/// A cached texture, or the request for one: what it shows of which image, and the GL objects that hold it.
struct ORRIN_DISPLAY_API GLTextureObject {
    CString name;          ///< key of the cache, compared as a whole
    int imageWidth = 0;    ///< pixels of the source image
    int imageHeight = 0;   ///< pixels of the source image
    int textureWidth = 0;  ///< texels
    int textureHeight = 0; ///< texels
    int size = 0;          ///< bytes counted toward the cache; never above 2147483647
    int regionXMin = 0;    ///< first column of the image that the texture holds
    int regionXMax = 0;    ///< last column
    int regionYMin = 0;    ///< first row
    int regionYMax = 0;    ///< last row
    int components = 0;    ///< as the host gave it
    int bytesPerGroup = 0; ///< bytes of a texel
    bool partial = false;  ///< the texture is narrower and lower than the image
    unsigned int texture = 0;
    unsigned int sampler = 0;
    double scale = 0.0;               ///< as the host gave it
    const void* shareGroup = nullptr; ///< whose GL names these are; null for those of the contexts that share

    /// Takes over everything but the key and the GL names.
    void TakeValues(const GLTextureObject& other);
};

/// The product of sizes and counts, as an entry keeps it: 0 when one of them is not positive, and the field's largest
/// value when it is larger than that.
ORRIN_DISPLAY_API int TextureBytes(std::initializer_list<int> factors);

/// The process's cache of raster textures. One instance serves all views (COpenGLView::m_gRasterTextureManager); it
/// lives from the load of the library to its unload. It does the bookkeeping and makes no GL call: deleting the GL
/// names is the view's work.
///
/// The entries are a list. New ones go to its tail, and the head counts as the one that was used longest ago; no
/// look-up moves an entry, MakeTextureNewest does, and a view's request where the order is by use. There is no limit to
/// the size: the host evicts.
///
/// Results are HRESULTs: S_OK, E_INVALIDARG, E_OUTOFMEMORY. Outputs may be null where they are not wanted. One thread
/// at a time.
class ORRIN_DISPLAY_API COpenGLViewTextureManager {
public:
    COpenGLViewTextureManager();
    ~COpenGLViewTextureManager();
    COpenGLViewTextureManager(const COpenGLViewTextureManager&) = delete;
    COpenGLViewTextureManager& operator=(const COpenGLViewTextureManager&) = delete;

    /// Bytes of all cached textures.
    unsigned long long GetTextureCacheSize() const { return m_cacheSize; }
    /// Nodes of the list, those without an entry included.
    INT_PTR GetCount() const { return m_textures.GetCount(); }
    /// Walks the list from the head; GetNext gives the entry at `position`, or null where a node holds none, and moves
    /// on. The position becomes null behind the tail.
    POSITION GetHeadPosition() const { return m_textures.GetHeadPosition(); }
    GLTextureObject* GetNext(POSITION& position) const;
    /// The entry at a position of this list; null for a null position and where a node holds none.
    GLTextureObject* GetAt(POSITION position) const;

    /// Removes every entry.
    long DeleteTextureObjects();
    /// Adds a copy of `source` with the given GL names at the tail; its size becomes bytes per texel × height × width.
    /// `out` receives the entry, which the cache owns and finds by the name that it has now. E_INVALIDARG for negative
    /// sizes.
    long AddTexture(const GLTextureObject& source, unsigned int texture, unsigned int sampler, GLTextureObject** out);
    /// Removes the first entry of this name; E_INVALIDARG when there is none.
    long DeleteTexture(const wchar_t* name);
    /// Removes the first entry with this GL texture; E_INVALIDARG when there is none.
    long DeleteTexture(unsigned int texture);
    /// Removes the node at the head. E_INVALIDARG for an empty list, and when the node held no entry.
    long DeleteTextureLRU();
    /// Removes the entry at `position`. Without a position the entry goes, its node stays in the list and holds none,
    /// and the result is E_INVALIDARG. Without an entry a node that holds none goes; the result is E_INVALIDARG too. An
    /// entry that is not at `position`, or not of this cache, is left alone: E_INVALIDARG.
    long DeleteTexture(GLTextureObject* entry, POSITION position);
    /// First entry of this name; null and E_INVALIDARG when there is none.
    long FindTextureByName(const wchar_t* name, GLTextureObject** entry, POSITION* position) const;
    /// First entry of this name whose GL names are of that share group.
    long FindTextureByName(const wchar_t* name, const void* shareGroup, GLTextureObject** entry,
                           POSITION* position) const;
    /// First entry with this GL texture.
    long FindTextureByID(unsigned int texture, GLTextureObject** entry, POSITION* position) const;
    /// The entry nearest to the head.
    long FindTextureLRU(GLTextureObject** entry, POSITION* position) const;
    /// Moves an entry to the tail, so that it is evicted last. E_INVALIDARG when it is not in the list.
    long MakeTextureNewest(GLTextureObject* entry);

    /// What a view's request does with an entry that it finds. GLTextureCacheByAddition: nothing.
    void SetOrder(GLTextureCacheOrder order) { m_order = order; }
    GLTextureCacheOrder GetOrder() const { return m_order; }

private:
    struct Entry;
    struct Index;

    /// The entry nearest to the head that has this name and suits; null when there is none.
    template <typename Predicate> Entry* FirstNamed(const wchar_t* name, Predicate predicate) const;
    static long GiveIfFound(Entry* found, GLTextureObject** entry, POSITION* position);
    Entry* EntryAt(POSITION position) const;
    POSITION PositionOf(const GLTextureObject* entry) const;
    void AddToIndex(Entry* entry);
    void RemoveFromIndex(Entry* entry);
    void Free(Entry* entry);
    long Remove(POSITION position);

    CPtrList m_textures;
    /// The first entry of each hash of a name; entries of one hash are chained in the order of the list.
    SoleOwner<Index> m_index; ///< null before the first entry
    unsigned long long m_cacheSize = 0;
    GLTextureCacheOrder m_order = GLTextureCacheByAddition;
};

} // namespace KTR
