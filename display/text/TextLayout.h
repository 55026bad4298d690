#pragma once

// A string as glyphs side by side.

#include <string>
#include <vector>

namespace KTR {

/// One glyph of a string; places in pixels from the string's own.
struct PlacedGlyph {
    unsigned int glyph = 0; ///< the font's own number
    double x = 0.0;         ///< of its pen
    double y = 0.0;
    double advance = 0.0; ///< 0 for marks that stand on another glyph
};

struct TextLayout {
    std::vector<PlacedGlyph> glyphs; ///< from left to right, whatever direction they are read in
    double advance = 0.0;            ///< where the pen ends
};

} // namespace KTR
