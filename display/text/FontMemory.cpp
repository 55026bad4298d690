#include "FontMemory.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_MODULE_H

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

namespace KTR {

namespace {

constexpr std::size_t kReserveBytes = 32 * 1024;
constexpr std::size_t kAlignment = alignof(std::max_align_t);

/// Requests of one glyph, of which most have less than a hundred.
constexpr int kMostRequests = 50'000;

} // namespace

struct FontMemory {
    FT_MemoryRec_ functions{};
    std::size_t used = 0;
    bool exhausted = false;
    int requestsLeft = std::numeric_limits<int>::max(); ///< of the glyph that is being loaded
    alignas(kAlignment) std::byte reserve[kReserveBytes];

    /// Before each request.
    bool MayAsk() { return requestsLeft > 0 && --requestsLeft > 0; }
    void* TakeFromReserve(std::size_t size) {
        exhausted = true;
        const std::size_t wanted = (size + kAlignment - 1) / kAlignment * kAlignment;
        if (wanted < size || wanted > kReserveBytes - used) {
            return nullptr;
        }
        void* const taken = reserve + used;
        used += wanted;
        return taken;
    }
    bool IsOfReserve(const void* block) const {
        const std::less<const void*> before;
        return !before(block, reserve) && before(block, reserve + kReserveBytes);
    }
};

namespace {

FontMemory& MemoryOf(FT_Memory functions) {
    return *static_cast<FontMemory*>(functions->user);
}

void* Allocate(FT_Memory functions, long size) {
    FontMemory& memory = MemoryOf(functions);
    void* const block = memory.MayAsk() ? std::malloc(static_cast<std::size_t>(size)) : nullptr;
    return block ? block : memory.TakeFromReserve(static_cast<std::size_t>(size));
}

void Free(FT_Memory functions, void* block) {
    if (!MemoryOf(functions).IsOfReserve(block)) {
        std::free(block);
    }
}

void* Reallocate(FT_Memory functions, long currentSize, long newSize, void* block) {
    FontMemory& memory = MemoryOf(functions);
    if (!memory.IsOfReserve(block) && memory.MayAsk()) {
        if (void* const moved = std::realloc(block, static_cast<std::size_t>(newSize))) {
            return moved;
        }
    }
    void* const moved = memory.TakeFromReserve(static_cast<std::size_t>(newSize));
    if (moved) {
        std::memcpy(moved, block, static_cast<std::size_t>(std::min(currentSize, newSize)));
        Free(functions, block);
    }
    return moved;
}

} // namespace

FT_LibraryRec_* MakeFontLibrary(FontMemory*& memory) {
    FT_Library library = nullptr;
    memory = new (std::nothrow) FontMemory;
    if (!memory) {
        return nullptr;
    }
    memory->functions = {memory, Allocate, Free, Reallocate};
    if (FT_New_Library(&memory->functions, &library) != 0) {
        library = nullptr;
    } else {
        FT_Add_Default_Modules(library);
        FT_Set_Default_Properties(library);
    }
    if (!library || memory->exhausted) {
        DeleteFontLibrary(library, memory);
    }
    return library;
}

void DeleteFontLibrary(FT_LibraryRec_*& library, FontMemory*& memory) {
    if (library) {
        FT_Done_Library(library);
        library = nullptr;
    }
    delete memory;
    memory = nullptr;
}

bool IsExhausted(const FontMemory& memory) {
    return memory.exhausted;
}

int LoadGlyph(FT_FaceRec_* face, unsigned int glyph, int flags) {
    int& left = MemoryOf(face->memory).requestsLeft;
    left = kMostRequests;
    FT_Error error = FT_Load_Glyph(face, glyph, flags);
    if (error != 0 && left <= 0) {
        error = FT_Err_Execution_Too_Long;
    }
    left = std::numeric_limits<int>::max(); // what opens fonts and sets their sizes asks as often as it likes
    return error;
}

} // namespace KTR
