#pragma once

#include "TextLayout.h"

#include <memory>
#include <string_view>

struct FT_FaceRec_;
struct hb_font_t;
struct hb_buffer_t;

namespace KTR {

struct ShapedFace;

/// Shapes strings in a face with HarfBuzz: kerning and marks as the font has them, ligatures, joined scripts, and both
/// directions of writing.
class TextShaper {
public:
    /// The face has to outlive this and keep its size. Where HarfBuzz finds no memory, strings come out empty.
    explicit TextShaper(FT_FaceRec_* face);
    ~TextShaper();
    TextShaper(const TextShaper&) = delete;
    TextShaper& operator=(const TextShaper&) = delete;

    /// Glyphs stand on whole pixels, as those of strings that are not shaped. Throws when there is no memory.
    TextLayout Shape(std::wstring_view text);

private:
    void ShapeRun(std::wstring_view text, std::size_t first, std::size_t count, unsigned int script, bool rightToLeft,
                  double& pen, TextLayout& layout);

    std::unique_ptr<ShapedFace> m_face; ///< HarfBuzz points at it
    hb_font_t* m_font;
    hb_buffer_t* m_buffer;
};

} // namespace KTR
