#include "TextShaper.h"

#include "../platform/Border.h"
#include "BidiLevels.h"
#include "FontFace.h"
#include "FontMemory.h"

#include <hb.h>

#include FT_TRUETYPE_TABLES_H

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace KTR {

/// A face, and what HarfBuzz has asked of its glyphs: to load one takes some microseconds, or any time if it was made
/// for that, and a text may have it half a million times.
struct ShapedFace {
    struct Measure {
        bool isKnown = false;
        bool isThere = false;
        hb_position_t advance = 0;
        hb_glyph_extents_t extents{};
    };

    FT_Face face = nullptr;
    std::vector<Measure> measures{}; ///< of glyphs

    const Measure& Of(unsigned int glyph);
};

const ShapedFace::Measure& ShapedFace::Of(unsigned int glyph) {
    static constexpr Measure kNone{};
    if (glyph >= static_cast<unsigned int>(face->num_glyphs)) {
        return kNone;
    }
    if (measures.empty() && !AtTheBorder([this] { measures.resize(static_cast<std::size_t>(face->num_glyphs)); })) {
        return kNone;
    }
    Measure& found = measures[glyph];
    if (!found.isKnown) {
        const FT_Error error = LoadGlyph(face, glyph, kAtlasLoadFlags & ~FT_LOAD_RENDER);
        found.isKnown = error != FT_Err_Out_Of_Memory;
        found.isThere = error == 0;
        if (found.isThere) {
            const FT_Glyph_Metrics& metrics = face->glyph->metrics;
            // As it is drawn: whole pixels.
            found.advance = static_cast<hb_position_t>(face->glyph->advance.x >> kFractionBits << kFractionBits);
            found.extents = {static_cast<hb_position_t>(metrics.horiBearingX),
                             static_cast<hb_position_t>(metrics.horiBearingY),
                             static_cast<hb_position_t>(metrics.width), static_cast<hb_position_t>(-metrics.height)};
        }
    }
    return found;
}

namespace {

static_assert(sizeof(wchar_t) == sizeof(std::uint16_t), "strings are UTF-16");

constexpr double kPositionsPerPixel = 64.0;

FT_Face FaceOf(void* data) {
    return static_cast<ShapedFace*>(data)->face;
}

/// Hands HarfBuzz a table of the font.
hb_blob_t* LoadTable(hb_face_t*, hb_tag_t tag, void* data) {
    FT_ULong length = 0;
    if (FT_Load_Sfnt_Table(FaceOf(data), tag, 0, nullptr, &length) != 0) {
        return nullptr;
    }
    auto* const bytes = static_cast<FT_Byte*>(std::malloc(length));
    if (!bytes || FT_Load_Sfnt_Table(FaceOf(data), tag, 0, bytes, &length) != 0) {
        std::free(bytes);
        return nullptr;
    }
    return hb_blob_create(reinterpret_cast<const char*>(bytes), static_cast<unsigned int>(length),
                          HB_MEMORY_MODE_WRITABLE, bytes, std::free);
}

hb_bool_t FindGlyph(hb_font_t*, void* data, hb_codepoint_t character, hb_codepoint_t* glyph, void*) {
    *glyph = GlyphOfCharacter(FaceOf(data), character);
    return *glyph != 0;
}

hb_position_t Advance(hb_font_t*, void* data, hb_codepoint_t glyph, void*) {
    return static_cast<ShapedFace*>(data)->Of(glyph).advance;
}

/// HarfBuzz places marks by these in fonts that do not say where they go.
hb_bool_t Extents(hb_font_t*, void* data, hb_codepoint_t glyph, hb_glyph_extents_t* extents, void*) {
    const ShapedFace::Measure& measure = static_cast<ShapedFace*>(data)->Of(glyph);
    if (measure.isThere) {
        *extents = measure.extents;
    }
    return measure.isThere;
}

/// What HarfBuzz asks of a font; made once and kept by the process.
hb_font_funcs_t* FontFunctions() {
    static hb_font_funcs_t* const functions = [] {
        hb_font_funcs_t* made = hb_font_funcs_create();
        hb_font_funcs_set_nominal_glyph_func(made, FindGlyph, nullptr, nullptr);
        hb_font_funcs_set_glyph_h_advance_func(made, Advance, nullptr, nullptr);
        hb_font_funcs_set_glyph_extents_func(made, Extents, nullptr, nullptr);
        hb_font_funcs_make_immutable(made);
        return made;
    }();
    return functions;
}

hb_font_t* MakeFont(ShapedFace& shaped) {
    const FT_Face face = shaped.face;
    hb_face_t* const tables = hb_face_create_for_tables(LoadTable, &shaped, nullptr);
    hb_face_set_upem(tables, face->units_per_EM);
    hb_face_set_glyph_count(tables, static_cast<unsigned int>(face->num_glyphs));
    hb_font_t* const font = hb_font_create(tables);
    hb_face_destroy(tables);
    hb_font_set_funcs(font, FontFunctions(), &shaped, nullptr);
    const FT_Size_Metrics& size = face->size->metrics;
    const auto em = [&](FT_Fixed scale) { return static_cast<int>(FT_MulFix(face->units_per_EM, scale)); };
    hb_font_set_scale(font, em(size.x_scale), em(size.y_scale));
    hb_font_set_ppem(font, size.x_ppem, size.y_ppem);
    return font;
}

/// Classes of what a script does not decide.
BidiClass ClassByCategory(hb_codepoint_t character, hb_unicode_general_category_t category) {
    switch (category) {
    case HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK:
        return BidiClass::Mark;
    case HB_UNICODE_GENERAL_CATEGORY_SPACE_SEPARATOR:
        return character == 0xA0 ? BidiClass::NumberSeparator : BidiClass::Blank;
    case HB_UNICODE_GENERAL_CATEGORY_CURRENCY_SYMBOL:
        return BidiClass::NumberTerminator;
    case HB_UNICODE_GENERAL_CATEGORY_DECIMAL_NUMBER:
        if (character >= 0x660 && character <= 0x669) {
            return BidiClass::ArabicNumber;
        }
        return character <= L'9' || (character >= 0x6F0 && character <= 0x6F9) ? BidiClass::EuropeanNumber
                                                                               : BidiClass::LeftToRight;
    default:
        return BidiClass::Other;
    }
}

bool IsLetter(hb_unicode_general_category_t category) {
    return category == HB_UNICODE_GENERAL_CATEGORY_UPPERCASE_LETTER ||
           category == HB_UNICODE_GENERAL_CATEGORY_LOWERCASE_LETTER ||
           category == HB_UNICODE_GENERAL_CATEGORY_TITLECASE_LETTER ||
           category == HB_UNICODE_GENERAL_CATEGORY_MODIFIER_LETTER ||
           category == HB_UNICODE_GENERAL_CATEGORY_OTHER_LETTER || category == HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK;
}

BidiClass ClassOf(hb_unicode_funcs_t* unicode, hb_codepoint_t character) {
    switch (character) {
    case L'+':
    case L'-':
    case 0x2212: // the minus sign
        return BidiClass::NumberSign;
    case L',':
    case L'.':
    case L'/':
    case L':':
        return BidiClass::NumberSeparator;
    case L'#':
    case L'%':
    case 0xB0: // degrees
    case 0xB1: // plus-minus
        return BidiClass::NumberTerminator;
    case 0x200E: // the marks that have a direction and nothing else
        return BidiClass::LeftToRight;
    case 0x200F:
        return BidiClass::RightToLeft;
    case 0x61C:
        return BidiClass::ArabicLetter;
    default:
        break;
    }
    const hb_unicode_general_category_t category = hb_unicode_general_category(unicode, character);
    if (const BidiClass is = ClassByCategory(character, category); is != BidiClass::Other) {
        return is;
    }
    if (!IsLetter(category)) {
        return BidiClass::Other;
    }
    const hb_script_t script = hb_unicode_script(unicode, character);
    if (hb_script_get_horizontal_direction(script) != HB_DIRECTION_RTL) {
        return BidiClass::LeftToRight;
    }
    const bool arabic = script == HB_SCRIPT_ARABIC || script == HB_SCRIPT_SYRIAC || script == HB_SCRIPT_THAANA;
    return arabic ? BidiClass::ArabicLetter : BidiClass::RightToLeft;
}

/// What is known of each UTF-16 unit; both halves of a pair have what the character has.
struct Characters {
    std::vector<BidiClass> classes;
    std::vector<hb_script_t> scripts;
};

bool IsHighHalf(wchar_t unit) {
    return (unit & 0xFC00) == 0xD800;
}

bool IsLowHalf(wchar_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

/// Characters of no script of their own go with those before them, or with the first that has one.
void SettleScripts(std::vector<hb_script_t>& scripts) {
    hb_script_t current = HB_SCRIPT_COMMON;
    const auto isSettled = [](hb_script_t script) {
        return script != HB_SCRIPT_COMMON && script != HB_SCRIPT_INHERITED && script != HB_SCRIPT_UNKNOWN;
    };
    for (const hb_script_t script : scripts) {
        if (isSettled(script)) {
            current = script;
            break;
        }
    }
    for (hb_script_t& script : scripts) {
        current = isSettled(script) ? script : current;
        script = current;
    }
}

Characters Describe(std::wstring_view text) {
    hb_unicode_funcs_t* const unicode = hb_unicode_funcs_get_default();
    Characters characters;
    characters.classes.reserve(text.size());
    characters.scripts.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        const wchar_t unit = text[index];
        const bool pair = IsHighHalf(unit) && index + 1 < text.size() && IsLowHalf(text[index + 1]);
        hb_codepoint_t character = unit;
        if (pair) {
            ++index;
            character = 0x10000 + ((static_cast<hb_codepoint_t>(unit) & 0x3FF) << 10) + (text[index] & 0x3FFU);
        }
        const BidiClass is = ClassOf(unicode, character);
        const hb_script_t script = hb_unicode_script(unicode, character);
        characters.classes.insert(characters.classes.end(), pair ? 2 : 1, is);
        characters.scripts.insert(characters.scripts.end(), pair ? 2 : 1, script);
    }
    SettleScripts(characters.scripts);
    return characters;
}

} // namespace

TextShaper::TextShaper(FT_FaceRec_* face)
    : m_face(new ShapedFace{face}), m_font(MakeFont(*m_face)), m_buffer(hb_buffer_create()) {}

TextShaper::~TextShaper() {
    hb_buffer_destroy(m_buffer);
    hb_font_destroy(m_font);
}

TextLayout TextShaper::Shape(std::wstring_view text) {
    const Characters characters = Describe(text);
    const std::vector<unsigned char> levels = BidiLevels(characters.classes);
    TextLayout layout;
    double pen = 0.0;
    for (const LevelRun& run : RunsFromLeft(levels)) {
        const bool rightToLeft = run.level % 2 != 0;
        // Within it the scripts, from the left.
        std::size_t first = run.first;
        std::size_t end = run.first + run.count;
        while (first < end) {
            if (rightToLeft) {
                std::size_t from = end - 1;
                while (from > first && characters.scripts[from - 1] == characters.scripts[end - 1]) {
                    --from;
                }
                ShapeRun(text, from, end - from, characters.scripts[from], true, pen, layout);
                end = from;
            } else {
                std::size_t to = first + 1;
                while (to < end && characters.scripts[to] == characters.scripts[first]) {
                    ++to;
                }
                ShapeRun(text, first, to - first, characters.scripts[first], false, pen, layout);
                first = to;
            }
        }
    }
    layout.advance = std::floor(pen / kPositionsPerPixel + 0.5);
    return layout;
}

/// Shapes a stretch of one script and direction. The whole text goes along, since letters join across stretches.
void TextShaper::ShapeRun(std::wstring_view text, std::size_t first, std::size_t count, unsigned int script,
                          bool rightToLeft, double& pen, TextLayout& layout) {
    hb_buffer_clear_contents(m_buffer);
    hb_buffer_add_utf16(m_buffer, reinterpret_cast<const std::uint16_t*>(text.data()), static_cast<int>(text.size()),
                        static_cast<unsigned int>(first), static_cast<int>(count));
    hb_buffer_set_direction(m_buffer, rightToLeft ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
    hb_buffer_set_script(m_buffer, static_cast<hb_script_t>(script));
    hb_shape(m_font, m_buffer, nullptr, 0);
    unsigned int glyphCount = 0;
    const hb_glyph_info_t* const glyphs = hb_buffer_get_glyph_infos(m_buffer, &glyphCount);
    const hb_glyph_position_t* const places = hb_buffer_get_glyph_positions(m_buffer, &glyphCount);
    const auto pixels = [](double position) { return std::floor(position / kPositionsPerPixel + 0.5); };
    for (unsigned int index = 0; index < glyphCount; ++index) {
        const hb_glyph_position_t& place = places[index];
        layout.glyphs.push_back({glyphs[index].codepoint, pixels(pen + place.x_offset), pixels(place.y_offset),
                                 place.x_advance / kPositionsPerPixel});
        pen += place.x_advance;
    }
}

} // namespace KTR
