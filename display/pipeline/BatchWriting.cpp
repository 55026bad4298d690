#include "BatchWriting.h"

#include "../view/ViewAccess.h"

#include <cstring>

namespace KTR {

int VerticesPerPrimitive(unsigned int mode) {
    switch (mode) {
    case GL_POINTS:
        return 1;
    case GL_LINES:
        return 2;
    case GL_TRIANGLES:
        return 3;
    default:
        return 0;
    }
}

VertexRing* RingOfBatch(COpenGLView& view) {
    const VertexBatchState& batch = ViewAccess::Batch(view);
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    const bool fromRing = view.DrawsWithPrograms() && batch.drawArraysOnly && batch.strayIndices == 0 &&
                          !ViewAccess::Filling(view) && objects.boundProgram != 0 && objects.ring.Claim() != nullptr;
    return fromRing ? &objects.ring : nullptr;
}

void WriteAhead(COpenGLView& view) {
    VertexBatchState& batch = ViewAccess::Batch(view);
    VertexRing* const ring = RingOfBatch(view);
    const int count = batch.batchVertexCount;
    if (!ring || !ring->HasRoomFor(count)) {
        return;
    }
    if (batch.writtenTurn != ring->Turn()) {
        if (batch.ringOnlyCount > 0) {
            return; // they are lost, and nothing of the batch will be drawn
        }
        batch.writtenTurn = ring->Turn();
        batch.writtenCount = 0;
    }
    if (const int written = batch.writtenCount; count > written) {
        std::memcpy(ring->Claim() + written, batch.batchVertexPointer + written,
                    static_cast<std::size_t>(count - written) * sizeof(GLDrawGeometry));
        batch.writtenCount = count;
    }
}

} // namespace KTR
