#include "VertexBatch.h"

#include <windows.h>

#include <cstring>
#include <iterator>
#include <numeric>
#include <utility>

namespace KTR {

struct VertexBatchStorage::Arrays {
    GLDrawGeometry vertices[kBatchArrayRecords];
    unsigned int indices[kBatchArrayRecords];
};

/// The system gives pages of zeros, each when it is first written. Where it has none left for another view, that view
/// adds to arrays that the process has in store for all such: better than none, which each add would have to ask about.
VertexBatchStorage::VertexBatchStorage() {
    static Arrays s_spare;
    void* const pages = VirtualAlloc(nullptr, sizeof(Arrays), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    m_arrays = static_cast<Arrays*>(pages);
    m_untouched = m_arrays != nullptr;
    Arrays& used = m_arrays ? *m_arrays : s_spare;
    batchVertices = used.vertices;
    batchIndices = used.indices;
}

VertexBatchStorage::~VertexBatchStorage() {
    if (m_arrays) {
        VirtualFree(m_arrays, 0, MEM_RELEASE);
    }
}

void VertexBatchStorage::Clear() {
    if (!std::exchange(m_untouched, false)) {
        std::memset(batchVertices, 0, sizeof(Arrays::vertices));
    }
    std::iota(batchIndices, batchIndices + kBatchArrayRecords, 0U);
}

} // namespace KTR
