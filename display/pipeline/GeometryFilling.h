#pragma once

#include "KeptRecords.h"

namespace KTR {

struct VertexBatchState;

/// A view's batches on their way into a geometry, between BeginGeometry and EndGeometry.
///
/// What does not share vertices goes on behind what is there. Line strips and loops stay strips, whose places are
/// noted. The chains of triangles are taken apart, so that they can be drawn from any record on.
class GeometryFilling {
public:
    /// The geometry begins empty.
    explicit GeometryFilling(KeptRecords& target);
    /// What has not been finished leaves the geometry empty.
    ~GeometryFilling();
    GeometryFilling(const GeometryFilling&) = delete;
    GeometryFilling& operator=(const GeometryFilling&) = delete;

    /// The geometry goes before the filling ends.
    void ForgetTarget() { m_target = nullptr; }

    /// Opens a batch; one that was not ended is left out.
    void BeginBatch(unsigned int mode);
    /// Takes over what the batch holds.
    void Add(const VertexBatchState& batch);
    void EndBatch();
    /// Nothing of what was added counts, for this reason. The first reason stays.
    void Fail(long reason);
    /// The geometry is filled, or empty on failure. S_OK, E_FAIL without the geometry, or the reason.
    long Finish();

private:
    void DropOpenBatch();
    void AddSeparate(const VertexBatchState& batch);
    void AddChained(const GLDrawGeometry& record);
    void CloseStrip();

    KeptRecords* m_target;
    long m_result = 0;
    unsigned int m_mode = GL_POINTS;   ///< of the open batch
    std::size_t m_batchFirst = 0;      ///< records before it
    unsigned long long m_chained = 0;  ///< vertices of a strip, fan or polygon so far
    GLDrawGeometry m_previous[2] = {}; ///< of a strip the last two, of a fan or polygon the first and the last
};

} // namespace KTR
