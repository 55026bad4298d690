#include "GlyphHalo.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace KTR {

namespace {

constexpr int kFull = 255;

/// How much a pixel is covered by the halo of another one that is (x, y) away, in 255ths.
std::vector<int> CoverageAround(double width, int margin) {
    std::vector<int> around;
    for (int y = -margin; y <= margin; ++y) {
        for (int x = -margin; x <= margin; ++x) {
            const double reach = std::clamp(width + 1.0 - std::hypot(x, y), 0.0, 1.0);
            around.push_back(static_cast<int>(std::lround(reach * kFull)));
        }
    }
    return around;
}

} // namespace

int HaloMargin(double width) {
    return static_cast<int>(std::ceil(width));
}

GlyphImage HaloAround(const GlyphImage& glyph, double width) {
    const int margin = HaloMargin(width);
    GlyphImage halo;
    if (glyph.width == 0 || glyph.height == 0) {
        return halo;
    }
    halo.width = glyph.width + 2 * margin;
    halo.height = glyph.height + 2 * margin;
    halo.pixels.resize(static_cast<std::size_t>(halo.width) * static_cast<std::size_t>(halo.height));
    const std::vector<int> around = CoverageAround(width, margin);
    const int side = 2 * margin + 1;
    const unsigned char* ink = glyph.pixels.data();
    for (int y = 0; y < glyph.height; ++y) {
        for (int x = 0; x < glyph.width; ++x) {
            const int coverage = *ink++;
            if (coverage == 0) {
                continue;
            }
            const int* weight = around.data();
            for (int row = 0; row < side; ++row) {
                unsigned char* target = halo.pixels.data() + static_cast<std::ptrdiff_t>(y + row) * halo.width + x;
                for (int column = 0; column < side; ++column, ++target) {
                    const int value = *weight++ * coverage / kFull;
                    *target = std::max(*target, static_cast<unsigned char>(value));
                }
            }
        }
    }
    return halo;
}

} // namespace KTR
