#pragma once

// Pictures of single glyphs, and the halo around one.

#include <vector>

namespace KTR {

/// Coverage of the pixels of a glyph, rows from the top without padding.
struct GlyphImage {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;
};

/// Widest halo in pixels.
inline constexpr double kWidestHalo = 32.0;

/// By how many pixels a halo of `width` pixels is larger than its glyph, on each side.
int HaloMargin(double width);

/// Everything that is within `width` pixels of a glyph's ink, the glyph included. Its edge is smooth: a pixel that a
/// halo of `width` reaches half is covered half. Throws when there is no memory.
GlyphImage HaloAround(const GlyphImage& glyph, double width);

} // namespace KTR
