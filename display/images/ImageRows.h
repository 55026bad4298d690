#pragma once

#include "../values/BasicTypes.h"
#include "../values/GLAttributes.h"

#include <algorithm>
#include <array>
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
    int tolerance = 0;        ///< levels that each of its channels may be off
    bool transparent = false; ///< otherwise they take the colour `paint`
    GLRGBColor paint;
};

/// What each level of a colour becomes.
using LevelTable = std::array<unsigned char, 256>;

/// The levels that an adjustment makes: gamma first, then contrast about the middle, then brightness.
LevelTable LevelsOf(const GLImageAdjustment& adjustment);

/// The rectangle without row padding, its colours put through the table; opacity stays. A rectangle of GL_ALPHA has no
/// colours.
std::vector<unsigned char> AdjustColors(const ImageRows& rows, const LevelTable& levels);

/// The rectangle as GL_RGBA without row padding.
std::vector<unsigned char> ToRgba(const ImageRows& rows);

/// The rectangle as GL_RGBA without row padding, the pixels of the marker's colour treated, the colours of the others
/// put through the table. A transparent pixel takes its colour from a neighbour with data, so that smoothing brings no
/// fringe of the marker's colour into what is drawn.
std::vector<unsigned char> TreatNoData(const ImageRows& rows, const NoDataTreatment& treatment,
                                       const LevelTable& levels);

/// Gives each transparent pixel of a GL_RGBA image that `isHole` holds for the colour of a neighbour that is not
/// transparent, where there is one.
template <typename IsHole>
void ColorHoles(unsigned char* rgba, std::size_t width, std::size_t height, const IsHole& isHole) {
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            unsigned char* const pixel = rgba + (y * width + x) * 4;
            if (pixel[3] != 0 || !isHole(pixel)) {
                continue;
            }
            const auto takeFrom = [&](std::size_t column, std::size_t row) {
                const unsigned char* const neighbor = rgba + (row * width + column) * 4;
                if (neighbor[3] == 0) {
                    return false;
                }
                std::copy_n(neighbor, 3, pixel);
                return true;
            };
            [[maybe_unused]] const bool taken =
                (x > 0 && takeFrom(x - 1, y)) || (x + 1 < width && takeFrom(x + 1, y)) ||
                (y > 0 && takeFrom(x, y - 1)) || (y + 1 < height && takeFrom(x, y + 1)) ||
                (x > 0 && y > 0 && takeFrom(x - 1, y - 1)) || (x + 1 < width && y > 0 && takeFrom(x + 1, y - 1)) ||
                (x > 0 && y + 1 < height && takeFrom(x - 1, y + 1)) ||
                (x + 1 < width && y + 1 < height && takeFrom(x + 1, y + 1));
        }
    }
}

} // namespace KTR
