#pragma once

#include "VertexBuffers.h"

namespace KTR {

/// The counters and pointers of a view's open batch.
struct VertexBatchState {
    unsigned int batchPrimitiveMode = 0; ///< GL_POINTS, GL_LINES, ...
    GLVBO ring;                          ///< the view's own buffers on an OpenGL 4.x context
    int batchVertexCount = 0;            ///< records (and indices) pending
    unsigned int* batchDrawIndices = nullptr;
    GLDrawGeometry* batchVertexPointer = nullptr; ///< where the adds write vertices
    unsigned int* batchIndexPointer = nullptr;    ///< where the adds write indices
    bool drawArraysOnly = true;                   ///< OpenGL 4.x: draw without indices
};

/// The arrays that a view's adds write to; they are part of the view, so that no add allocates.
struct VertexBatchStorage {
    GLDrawGeometry batchVertices[kBatchArrayRecords];
    unsigned int batchIndices[kBatchArrayRecords];
};

} // namespace KTR
