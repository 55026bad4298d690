#include "SurfacePieces.h"

#include "../values/GLTypes.h"

#include <algorithm>

namespace KTR {

namespace {

/// Elements that each primitive of the mode adds, and those that the first needs beforehand.
struct Stride {
    std::size_t each;
    std::size_t before;
};

Stride StrideOf(unsigned int mode) {
    switch (mode) {
    case GL_LINES:
        return {2, 0};
    case GL_LINE_STRIP:
    case GL_LINE_LOOP:
        return {1, 1};
    case GL_TRIANGLES:
        return {3, 0};
    case GL_TRIANGLE_STRIP:
    case GL_TRIANGLE_FAN:
        return {1, 2};
    default:
        return {1, 0};
    }
}

bool IsUncutLoop(const SurfacePiece& piece) {
    return piece.mode == GL_LINE_LOOP;
}

std::size_t ElementsIn(const SurfacePiece& piece) {
    return piece.count + (piece.startsWithFirst ? 1 : 0) + (piece.endsWithFirst ? 1 : 0);
}

/// The element at a place of the piece, the first one of the geometry included where it belongs to it.
std::size_t ElementAt(const SurfacePiece& piece, std::size_t place) {
    if (piece.startsWithFirst) {
        return place == 0 ? 0 : piece.first + place - 1;
    }
    return place < piece.count ? piece.first + place : 0;
}

constexpr std::size_t kBlockIndices = 4096;

RecordRange Join(const RecordRange& one, const RecordRange& other) {
    return {std::min(one.low, other.low), std::max(one.high, other.high)};
}

/// The least and the greatest of some indices. Four of each at a time, since each comparison waits for the one before.
RecordRange RangeOf(const unsigned int* indices, std::size_t count) {
    constexpr std::size_t kLanes = 4;
    unsigned int low[kLanes];
    unsigned int high[kLanes];
    std::fill(low, low + kLanes, indices[0]);
    std::fill(high, high + kLanes, indices[0]);
    std::size_t element = 0;
    for (; element + kLanes <= count; element += kLanes) {
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            low[lane] = std::min(low[lane], indices[element + lane]);
            high[lane] = std::max(high[lane], indices[element + lane]);
        }
    }
    for (; element < count; ++element) {
        low[0] = std::min(low[0], indices[element]);
        high[0] = std::max(high[0], indices[element]);
    }
    return {*std::min_element(low, low + kLanes), *std::max_element(high, high + kLanes)};
}

} // namespace

bool IsCuttable(unsigned int mode) {
    return mode <= GL_TRIANGLE_FAN;
}

SurfacePiece WholePiece(unsigned int mode, std::size_t elementCount) {
    const Stride stride = StrideOf(mode);
    if (elementCount < stride.each + stride.before) {
        return {.mode = mode};
    }
    const std::size_t left = (elementCount - stride.before) % stride.each;
    return {.mode = mode, .first = 0, .count = elementCount - left};
}

std::size_t PrimitivesOf(const SurfacePiece& piece) {
    const Stride stride = StrideOf(piece.mode);
    const std::size_t elements = ElementsIn(piece) + (IsUncutLoop(piece) ? 1 : 0);
    return elements < stride.each + stride.before ? 0 : (elements - stride.before) / stride.each;
}

std::pair<SurfacePiece, SurfacePiece> Cut(const SurfacePiece& piece) {
    SurfacePiece whole = piece;
    if (IsUncutLoop(piece)) {
        whole.mode = GL_LINE_STRIP;
        whole.endsWithFirst = true;
    }
    const Stride stride = StrideOf(whole.mode);
    std::size_t primitives = PrimitivesOf(whole) / 2;
    if (whole.mode == GL_TRIANGLE_STRIP) {
        primitives -= primitives % 2; // every second triangle of a strip is turned around
    }
    SurfacePiece front = whole;
    front.endsWithFirst = false;
    front.count = primitives * stride.each + stride.before - (front.startsWithFirst ? 1 : 0);
    SurfacePiece back = whole;
    // A fan goes on with its first element and the last one, everything else with the last ones.
    const bool isFan = whole.mode == GL_TRIANGLE_FAN;
    const std::size_t repeated = isFan ? 1 : stride.before;
    back.startsWithFirst = isFan;
    back.first = front.first + front.count - repeated;
    back.count = whole.first + whole.count - back.first;
    return {front, back};
}

RecordRanges::RecordRanges(const SurfaceGeometry& geometry, const SurfacePiece& whole) : m_geometry(geometry) {
    if (!geometry.indices || whole.count <= kBlockIndices) {
        m_whole = Of(whole);
        return;
    }
    m_blocks.reserve(whole.count / kBlockIndices);
    for (std::size_t first = 0; first + kBlockIndices <= whole.count; first += kBlockIndices) {
        m_blocks.push_back(RangeOf(geometry.indices + first, kBlockIndices));
    }
    m_whole = Of(whole);
}

RecordRange RecordRanges::Of(const SurfacePiece& piece) const {
    const unsigned int* const indices = m_geometry.indices;
    if (!indices) {
        const RecordRange run{piece.first, piece.first + piece.count - 1};
        return piece.IsRun() ? run : Join(run, {0, 0});
    }
    RecordRange range{indices[piece.first], indices[piece.first]};
    const std::size_t end = piece.first + piece.count;
    for (std::size_t element = piece.first; element < end;) {
        const std::size_t block = element / kBlockIndices;
        const bool isWhole = element % kBlockIndices == 0 && element + kBlockIndices <= end && block < m_blocks.size();
        const std::size_t next = isWhole ? element + kBlockIndices : std::min((block + 1) * kBlockIndices, end);
        range = Join(range, isWhole ? m_blocks[block] : RangeOf(indices + element, next - element));
        element = next;
    }
    return piece.IsRun() ? range : Join(range, {indices[0], indices[0]});
}

unsigned int SeparateMode(unsigned int mode) {
    if (mode == GL_POINTS) {
        return GL_POINTS;
    }
    return mode <= GL_LINE_STRIP ? GL_LINES : GL_TRIANGLES;
}

std::size_t ElementsPerPrimitive(unsigned int mode) {
    const Stride stride = StrideOf(mode);
    return stride.each + stride.before;
}

void ElementsOf(const SurfacePiece& piece, std::size_t primitive, std::size_t* elements) {
    const Stride stride = StrideOf(piece.mode);
    const std::size_t start = primitive * stride.each;
    const std::size_t corners = stride.each + stride.before;
    for (std::size_t corner = 0; corner < corners; ++corner) {
        elements[corner] = ElementAt(piece, start + corner);
    }
    if (piece.mode == GL_TRIANGLE_FAN) {
        elements[0] = ElementAt(piece, 0);
    } else if (piece.mode == GL_TRIANGLE_STRIP && primitive % 2 != 0) {
        std::swap(elements[0], elements[1]);
    }
}

} // namespace KTR
