#include "GeometryFilling.h"

#include "../platform/Border.h"
#include "VertexBatch.h"

#include <limits>

namespace KTR {

namespace {

constexpr std::size_t kMostRecords = std::numeric_limits<int>::max();

/// No mode of OpenGL's.
constexpr unsigned int kNotKept = 0xFFFFFFFF;

/// How batches of a mode are kept.
unsigned int KeptModeOf(unsigned int mode) {
    switch (mode) {
    case GL_POINTS:
    case GL_LINES:
    case GL_TRIANGLES:
        return mode;
    case GL_LINE_STRIP:
    case GL_LINE_LOOP:
        return GL_LINE_STRIP;
    case GL_TRIANGLE_STRIP:
    case GL_TRIANGLE_FAN:
    case GL_POLYGON:
        return GL_TRIANGLES;
    default:
        return kNotKept;
    }
}

bool IsTakenApart(unsigned int mode) {
    return mode == GL_TRIANGLE_STRIP || mode == GL_TRIANGLE_FAN || mode == GL_POLYGON;
}

std::size_t VerticesPerPrimitive(unsigned int keptMode) {
    return keptMode == GL_TRIANGLES ? 3 : keptMode == GL_LINES ? 2 : 1;
}

/// Filling has made room in advance; where much of it is left over, it goes.
template <typename Value> void GiveBackRoom(std::vector<Value>& values) {
    if (values.capacity() - values.size() > values.size() / 4) {
        try {
            values.shrink_to_fit();
        } catch (...) {
            DropCaught();
            // Then it stays.
        }
    }
}

} // namespace

GeometryFilling::GeometryFilling(KeptRecords& target) : m_target(&target) {
    target.Empty();
    target.filling = this;
}

GeometryFilling::~GeometryFilling() {
    if (m_target) {
        m_target->Empty();
        m_target->filling = nullptr;
    }
}

void GeometryFilling::BeginBatch(unsigned int mode) {
    DropOpenBatch();
    m_mode = mode;
}

void GeometryFilling::DropOpenBatch() {
    m_chained = 0;
    if (m_target && m_result == 0) {
        m_target->records.resize(m_batchFirst);
    }
}

void GeometryFilling::Add(const VertexBatchState& batch) {
    if (!m_target || m_result != 0 || batch.batchVertexCount <= 0) {
        return;
    }
    const unsigned int mode = KeptModeOf(m_mode);
    if (mode == kNotKept || (!m_target->records.empty() && m_target->mode != mode)) {
        Fail(E_INVALIDARG);
        return;
    }
    m_target->mode = mode;
    try {
        AddSeparate(batch);
    } catch (...) {
        DropCaught();
        Fail(E_OUTOFMEMORY);
        return;
    }
    if (m_target->records.size() > kMostRecords) {
        Fail(E_OUTOFMEMORY);
    }
}

void GeometryFilling::AddSeparate(const VertexBatchState& batch) {
    std::vector<GLDrawGeometry>& records = m_target->records;
    const GLDrawGeometry* const added = batch.batchVertexPointer;
    if (batch.strayIndices == 0 && !IsTakenApart(m_mode)) {
        records.insert(records.end(), added, added + batch.batchVertexCount);
        return;
    }
    for (int slot = 0; slot < batch.batchVertexCount; ++slot) {
        const unsigned int index = batch.batchIndexPointer[slot];
        if (index >= kBatchArrayRecords) {
            Fail(E_INVALIDARG);
            return;
        }
        if (IsTakenApart(m_mode)) {
            AddChained(added[index]);
        } else {
            records.push_back(added[index]);
        }
    }
}

/// The last vertex of each triangle is the one that it has in the chain too: a flat colour comes from it. (In a polygon
/// it comes from the first vertex.)
void GeometryFilling::AddChained(const GLDrawGeometry& record) {
    std::vector<GLDrawGeometry>& records = m_target->records;
    if (m_chained >= 2) {
        // Every second triangle of a strip goes the other way round.
        const bool swapped = m_mode == GL_TRIANGLE_STRIP && m_chained % 2 != 0;
        if (m_mode == GL_POLYGON) {
            records.insert(records.end(), {m_previous[1], record, m_previous[0]});
        } else {
            records.insert(records.end(), {m_previous[swapped ? 1 : 0], m_previous[swapped ? 0 : 1], record});
        }
        if (m_mode == GL_TRIANGLE_STRIP) {
            m_previous[0] = m_previous[1];
        }
        m_previous[1] = record;
    } else {
        m_previous[m_chained] = record;
    }
    ++m_chained;
}

void GeometryFilling::EndBatch() {
    m_chained = 0;
    if (!m_target || m_result != 0) {
        return;
    }
    std::vector<GLDrawGeometry>& records = m_target->records;
    if (records.size() > m_batchFirst && m_target->mode == GL_LINE_STRIP) {
        CloseStrip();
    } else {
        // OpenGL leaves out what is no whole primitive; here the next batch would go on from it.
        records.resize(records.size() - (records.size() - m_batchFirst) % VerticesPerPrimitive(m_target->mode));
    }
    m_batchFirst = records.size();
    m_target->count = static_cast<int>(records.size());
}

void GeometryFilling::CloseStrip() {
    std::vector<GLDrawGeometry>& records = m_target->records;
    const std::size_t length = records.size() - m_batchFirst;
    if (length < 2) {
        records.resize(m_batchFirst);
        return;
    }
    try {
        if (m_mode == GL_LINE_LOOP) {
            const GLDrawGeometry first = records[m_batchFirst];
            records.push_back(first);
        }
        m_target->chainFirsts.push_back(static_cast<GLint>(m_batchFirst));
        m_target->chainCounts.push_back(static_cast<GLsizei>(records.size() - m_batchFirst));
    } catch (...) {
        DropCaught();
        Fail(E_OUTOFMEMORY);
    }
}

void GeometryFilling::Fail(long reason) {
    if (m_result == 0) {
        m_result = reason;
        m_batchFirst = 0;
        if (m_target) {
            m_target->Empty();
        }
    }
}

long GeometryFilling::Finish() {
    if (!m_target) {
        return E_FAIL;
    }
    DropOpenBatch();
    if (m_result == 0) {
        GiveBackRoom(m_target->records);
        GiveBackRoom(m_target->chainFirsts);
        GiveBackRoom(m_target->chainCounts);
    }
    m_target->filling = nullptr;
    m_target = nullptr;
    return m_result;
}

} // namespace KTR
