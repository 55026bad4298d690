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

RecordRange RangeOf(const SurfaceGeometry& geometry, const SurfacePiece& piece) {
    RecordRange range;
    if (geometry.indices) {
        // Two plain loops over blocks that stay in the cache, which compilers turn into vector code.
        constexpr std::size_t kBlock = 4096;
        const unsigned int* const begin = geometry.indices + piece.first;
        unsigned int low = *begin;
        unsigned int high = *begin;
        for (std::size_t start = 0; start < piece.count; start += kBlock) {
            const std::size_t end = std::min(start + kBlock, piece.count);
            for (std::size_t element = start; element < end; ++element) {
                low = std::min(low, begin[element]);
            }
            for (std::size_t element = start; element < end; ++element) {
                high = std::max(high, begin[element]);
            }
        }
        range = {low, high};
    } else {
        range = {piece.first, piece.first + piece.count - 1};
    }
    if (!piece.IsRun()) {
        const std::size_t extra = geometry.RecordOf(0);
        range = {std::min(range.low, extra), std::max(range.high, extra)};
    }
    return range;
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
