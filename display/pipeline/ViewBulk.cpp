#include "../view/ViewAccess.h"
#include "BatchWriting.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace KTR {

namespace {

/// What records are made of.
struct BulkVertices {
    const PointXYZ* points;
    const GLRGBAColor* colors;
    std::size_t colorStep; ///< 0 where one colour is for all
    const PointXYZ* normals;
    const GLTexCoords* texture;
    PointXYZ origin;
};

/// Writes whole records, one behind the other: they may lie in mapped memory.
template <bool hasNormals, bool hasTexture>
void StoreRecords(GLDrawGeometry* record, const BulkVertices& vertices, std::size_t first, std::size_t count) {
    const PointXYZ* point = vertices.points + first;
    const GLRGBAColor* color = vertices.colors + first * vertices.colorStep;
    const PointXYZ* normal = hasNormals ? vertices.normals + first : nullptr;
    const GLTexCoords* texture = hasTexture ? vertices.texture + first : nullptr;
    const std::size_t colorStep = vertices.colorStep;
    const PointXYZ origin = vertices.origin;
    for (const PointXYZ* const end = point + count; point != end; ++point, ++record, color += colorStep) {
        record->x = static_cast<float>(point->x - origin.x);
        record->y = static_cast<float>(point->y - origin.y);
        record->z = static_cast<float>(point->z - origin.z);
        if constexpr (hasNormals) {
            record->nx = static_cast<float>(normal->x);
            record->ny = static_cast<float>(normal->y);
            record->nz = static_cast<float>(normal->z);
            ++normal;
        } else {
            record->nx = record->ny = record->nz = 0.0F;
        }
        if constexpr (hasTexture) {
            record->s = static_cast<float>(texture->s);
            record->t = static_cast<float>(texture->t);
            ++texture;
        } else {
            record->s = record->t = 0.0F;
        }
        std::memcpy(&record->r, color, sizeof(*color));
    }
}

void StoreRecords(GLDrawGeometry* records, const BulkVertices& vertices, std::size_t first, std::size_t count) {
    if (vertices.normals) {
        vertices.texture ? StoreRecords<true, true>(records, vertices, first, count)
                         : StoreRecords<true, false>(records, vertices, first, count);
    } else {
        vertices.texture ? StoreRecords<false, true>(records, vertices, first, count)
                         : StoreRecords<false, false>(records, vertices, first, count);
    }
}

/// Where the next records of the open batch go.
struct Place {
    GLDrawGeometry* records = nullptr;
    int room = 0;               ///< records that fit there
    VertexRing* ring = nullptr; ///< that they lie in; null for the view's arrays
};

/// False when the driver had no storage for the ring that the batch would be drawn from.
bool HasStorage(COpenGLView& view) {
    const ContextObjects& objects = ViewAccess::CurrentObjects(view);
    return !view.DrawsWithPrograms() || objects.boundProgram == 0 || objects.ring.Claim();
}

/// Draws the batch, which goes on, or hands it to the geometry that is being filled.
void TakeFullBatch(COpenGLView& view) {
    if (ViewAccess::Filling(view)) {
        ViewAccess::KeepPending(view);
    } else {
        view.FlushArrays();
    }
}

/// The place behind a batch of separate primitives. Where less than `wanted` records fit there, whole primitives are
/// drawn first, and what there is of another moves to the front.
Place PlaceBehindPrimitives(COpenGLView& view, int unit, int wanted) {
    VertexBatchState& batch = ViewAccess::Batch(view);
    VertexRing* ring = ViewAccess::HasCurrentContext(view) ? RingOfBatch(view) : nullptr;
    const auto mostOf = [unit](int records) { return records - records % unit; };
    int most = mostOf(ring ? ring->Room() : kBatchRecords);
    if (batch.batchVertexCount + wanted > most) {
        batch.waitingCount = 0;
        if (ViewAccess::Filling(view)) {
            ViewAccess::KeepPending(view);
        } else if (const int whole = mostOf(batch.batchVertexCount); whole > 0) {
            ViewAccess::DrawFirst(view, whole);
        }
        if (ring && !ring->IsAtStart()) {
            const GLCalls gl = ViewAccess::CurrentGL(view);
            ring->Fence(gl);
            ViewAccess::GpuWaits(view) += ring->Advance(gl);
        }
        most = mostOf(kBatchRecords);
    }
    const int count = batch.batchVertexCount;
    if (ring) {
        WriteAhead(view);
        if (batch.writtenTurn != ring->Turn() || batch.writtenCount != count) {
            ring = nullptr;
        }
    }
    return {(ring ? ring->Claim() : batch.batchVertexPointer) + count, most - count, ring};
}

/// The place behind a strip, a loop or a fan, which are cut only where they are full.
Place PlaceBehindChain(COpenGLView& view) {
    VertexBatchState& batch = ViewAccess::Batch(view);
    if (batch.batchVertexCount > kBatchCapacity) {
        TakeFullBatch(view);
    }
    return {batch.batchVertexPointer + batch.batchVertexCount, kBatchRecords - batch.batchVertexCount};
}

/// Counts records that were written to the place. Primitives that fill it are drawn: an add behind them would have to
/// cut one.
void TakeRecords(COpenGLView& view, const Place& place, int unit, int count) {
    VertexBatchState& batch = ViewAccess::Batch(view);
    batch.batchVertexCount += count;
    batch.addLimit = std::min(batch.batchVertexCount + kWriteAheadRecords, kBatchCapacity);
    if (place.ring) {
        batch.writtenCount = batch.batchVertexCount;
        batch.ringOnlyCount = batch.batchVertexCount;
    }
    if (unit != 0 && count == place.room) {
        TakeFullBatch(view);
    }
}

long AddInBulk(COpenGLView& view, const BulkVertices& vertices, std::size_t count) {
    if (count == 0) {
        return S_OK;
    }
    if (!vertices.points) {
        return E_INVALIDARG;
    }
    VertexBatchState& batch = ViewAccess::Batch(view);
    if (batch.stateDisableWaits) {
        ViewAccess::CallGL(view);
    }
    if (!HasStorage(view)) {
        return E_OUTOFMEMORY;
    }
    for (std::size_t first = 0; first < count;) {
        const int unit = VerticesPerPrimitive(batch.batchPrimitiveMode);
        const Place place = unit == 0 ? PlaceBehindChain(view) : PlaceBehindPrimitives(view, unit, 1);
        const std::size_t piece = std::min(count - first, static_cast<std::size_t>(place.room));
        StoreRecords(place.records, vertices, first, piece);
        TakeRecords(view, place, unit, static_cast<int>(piece));
        first += piece;
    }
    return S_OK;
}

} // namespace

long COpenGLView::AddVerticesRGBA(const PointXYZ* points, const GLRGBAColor* colors, const PointXYZ* normals,
                                  const GLTexCoords* texture, std::size_t count, double ox, double oy, double oz) {
    if (!colors) {
        return AddVerticesOneColor(points, {255, 255, 255, 255}, normals, texture, count, ox, oy, oz);
    }
    return AddInBulk(*this, {points, colors, 1, normals, texture, {ox, oy, oz}}, count);
}

long COpenGLView::AddVerticesOneColor(const PointXYZ* points, const GLRGBAColor& color, const PointXYZ* normals,
                                      const GLTexCoords* texture, std::size_t count, double ox, double oy, double oz) {
    return AddInBulk(*this, {points, &color, 0, normals, texture, {ox, oy, oz}}, count);
}

long COpenGLView::AddVerticesCurrentColor(const PointXYZ* points, unsigned char alpha, const PointXYZ* normals,
                                          const GLTexCoords* texture, std::size_t count, double ox, double oy,
                                          double oz) {
    const GLRGBAColor color{m_currentColor->r, m_currentColor->g, m_currentColor->b, alpha};
    return AddVerticesOneColor(points, color, normals, texture, count, ox, oy, oz);
}

GLDrawGeometry* COpenGLView::ReserveRecords(int count) {
    m_batch.reservedCount = 0;
    if (m_batch.stateDisableWaits) {
        DrawWaitingVertices();
    }
    if (count <= 0 || count > kBatchCapacity || !HasStorage(*this)) {
        return nullptr;
    }
    const int unit = VerticesPerPrimitive(m_batch.batchPrimitiveMode);
    Place place;
    if (unit == 0) {
        place = PlaceBehindChain(*this);
    } else if (m_batch.batchVertexCount % unit == 0) {
        place = PlaceBehindPrimitives(*this, unit, count);
    } else {
        // What there is of a primitive may stand in the ring alone, where it can neither be read nor be left behind.
        place = {m_batch.batchVertexPointer + m_batch.batchVertexCount,
                 kBatchRecords - kBatchRecords % unit - m_batch.batchVertexCount};
    }
    if (count > place.room) {
        return nullptr;
    }
    m_batch.reservedCount = count;
    m_batch.reservedSlot = m_batch.batchVertexCount;
    m_batch.reservedTurn = place.ring ? place.ring->Turn() : 0;
    return place.records;
}

long COpenGLView::CommitRecords(int count) {
    const int reserved = std::exchange(m_batch.reservedCount, 0);
    if (count == 0) {
        return S_OK;
    }
    VertexRing* const ring = m_batch.reservedTurn != 0 ? &CurrentObjects().ring : nullptr;
    const bool stillThere =
        m_batch.reservedSlot == m_batch.batchVertexCount && (!ring || ring->Turn() == m_batch.reservedTurn);
    if (count < 0 || count > reserved || !stillThere) {
        return E_INVALIDARG;
    }
    const int unit = VerticesPerPrimitive(m_batch.batchPrimitiveMode);
    const int records = ring ? ring->Room() : kBatchRecords;
    const int most = unit == 0 ? records : records - records % unit;
    TakeRecords(*this, {nullptr, most - m_batch.batchVertexCount, ring}, unit, count);
    return S_OK;
}

} // namespace KTR
