#pragma once

#include "ImageRows.h"

#include <vector>

namespace KTR {

/// An image of its own, rows without padding. Without pixels where only the sizes are wanted.
struct ImageLevel {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;
};

/// What an odd size becomes at half of it.
enum class Halving {
    Down, ///< as OpenGL's levels: every pixel of the smaller image stands for a little more than two
    Up,   ///< as levels of a raster file: the last one stands for what is left
};

/// The image at half its size, each pixel the mean of those it stands for. Transparent ones do not count for the
/// colour, so that none of theirs gets into what is drawn. Formats of bytes, as LoadGLImage takes them.
ImageLevel HalveImage(const ImageRows& rows, Halving halving);

/// All smaller levels that OpenGL wants of an image, down to one pixel.
std::vector<ImageLevel> SmallerLevels(const ImageRows& rows);

/// Values at half their size, the odd ones rounded up: each the mean of the four, or what there is of them, that are
/// numbers.
std::vector<float> HalveValues(const std::vector<float>& values, int width, int height);

} // namespace KTR
