#pragma once

// The smaller levels of a font's texture, made of parts of it. OpenGL makes them for a whole texture only.

#include <vector>

namespace KTR {

/// Rows of a level of an 8-bit texture.
struct LevelRows {
    int width = 0;
    int height = 0; ///< of the whole level
    int first = 0;  ///< of the rows that are here
    int count = 0;
    const unsigned char* pixels = nullptr; ///< without padding
};

/// A side's length one level further.
inline int NextLevelSide(int side) {
    return side > 1 ? side / 2 : 1;
}

/// Rows of the level above `source` that its rows `first` to `first + count` (exclusive) are made of: from `.first` on,
/// `.count` many. The pixels are not looked at.
LevelRows RowsBehind(int width, int height, int first, int count);

/// Makes rows of the next level: each of its texels is the linear mix of the four texels around its place, as OpenGL's
/// own levels are. `source` has to hold what RowsBehind names.
std::vector<unsigned char> ReduceRows(const LevelRows& source, int first, int count);

} // namespace KTR
