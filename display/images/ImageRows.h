#pragma once

#include "../values/BasicTypes.h"

#include <cstddef>
#include <vector>

namespace KTR {

/// A rectangle of an image in memory that somebody else owns. Row 0 comes first.
struct ImageRows {
    unsigned int format = 0; ///< as LoadGLImage takes it
    int width = 0;           ///< of the rectangle, pixels
    int height = 0;          ///< of the rectangle, pixels
    int rowLength = 0;       ///< pixels from one row of the image to the next, before alignment
    int rowAlignment = 1;    ///< bytes: 1, 2, 4 or 8
    /// The rectangle's first pixel; null for contents that are left open.
    const unsigned char* pixels = nullptr;
};

/// Bytes of a pixel, 0 for a format that the library does not load.
int BytesPerPixel(unsigned int format);

/// True when the sizes are positive and the format and alignment are ones that can be loaded.
bool IsLoadable(const ImageRows& rows);

/// Bytes from one row to the next. Wide enough for the largest image that can be named.
unsigned long long RowBytes(const ImageRows& rows);

/// A part of a rectangle that begins at column `x` and row `y` of it.
ImageRows PartOf(const ImageRows& rows, int x, int y, int width, int height);

/// How an image side is cut: the tile shows the columns (or rows) `first` to `last` and its texture holds those from
/// `textureFirst` to `textureLast`; both lasts are one behind.
struct TileSpan {
    int first = 0;
    int last = 0;
    int textureFirst = 0;
    int textureLast = 0;
    bool operator==(const TileSpan&) const = default;
};

/// Cuts a side of `size` pixels into tiles whose textures do not exceed `limit` (3 and up). Neighbours share the pixels
/// on both sides of the cut, so that a smoothed texture looks there as it does everywhere else.
std::vector<TileSpan> CutIntoTiles(int size, int limit);

/// The smallest power of two that is not below `size` (1 to 2 to the 30th).
int PowerOfTwoFor(int size);

/// The rectangle without row padding in the lower left of one whose sides are powers of two, for drivers that load no
/// other. The rest repeats the outermost pixels, which smoothing reads beyond the edge.
std::vector<unsigned char> PadToPowersOfTwo(const ImageRows& rows);

/// What becomes of pixels without data.
struct NoDataTreatment {
    GLRGBColor marker;        ///< the colour of such pixels
    bool transparent = false; ///< otherwise they take the colour `paint`
    GLRGBColor paint;
};

/// The rectangle as GL_RGBA without row padding, the pixels of the marker's colour treated. A transparent pixel takes
/// its colour from a neighbour with data, so that smoothing brings no fringe of the marker's colour into what is drawn.
std::vector<unsigned char> TreatNoData(const ImageRows& rows, const NoDataTreatment& treatment);

} // namespace KTR
