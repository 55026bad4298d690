#pragma once

#include "../values/DrawGeometry.h"

#include <cstddef>
#include <utility>

namespace KTR {

// How geometry of any size is cut into draws. Arithmetic only.

/// What DrawGeometry3D was given. Its elements are the indices, or the records where there are none.
struct SurfaceGeometry {
    const GLDrawGeometry* records = nullptr;
    std::size_t recordCount = 0;
    const unsigned int* indices = nullptr;
    std::size_t elementCount = 0;

    std::size_t RecordOf(std::size_t element) const { return indices ? indices[element] : element; }
};

/// A run of elements that makes whole primitives. Behind a cut a fan still needs its first element, and the last piece
/// of a loop that was cut into strips ends with it.
struct SurfacePiece {
    unsigned int mode = 0; ///< GL_POINTS to GL_TRIANGLE_FAN
    std::size_t first = 0;
    std::size_t count = 0;
    bool startsWithFirst = false; ///< element 0 comes before the run
    bool endsWithFirst = false;   ///< element 0 comes behind the run

    bool IsRun() const { return !startsWithFirst && !endsWithFirst; }
};

/// The records from `low` to `high` that a piece names.
struct RecordRange {
    std::size_t low = 0;
    std::size_t high = 0;

    std::size_t Count() const { return high - low + 1; }
};

/// Whether the mode is one of those that can be cut.
bool IsCuttable(unsigned int mode);
/// All of the geometry, but for what is left at its end of a primitive; without elements when there is none.
SurfacePiece WholePiece(unsigned int mode, std::size_t elementCount);
std::size_t PrimitivesOf(const SurfacePiece& piece);
/// Cuts a piece of at least four primitives in about the middle: the same primitives in the same order.
std::pair<SurfacePiece, SurfacePiece> Cut(const SurfacePiece& piece);
/// A piece of at least one element.
RecordRange RangeOf(const SurfaceGeometry& geometry, const SurfacePiece& piece);

/// The mode of a piece's primitives where each stands alone: GL_POINTS, GL_LINES or GL_TRIANGLES.
unsigned int SeparateMode(unsigned int mode);
/// Elements of one such primitive.
std::size_t ElementsPerPrimitive(unsigned int mode);
/// The elements of one of a piece's primitives, in the order that keeps its sides and its last corner.
void ElementsOf(const SurfacePiece& piece, std::size_t primitive, std::size_t* elements);

} // namespace KTR
