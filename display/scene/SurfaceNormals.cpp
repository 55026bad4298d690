#include "SurfaceNormals.h"

#include "../values/GLTypes.h"

#include <glm/geometric.hpp>
#include <glm/vec3.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace KTR {

namespace {

constexpr std::size_t kCorners = 3;
constexpr glm::dvec3 kUp(0.0, 0.0, 1.0);

glm::dvec3 PlaceOf(const GLDrawGeometry& record) {
    return {record.x, record.y, record.z};
}

glm::dvec3 UnitOrZero(const glm::dvec3& vector) {
    const double length = glm::length(vector);
    return length > 0.0 && std::isfinite(length) ? vector / length : glm::dvec3(0.0);
}

void StoreNormal(GLDrawGeometry& record, const glm::dvec3& normal) {
    record.nx = static_cast<float>(normal.x);
    record.ny = static_cast<float>(normal.y);
    record.nz = static_cast<float>(normal.z);
}

/// The triangles of a list of records, with or without indices.
class Triangles {
public:
    Triangles(const GLDrawGeometry* records, std::size_t count, const unsigned int* indices, std::size_t indexCount)
        : m_records(records), m_recordCount(count), m_indices(indices), m_count((indices ? indexCount : count) / 3) {}

    bool AreValid() const {
        return m_records && (!m_indices || std::all_of(m_indices, m_indices + m_count * kCorners,
                                                       [this](unsigned int index) { return index < m_recordCount; }));
    }
    std::size_t Count() const { return m_count; }
    /// The record of a corner, by its number.
    std::size_t RecordOf(std::size_t triangle, std::size_t corner) const {
        const std::size_t element = triangle * kCorners + corner;
        return m_indices ? m_indices[element] : element;
    }
    std::array<glm::dvec3, kCorners> PlacesOf(std::size_t triangle) const {
        return {PlaceOf(m_records[RecordOf(triangle, 0)]), PlaceOf(m_records[RecordOf(triangle, 1)]),
                PlaceOf(m_records[RecordOf(triangle, 2)])};
    }

private:
    const GLDrawGeometry* m_records;
    std::size_t m_recordCount;
    const unsigned int* m_indices;
    std::size_t m_count;
};

/// The edges are brought to length one before they are multiplied, so that tiny and huge triangles keep their normals.
glm::dvec3 FaceNormal(const std::array<glm::dvec3, kCorners>& places) {
    return UnitOrZero(glm::cross(UnitOrZero(places[1] - places[0]), UnitOrZero(places[2] - places[0])));
}

double AngleAt(const std::array<glm::dvec3, kCorners>& places, std::size_t corner) {
    const glm::dvec3 next = places[(corner + 1) % kCorners] - places[corner];
    const glm::dvec3 previous = places[(corner + 2) % kCorners] - places[corner];
    return std::atan2(glm::length(glm::cross(next, previous)), glm::dot(next, previous));
}

bool IsHole(const GLDrawGeometry& record) {
    return std::isnan(record.x) || std::isnan(record.y) || std::isnan(record.z);
}

/// A grid of records that are counted along a row and along a column.
struct Grid {
    std::size_t columns;
    std::size_t rows;

    bool IsValid() const { return columns == 0 || rows <= std::numeric_limits<unsigned int>::max() / columns + 1; }
    std::size_t At(std::size_t column, std::size_t row) const { return row * columns + column; }
};

/// From the neighbour before a record to the one behind it, `step` records apart: from and to the record itself where
/// one of them is missing. Zero where both are.
glm::dvec3 Tangent(const GLDrawGeometry* record, std::size_t place, std::size_t length, std::ptrdiff_t step) {
    const GLDrawGeometry* const before = place > 0 && !IsHole(record[-step]) ? record - step : record;
    const GLDrawGeometry* const behind = place + 1 < length && !IsHole(record[step]) ? record + step : record;
    return PlaceOf(*behind) - PlaceOf(*before);
}

/// Upwards; a direction that nothing is known of counts as level and across the other.
glm::dvec3 NormalFrom(glm::dvec3 alongRow, glm::dvec3 alongColumn) {
    if (alongRow == glm::dvec3(0.0)) {
        alongRow = glm::cross(alongColumn, kUp);
    } else if (alongColumn == glm::dvec3(0.0)) {
        alongColumn = glm::cross(kUp, alongRow);
    }
    const glm::dvec3 normal = UnitOrZero(glm::cross(UnitOrZero(alongRow), UnitOrZero(alongColumn)));
    if (normal == glm::dvec3(0.0)) {
        return kUp;
    }
    return normal.z < 0.0 ? -normal : normal;
}

bool IsClockwiseFromAbove(const GLDrawGeometry& a, const GLDrawGeometry& b, const GLDrawGeometry& c) {
    return glm::cross(PlaceOf(b) - PlaceOf(a), PlaceOf(c) - PlaceOf(a)).z < 0.0;
}

} // namespace

long MakeFaceNormals(const GLDrawGeometry* records, std::size_t count, const unsigned int* indices,
                     std::size_t indexCount, PointXYZ* normals) {
    const Triangles triangles(records, count, indices, indexCount);
    if (!normals || !triangles.AreValid()) {
        return E_INVALIDARG;
    }
    for (std::size_t triangle = 0; triangle < triangles.Count(); ++triangle) {
        const glm::dvec3 normal = FaceNormal(triangles.PlacesOf(triangle));
        normals[triangle] = {normal.x, normal.y, normal.z};
    }
    return S_OK;
}

long MakeVertexNormals(GLDrawGeometry* records, std::size_t count, const unsigned int* indices,
                       std::size_t indexCount) {
    const Triangles triangles(records, count, indices, indexCount);
    if (!triangles.AreValid()) {
        return E_INVALIDARG;
    }
    for (std::size_t index = 0; index < count; ++index) {
        StoreNormal(records[index], glm::dvec3(0.0));
    }
    for (std::size_t triangle = 0; triangle < triangles.Count(); ++triangle) {
        const std::array<glm::dvec3, kCorners> places = triangles.PlacesOf(triangle);
        const glm::dvec3 normal = FaceNormal(places);
        for (std::size_t corner = 0; corner < kCorners; ++corner) {
            GLDrawGeometry& record = records[triangles.RecordOf(triangle, corner)];
            StoreNormal(record, glm::dvec3(record.nx, record.ny, record.nz) + normal * AngleAt(places, corner));
        }
    }
    for (std::size_t index = 0; index < count; ++index) {
        GLDrawGeometry& record = records[index];
        StoreNormal(record, UnitOrZero({record.nx, record.ny, record.nz}));
    }
    return S_OK;
}

long MakeGridNormals(GLDrawGeometry* records, std::size_t columns, std::size_t rows) {
    const Grid grid{columns, rows};
    if (!records || !grid.IsValid()) {
        return E_INVALIDARG;
    }
    for (std::size_t row = 0; row < grid.rows; ++row) {
        for (std::size_t column = 0; column < grid.columns; ++column) {
            GLDrawGeometry* const record = records + grid.At(column, row);
            if (IsHole(*record)) {
                StoreNormal(*record, kUp);
                continue;
            }
            StoreNormal(*record, NormalFrom(Tangent(record, column, grid.columns, 1),
                                            Tangent(record, row, grid.rows, static_cast<std::ptrdiff_t>(columns))));
        }
    }
    return S_OK;
}

std::size_t MakeGridTriangles(const GLDrawGeometry* records, std::size_t columns, std::size_t rows,
                              unsigned int* indices) {
    const Grid grid{columns, rows};
    if (!records || !grid.IsValid()) {
        return 0;
    }
    std::size_t count = 0;
    for (std::size_t row = 0; row + 1 < grid.rows; ++row) {
        for (std::size_t column = 0; column + 1 < grid.columns; ++column) {
            std::size_t present[4];
            std::size_t corners = 0;
            for (const std::size_t corner : {grid.At(column, row), grid.At(column + 1, row),
                                             grid.At(column + 1, row + 1), grid.At(column, row + 1)}) {
                if (!IsHole(records[corner])) {
                    present[corners++] = corner;
                }
            }
            for (std::size_t last = 2; last < corners; ++last, count += kCorners) {
                if (!indices) {
                    continue;
                }
                std::size_t second = present[last - 1];
                std::size_t third = present[last];
                if (IsClockwiseFromAbove(records[present[0]], records[second], records[third])) {
                    std::swap(second, third);
                }
                indices[count] = static_cast<unsigned int>(present[0]);
                indices[count + 1] = static_cast<unsigned int>(second);
                indices[count + 2] = static_cast<unsigned int>(third);
            }
        }
    }
    return count;
}

} // namespace KTR
