#pragma once

#include "../values/DrawGeometry.h"
#include "../values/GLTypes.h"

namespace KTR {

/// Number of vertices at which a batch counts as full.
inline constexpr int kBatchCapacity = 32768;
/// Number of records that one flush can hold: single adds flush when the count exceeds kBatchCapacity.
inline constexpr int kBatchRecords = kBatchCapacity + 1;
/// Records of the batch arrays. The two spare ones let a whole triangle start at the last record of a batch.
inline constexpr int kBatchArrayRecords = kBatchRecords + 2;

/// Records after which the adds of a 4.x batch are written on into the ring, while they are still in the cache.
inline constexpr int kWriteAheadRecords = 512;

/// Parts of the vertex ring; the GPU draws from two while the CPU fills the third.
inline constexpr int kRingSegments = 3;
/// Bytes of the ring's vertex and index storage.
inline constexpr unsigned int kRingVertexBytes = kRingSegments * kBatchRecords * sizeof(GLDrawGeometry);
inline constexpr unsigned int kRingIndexBytes = kRingSegments * kBatchRecords * sizeof(unsigned int);

/// One set of OpenGL 4.x buffer objects: the view's mapped ring, or a caller's static geometry.
struct GLVBO {
    struct Segment {
        int firstVertex = 0;    ///< number of the segment's first record
        GLsync fence = nullptr; ///< signalled once the GPU has read the segment; null when nothing was drawn from it
    };

    unsigned int vertexBuffer = 0;
    unsigned int indexBuffer = 0;
    unsigned int vertexArray = 0;
    int currentSegment = 0;
    GLDrawGeometry* mappedVertices = nullptr;
    unsigned int* mappedIndices = nullptr;
    unsigned int vertexBytes = 0; ///< 0 until the storage has been created
    unsigned int indexBytes = 0;
    Segment segments[kRingSegments];
};

/// Gives each segment the number of its first record.
inline void NumberSegments(GLVBO& vbo) {
    for (int index = 0; index < kRingSegments; ++index) {
        vbo.segments[index].firstVertex = index * kBatchRecords;
    }
}

} // namespace KTR
