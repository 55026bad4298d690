#pragma once

#include "../Export.h"
#include "../values/BasicTypes.h"
#include "../values/DrawGeometry.h"

#include <cstddef>

namespace KTR {

// Normals and triangles for records that DrawGeometry3D draws. Arithmetic only: any thread, with or without a context.
//
// Triangles are three indices each, or three records each where `indices` is null; then `indexCount` does not count.
// What is left at the end of less than three is passed over. A normal has length one and points to the side from which
// the corners run counter-clockwise. A triangle without area has none: its normal is zero, and lit programs show it as
// they show every zero normal.
//
// Results are S_OK, and E_INVALIDARG for a null pointer to something and for an index beyond the records: then nothing
// was written.

/// The normal of each triangle, into `normals`: one for each three indices or records.
ORRIN_DISPLAY_API long MakeFaceNormals(const GLDrawGeometry* records, std::size_t count, const unsigned int* indices,
                                       std::size_t indexCount, PointXYZ* normals);

/// Gives each record the normal of the surface there: the mean of the normals of the triangles that meet in it, each
/// weighted by its angle there, so that it does not matter into how many triangles a face was cut. With `indices` null
/// nothing meets, and each record takes its triangle's. Records of no triangle get zero.
ORRIN_DISPLAY_API long MakeVertexNormals(GLDrawGeometry* records, std::size_t count, const unsigned int* indices,
                                         std::size_t indexCount);

// A grid has `rows` × `columns` records, row by row, in either direction. A record whose x, y or z is not a number is a
// hole.

/// Gives each record of a grid the normal of the surface there, upwards (towards +z): from its neighbours on both sides
/// in row and column, from one where the other is a hole or beyond the edge. Along a row or column without neighbours
/// the surface counts as level. Holes get a normal straight up.
ORRIN_DISPLAY_API long MakeGridNormals(GLDrawGeometry* records, std::size_t columns, std::size_t rows);

/// Writes the indices of a grid's triangles, counter-clockwise seen from above, and returns how many they are: at most
/// 6 × (columns - 1) × (rows - 1). With `indices` null it only counts. Holes are no larger than they must be: where one
/// corner of four is missing the other three make a triangle. 0 for a grid of more than 2^32 records.
ORRIN_DISPLAY_API std::size_t MakeGridTriangles(const GLDrawGeometry* records, std::size_t columns, std::size_t rows,
                                                unsigned int* indices);

} // namespace KTR
