#include "GlyphSheet.h"

#include "FontFace.h"
#include "FontMemory.h"
#include "FontParameters.h"
#include "KerningCache.h"
#include "SheetTextures.h"
#include "TextShaper.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace KTR {

namespace {

constexpr int kSheetSide = 1024;
constexpr int kFirstHeight = 128;

/// Around each picture, so that a linear filter finds no neighbour's ink.
constexpr int kBorder = 1;

/// Names of a map are some thousands; beyond that they are laid out anew.
constexpr std::size_t kMostLayouts = 8192;

constexpr std::size_t kCharacters = 65536;
constexpr unsigned int kNotAsked = ~0U;

/// Marks on one letter that are drawn: as many as Unicode wants texts to have at most.
constexpr int kMostMarks = 30;

/// Leaves out further ones, which lie over each other: half a million halos of them would take a quarter of a minute.
void LeaveOutMarks(std::vector<PlacedGlyph>& glyphs) {
    int marks = 0;
    std::erase_if(glyphs, [&marks](const PlacedGlyph& glyph) {
        marks = glyph.advance == 0.0 ? marks + 1 : 0;
        return marks > kMostMarks;
    });
}

/// Empty where there is nothing to see.
GlyphImage InkOf(const FT_Bitmap& bitmap) {
    GlyphImage image;
    image.width = static_cast<int>(bitmap.width);
    image.height = static_cast<int>(bitmap.rows);
    image.pixels.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    if (!image.pixels.empty()) {
        CopyBitmap(bitmap, image.pixels.data(), static_cast<std::size_t>(image.width), image.width, image.height);
    }
    if (std::ranges::all_of(image.pixels, [](unsigned char pixel) { return pixel == 0; })) {
        image = {};
    }
    return image;
}

} // namespace

GlyphSheet::GlyphSheet(FT_FaceRec_* face, int maximumTextureSize)
    : m_face(face),
      m_width(std::min(kSheetSide,
                       static_cast<int>(std::bit_floor(static_cast<unsigned int>(std::max(maximumTextureSize, 64)))))),
      m_maximumHeight(4 * m_width) {
    m_maximumHeight = std::min(
        m_maximumHeight, static_cast<int>(std::bit_floor(static_cast<unsigned int>(std::max(maximumTextureSize, 64)))));
}

GlyphSheet::~GlyphSheet() {
    ForgetSheet(*this);
}

const SheetGlyph* GlyphSheet::Find(const GlyphLook& look) {
    LookTable& table = TableOf(look);
    if (look.glyph < table.glyphs.size() && table.glyphs[look.glyph]) {
        return table.glyphs[look.glyph];
    }
    return Draw(look, table);
}

const SheetGlyph* GlyphSheet::FindInk() {
    if (m_ink) {
        return m_ink;
    }
    constexpr int side = 3;
    SheetGlyph spot;
    if (!Place({side, side, std::vector<unsigned char>(side * side, 0xFF)}, spot)) {
        return nullptr;
    }
    // Its middle: whatever filters there finds ink only.
    spot.x += 1;
    spot.y += 1;
    spot.width = 1;
    spot.height = 1;
    m_ink = &m_pictures.emplace_back(spot);
    return m_ink;
}

void GlyphSheet::Clear() {
    m_tables.clear();
    m_ink = nullptr;
    m_pictures.clear();
    m_drawn.clear();
    std::fill(m_pixels.begin(), m_pixels.end(), static_cast<unsigned char>(0));
    m_rowX = 0;
    m_rowY = 0;
    m_rowHeight = 0;
    ++m_generation;
}

int GlyphSheet::HeightOf(unsigned int glyph) {
    if (glyph >= m_heights.size()) {
        m_heights.resize(glyph + 1U, -1);
    }
    if (m_heights[glyph] < 0) {
        const bool isDrawn = LoadGlyph(m_face, glyph, kAtlasLoadFlags) == 0;
        m_heights[glyph] = isDrawn ? InkOf(m_face->glyph->bitmap).height : 0;
    }
    return m_heights[glyph];
}

const TextLayout& GlyphSheet::LayOutPlain(const FontAtlasGlyphMetrics& font, KerningCache* kerning,
                                          const wchar_t* text) {
    m_plain.glyphs.clear();
    double pen = 0.0;
    unsigned short previous = 0;
    for (; *text != L'\0'; ++text) {
        const auto code = static_cast<unsigned short>(*text);
        if (kerning && previous != 0) {
            pen += kerning->PixelsBetween(previous, code);
        }
        previous = code;
        const double advance = font.glyphs[font.characterMap[code]].advance;
        m_plain.glyphs.push_back({GlyphOf(font, *text), pen, 0.0, advance});
        pen += advance;
    }
    m_plain.advance = pen;
    LeaveOutMarks(m_plain.glyphs);
    return m_plain;
}

const TextLayout& GlyphSheet::LayOutShaped(const wchar_t* text) {
    const std::wstring key(text);
    if (const auto found = m_layouts.find(key); found != m_layouts.end()) {
        return found->second;
    }
    if (!m_shaper) {
        m_shaper = std::make_unique<TextShaper>(m_face);
    }
    if (m_layouts.size() >= kMostLayouts) {
        m_layouts.clear();
    }
    TextLayout& layout = m_layouts.emplace(key, m_shaper->Shape(key)).first->second;
    LeaveOutMarks(layout.glyphs);
    return layout;
}

GlyphSheet::LookTable& GlyphSheet::TableOf(const GlyphLook& look) {
    for (LookTable& table : m_tables) {
        if (table.smooth == look.smooth && table.haloQuarters == look.haloQuarters) {
            return table;
        }
    }
    return m_tables.emplace_back(LookTable{look.smooth, look.haloQuarters, {}});
}

/// Draws the glyph, as the atlas has it unless it is smooth. One that cannot be drawn has no pixels.
const SheetGlyph* GlyphSheet::Draw(const GlyphLook& look, LookTable& table) {
    SheetGlyph glyph;
    const FT_Int32 flags = look.smooth ? FT_LOAD_RENDER | FT_LOAD_FORCE_AUTOHINT : kAtlasLoadFlags;
    if (LoadGlyph(m_face, look.glyph, flags) == 0) {
        const FT_GlyphSlot slot = m_face->glyph;
        GlyphImage image = InkOf(slot->bitmap);
        // The atlas takes the bottom from the outline, which hinting may have left a pixel off the bitmap's.
        glyph.left = slot->bitmap_left;
        glyph.bottom = look.smooth ? slot->bitmap_top - image.height
                                   : WholePixels(slot->metrics.horiBearingY - slot->metrics.height);
        if (look.haloQuarters > 0) {
            const double width = look.haloQuarters * 0.25;
            image = HaloAround(image, width);
            glyph.left -= HaloMargin(width);
            glyph.bottom -= HaloMargin(width);
        }
        if (!Place(image, glyph)) {
            return nullptr;
        }
    }
    if (look.glyph >= table.glyphs.size()) {
        table.glyphs.resize(look.glyph + 1U);
    }
    const SheetGlyph* const picture = &m_pictures.emplace_back(glyph);
    table.glyphs[look.glyph] = picture;
    return picture;
}

/// Copies a picture into the open row, or the next one. False when it does not fit.
bool GlyphSheet::Place(const GlyphImage& image, SheetGlyph& glyph) {
    if (image.width == 0 || image.height == 0) {
        return true;
    }
    const int width = image.width + 2 * kBorder;
    const int height = image.height + 2 * kBorder;
    if (width > m_width) {
        return false;
    }
    if (m_rowX + width > m_width) {
        m_rowX = 0;
        m_rowY += m_rowHeight;
        m_rowHeight = 0;
    }
    while (m_rowY + height > m_height) {
        if (!Grow()) {
            return false;
        }
    }
    glyph.x = m_rowX + kBorder;
    glyph.y = m_rowY + kBorder;
    glyph.width = image.width;
    glyph.height = image.height;
    for (int row = 0; row < image.height; ++row) {
        std::memcpy(m_pixels.data() + static_cast<std::ptrdiff_t>(glyph.y + row) * m_width + glyph.x,
                    image.pixels.data() + static_cast<std::ptrdiff_t>(row) * image.width,
                    static_cast<std::size_t>(image.width));
    }
    m_drawn.push_back(glyph);
    m_rowX += width;
    m_rowHeight = std::max(m_rowHeight, height);
    return true;
}

bool GlyphSheet::Grow() {
    const int height = m_height == 0 ? std::min(kFirstHeight, m_maximumHeight) : 2 * m_height;
    if (height > m_maximumHeight) {
        return false;
    }
    m_pixels.resize(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(height));
    m_height = height;
    ++m_generation;
    return true;
}

/// The glyph that the atlas shows for a character: of one that the font lacks, its first character's.
unsigned int GlyphSheet::GlyphOf(const FontAtlasGlyphMetrics& font, wchar_t character) {
    const auto code = static_cast<unsigned short>(character);
    m_glyphsOfCharacters.resize(kCharacters, kNotAsked);
    unsigned int& glyph = m_glyphsOfCharacters[code];
    if (glyph != kNotAsked) {
        return glyph;
    }
    if (font.characterMap[code] != 0) {
        glyph = GlyphOfCharacter(m_face, code);
    } else {
        FT_UInt first = 0;
        FT_Get_First_Char(m_face, &first);
        glyph = first;
    }
    return glyph;
}

} // namespace KTR
