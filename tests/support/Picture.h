#pragma once

#include "ViewFixture.h"

#include <algorithm>
#include <cstdlib>

/// A picture read back from a view, lower row first.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<Pixel> pixels;

    const Pixel& At(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
    int CountDrawn(const Pixel& background = kBlack) const {
        return static_cast<int>(pixels.size()) - static_cast<int>(std::count(pixels.begin(), pixels.end(), background));
    }
};

inline Picture TakePicture(COpenGLView& view, int width, int height) {
    Picture picture{width, height,
                    std::vector<Pixel>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))};
    view.ReadBuffer(GL_BACK);
    view.ReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, picture.pixels.data());
    for (Pixel& pixel : picture.pixels) {
        pixel.a = 255;
    }
    return picture;
}

inline int LargestDifference(const Pixel& left, const Pixel& right) {
    return std::max({std::abs(left.r - right.r), std::abs(left.g - right.g), std::abs(left.b - right.b)});
}

/// How two pictures differ.
struct PictureDifference {
    int otherPixels = 0; ///< pixels that differ by more than the allowed step
    int strayPixels = 0; ///< those of them whose colour the other picture has in none of the nine places around it
};

inline PictureDifference Compare(const Picture& left, const Picture& right, int allowedStep) {
    const auto nearby = [&](const Picture& picture, int x, int y, const Pixel& wanted) {
        for (int row = std::max(y - 1, 0); row <= std::min(y + 1, picture.height - 1); ++row) {
            for (int column = std::max(x - 1, 0); column <= std::min(x + 1, picture.width - 1); ++column) {
                if (LargestDifference(picture.At(column, row), wanted) <= allowedStep) {
                    return true;
                }
            }
        }
        return false;
    };
    PictureDifference difference;
    for (int y = 0; y < left.height; ++y) {
        for (int x = 0; x < left.width; ++x) {
            if (LargestDifference(left.At(x, y), right.At(x, y)) <= allowedStep) {
                continue;
            }
            ++difference.otherPixels;
            if (!nearby(right, x, y, left.At(x, y)) || !nearby(left, x, y, right.At(x, y))) {
                ++difference.strayPixels;
            }
        }
    }
    return difference;
}
