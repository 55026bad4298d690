#pragma once

// The adds of the vertex batch. Hosts call one of them for every vertex, so they are inline here and come down to plain
// stores in the host's own loop; only the flush is a call into the library.

#include "../view/OpenGLView.h"

#include <cstdint>
#include <cstring>

namespace KTR {

namespace BatchDetail {

inline void StorePosition(GLDrawGeometry& record, double x, double y, double z) {
    record.x = static_cast<float>(x);
    record.y = static_cast<float>(y);
    record.z = static_cast<float>(z);
}

inline void StoreNormal(GLDrawGeometry& record, double nx, double ny, double nz) {
    record.nx = static_cast<float>(nx);
    record.ny = static_cast<float>(ny);
    record.nz = static_cast<float>(nz);
}

inline void StoreTexCoords(GLDrawGeometry& record, double s, double t) {
    record.s = static_cast<float>(s);
    record.t = static_cast<float>(t);
}

/// The four bytes go out as one word, which costs a quarter of four stores.
inline void StoreColor(GLDrawGeometry& record, unsigned char r, unsigned char g, unsigned char b, unsigned char a) {
    const std::uint32_t word = static_cast<std::uint32_t>(r) | static_cast<std::uint32_t>(g) << 8 |
                               static_cast<std::uint32_t>(b) << 16 | static_cast<std::uint32_t>(a) << 24;
    std::memcpy(&record.r, &word, sizeof(word));
}

inline void StoreColor(GLDrawGeometry& record, const GLRGBColor& color, unsigned char alpha) {
    StoreColor(record, color.r, color.g, color.b, alpha);
}

/// Red, green and blue of `color` with an alpha of their own, as one word too.
inline void StoreColorWithAlpha(GLDrawGeometry& record, const GLRGBAColor& color, unsigned char alpha) {
    static_assert(sizeof(GLRGBAColor) == sizeof(std::uint32_t));
    std::uint32_t word = 0;
    std::memcpy(&word, &color, sizeof(word));
    word = (word & 0x00FFFFFFU) | static_cast<std::uint32_t>(alpha) << 24;
    std::memcpy(&record.r, &word, sizeof(word));
}

/// A point relative to an origin, subtracted in double precision.
inline void StoreRelative(GLDrawGeometry& record, const PointXYZ& point, double ox, double oy, double oz) {
    StorePosition(record, point.x - ox, point.y - oy, point.z - oz);
}

/// A channel times `shade`, truncated towards zero; what does not fit a byte wraps.
inline unsigned char Shade(unsigned char channel, double shade) {
    return static_cast<unsigned char>(static_cast<int>(channel * shade));
}

} // namespace BatchDetail

/// The slot of the next vertex. A batch flushes when an add finds it beyond capacity.
inline int COpenGLView::NextBatchSlot() {
    if (m_batch.batchVertexCount > m_batch.addLimit) {
        MakeRoomForAdd();
    }
    return m_batch.batchVertexCount;
}

/// Counts the vertices before `slot`. The last store of every add: nothing that the compiler must take for a change of
/// the count comes between it and the next add's load, so that the count stays in a register of the host's loop.
inline void COpenGLView::CountBatchVertices(int slot) {
    m_batch.batchVertexCount = slot;
}

inline GLDrawGeometry& COpenGLView::BatchRecordAt(int slot) {
    return m_batch.batchVertexPointer[slot];
}

inline bool COpenGLView::TriangleFits(int index) const {
    return index >= 0 && index <= kBatchArrayRecords - 3;
}

inline void COpenGLView::AddIndex2DVertexRGBA(double x, double y, unsigned char r, unsigned char g, unsigned char b,
                                              unsigned char a) {
    AddIndex3DVertexRGBA(x, y, 0.0, r, g, b, a);
}

inline void COpenGLView::AddIndex3DVertexRGBA(double x, double y, double z, unsigned char r, unsigned char g,
                                              unsigned char b, unsigned char a) {
    const int slot = NextBatchSlot();
    GLDrawGeometry& record = BatchRecordAt(slot);
    BatchDetail::StorePosition(record, x, y, z);
    BatchDetail::StoreColor(record, r, g, b, a);
    CountBatchVertices(slot + 1);
}

inline void COpenGLView::AddIndex2DVertexCurrentColor(double x, double y, unsigned char alpha) {
    AddIndex3DVertexCurrentColor(x, y, 0.0, alpha);
}

inline void COpenGLView::AddIndex3DVertexCurrentColor(double x, double y, double z, unsigned char alpha) {
    const int slot = NextBatchSlot();
    GLDrawGeometry& record = BatchRecordAt(slot);
    BatchDetail::StorePosition(record, x, y, z);
    BatchDetail::StoreColorWithAlpha(record, *m_currentColor, alpha);
    CountBatchVertices(slot + 1);
}

inline void COpenGLView::AddIndex2DVertexCurrentColorTexCoords(double x, double y, double s, double t,
                                                               unsigned char alpha) {
    AddIndex3DVertexCurrentColorTexCoords(x, y, 0.0, s, t, alpha);
}

inline void COpenGLView::AddIndex3DVertexCurrentColorTexCoords(double x, double y, double z, double s, double t,
                                                               unsigned char alpha) {
    const int slot = NextBatchSlot();
    GLDrawGeometry& record = BatchRecordAt(slot);
    BatchDetail::StorePosition(record, x, y, z);
    BatchDetail::StoreTexCoords(record, s, t);
    BatchDetail::StoreColorWithAlpha(record, *m_currentColor, alpha);
    CountBatchVertices(slot + 1);
}

inline void COpenGLView::AddIndex2DVertexTexCoords(double x, double y, double s, double t) {
    AddIndex3DVertexTexCoords(x, y, 0.0, s, t);
}

inline void COpenGLView::AddIndex3DVertexTexCoords(double x, double y, double z, double s, double t) {
    const int slot = NextBatchSlot();
    GLDrawGeometry& record = BatchRecordAt(slot);
    BatchDetail::StorePosition(record, x, y, z);
    BatchDetail::StoreTexCoords(record, s, t);
    CountBatchVertices(slot + 1);
}

inline void COpenGLView::AddIndex3DVertexNormalRGBA(double x, double y, double z, double nx, double ny, double nz,
                                                    unsigned char r, unsigned char g, unsigned char b,
                                                    unsigned char a) {
    const int slot = NextBatchSlot();
    GLDrawGeometry& record = BatchRecordAt(slot);
    BatchDetail::StorePosition(record, x, y, z);
    BatchDetail::StoreNormal(record, nx, ny, nz);
    BatchDetail::StoreColor(record, r, g, b, a);
    CountBatchVertices(slot + 1);
}

inline void COpenGLView::AddIndex3DVertexNormalTexCoordRGBA(double x, double y, double z, double nx, double ny,
                                                            double nz, double s, double t, unsigned char r,
                                                            unsigned char g, unsigned char b, unsigned char a) {
    const int slot = NextBatchSlot();
    GLDrawGeometry& record = BatchRecordAt(slot);
    BatchDetail::StorePosition(record, x, y, z);
    BatchDetail::StoreNormal(record, nx, ny, nz);
    BatchDetail::StoreTexCoords(record, s, t);
    BatchDetail::StoreColor(record, r, g, b, a);
    CountBatchVertices(slot + 1);
}

/// For adds that name records by their place in the batch, which must then begin with the first. They may come back to
/// a record, so nothing is written ahead.
inline void COpenGLView::BeginAtFirstRecord() {
    if (m_batch.waitingCount > 0 || m_batch.ringOnlyCount > 0) {
        DrawBeforeFirstRecord();
    }
    m_batch.writtenCount = 0;
    m_batch.addLimit = kBatchCapacity;
}

inline void COpenGLView::AddDataIndex(unsigned int index) {
    BeginAtFirstRecord();
    const int slot = NextBatchSlot();
    m_batch.batchIndexPointer[slot] = index;
    m_batch.strayIndices = slot + 1;
    CountBatchVertices(slot + 1);
}

inline void COpenGLView::AddTextureDataCurrentIndex(double s, double t) {
    BatchDetail::StoreTexCoords(m_batch.batchVertexPointer[NextBatchSlot()], s, t);
}

inline void COpenGLView::AddIndex3DTriangleVertexRGBA(const PointXYZ* p0, const PointXYZ* p1, const PointXYZ* p2,
                                                      const GLRGBColor* c0, const GLRGBColor* c1, const GLRGBColor* c2,
                                                      unsigned char alpha, double ox, double oy, double oz) {
    // The two spare records behind the capacity take the rest of a triangle that starts at the last one.
    const int first = NextBatchSlot();
    const auto storeCorner = [&](int slot, const PointXYZ& point, const GLRGBColor& color) {
        GLDrawGeometry& record = BatchRecordAt(slot);
        BatchDetail::StoreRelative(record, point, ox, oy, oz);
        BatchDetail::StoreColor(record, color, alpha);
    };
    storeCorner(first, *p0, *c0);
    storeCorner(first + 1, *p1, *c1);
    storeCorner(first + 2, *p2, *c2);
    CountBatchVertices(first + 3);
}

inline void COpenGLView::AddIndex3DTriangleVertexNormalRGBA(const PointXYZ* p0, const PointXYZ* p1, const PointXYZ* p2,
                                                            const PointXYZ* normal, const GLRGBColor* c0,
                                                            const GLRGBColor* c1, const GLRGBColor* c2,
                                                            unsigned char alpha, double ox, double oy, double oz,
                                                            double shade, int index) {
    BeginAtFirstRecord();
    if (!TriangleFits(index)) {
        return;
    }
    const auto storeCorner = [&](int slot, const PointXYZ& point, const GLRGBColor& color) {
        m_batch.batchIndexPointer[slot] = static_cast<unsigned int>(slot);
        GLDrawGeometry& record = BatchRecordAt(slot);
        BatchDetail::StoreRelative(record, point, ox, oy, oz);
        BatchDetail::StoreNormal(record, normal->x, normal->y, normal->z);
        BatchDetail::StoreColor(record, BatchDetail::Shade(color.r, shade), BatchDetail::Shade(color.g, shade),
                                BatchDetail::Shade(color.b, shade), alpha);
    };
    storeCorner(index, *p0, *c0);
    storeCorner(index + 1, *p1, *c1);
    storeCorner(index + 2, *p2, *c2);
}

inline void COpenGLView::AddIndex3DTriangleVertexNormalTexRGB(const PointXYZ* p0, const PointXYZ* p1,
                                                              const PointXYZ* p2, const PointXYZ* normal, double ox,
                                                              double oy, double oz, double s0, double t0, double sScale,
                                                              double tScale, int index) {
    BeginAtFirstRecord();
    if (index > kBatchCapacity) {
        FlushArrays();
    }
    if (!TriangleFits(index)) {
        return;
    }
    const auto storeCorner = [&](int slot, const PointXYZ& point) {
        m_batch.batchIndexPointer[slot] = static_cast<unsigned int>(slot);
        GLDrawGeometry& record = BatchRecordAt(slot);
        BatchDetail::StoreRelative(record, point, ox, oy, oz);
        BatchDetail::StoreNormal(record, normal->x, normal->y, normal->z);
        BatchDetail::StoreTexCoords(record, (point.x - s0) * sScale, (point.y - t0) * tScale);
    };
    storeCorner(index, *p0);
    storeCorner(index + 1, *p1);
    storeCorner(index + 2, *p2);
}

} // namespace KTR
