#include "KeptGeometry.h"

#include "../platform/Border.h"
#include "KeptRecords.h"

#include <algorithm>
#include <new>
#include <utility>

namespace KTR {

namespace {

/// What a geometry holds, made where there is nothing yet. Null when there is no memory.
KeptRecords* Holder(SoleOwner<KeptRecords>& kept) {
    if (!kept) {
        kept.reset(new (std::nothrow) KeptRecords);
    }
    return kept.get();
}

/// Whether records can be changed: S_OK, or why not.
long CheckUpdate(const KeptRecords* kept, int first, int count) {
    if (kept && kept->filling) {
        return E_FAIL;
    }
    if (kept ? !kept->HasRange(first, count) : first != 0 || count != 0) {
        return E_INVALIDARG;
    }
    return count > 0 && kept->records.empty() ? E_FAIL : S_OK;
}

} // namespace

GLGeometry::GLGeometry() noexcept = default;
GLGeometry::~GLGeometry() = default;
GLGeometry::GLGeometry(GLGeometry&& other) noexcept = default;
GLGeometry& GLGeometry::operator=(GLGeometry&& other) noexcept = default;

unsigned int GLGeometry::GetMode() const {
    return m_kept ? m_kept->mode : GL_POINTS;
}

int GLGeometry::GetCount() const {
    return m_kept ? m_kept->count : 0;
}

const GLDrawGeometry* GLGeometry::GetRecords() const {
    return m_kept && !m_kept->records.empty() ? m_kept->records.data() : nullptr;
}

PointXYZ GLGeometry::GetOrigin() const {
    return m_kept ? m_kept->origin : PointXYZ{};
}

long GLGeometry::SetOrigin(const PointXYZ& origin) {
    KeptRecords* const kept = Holder(m_kept);
    if (!kept) {
        return E_OUTOFMEMORY;
    }
    kept->origin = origin;
    return S_OK;
}

long GLGeometry::Reserve(int count) {
    if (count < 0) {
        return E_INVALIDARG;
    }
    KeptRecords* const kept = Holder(m_kept);
    if (!kept) {
        return E_OUTOFMEMORY;
    }
    try {
        kept->records.reserve(static_cast<std::size_t>(count));
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

long GLGeometry::UpdateRecords(int first, int count, const GLDrawGeometry* records) {
    if (!records && count > 0) {
        return E_INVALIDARG;
    }
    const long result = CheckUpdate(m_kept.get(), first, count);
    if (result == S_OK && count > 0) {
        std::copy_n(records, count, m_kept->records.begin() + first);
        m_kept->NoteChange(first, count);
    }
    return result;
}

long GLGeometry::UpdateColor(int first, int count, const GLRGBAColor& color) {
    const long result = CheckUpdate(m_kept.get(), first, count);
    if (result == S_OK && count > 0) {
        const auto begin = m_kept->records.begin() + first;
        std::for_each(begin, begin + count, [&color](GLDrawGeometry& record) {
            record.r = color.r;
            record.g = color.g;
            record.b = color.b;
            record.a = color.a;
        });
        m_kept->NoteChange(first, count);
    }
    return result;
}

long GLGeometry::FreeRecordsAfterUpload(bool on) {
    if (!on && !m_kept) {
        return S_OK;
    }
    KeptRecords* const kept = Holder(m_kept);
    if (!kept) {
        return E_OUTOFMEMORY;
    }
    kept->freesAfterUpload = on;
    return S_OK;
}

void GLGeometry::Clear() {
    m_kept.reset();
}

} // namespace KTR
