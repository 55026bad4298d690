#include "GlyphSheet.h"

#include "FontFace.h"
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

/// The key of the spot that is all ink; glyphs are numbered with 16 bits.
constexpr GlyphLook kInk{0xFFFFFF, false, 0};

unsigned long long KeyOf(const GlyphLook& look) {
    return static_cast<unsigned long long>(look.glyph) << 16 | static_cast<unsigned long long>(look.smooth) << 15 |
           static_cast<unsigned long long>(look.haloQuarters);
}

GlyphImage ImageOf(const FT_Bitmap& bitmap) {
    GlyphImage image;
    image.width = static_cast<int>(bitmap.width);
    image.height = static_cast<int>(bitmap.rows);
    image.pixels.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    if (!image.pixels.empty()) {
        CopyBitmap(bitmap, image.pixels.data(), static_cast<std::size_t>(image.width), image.width, image.height);
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
    const auto found = m_glyphs.find(KeyOf(look));
    return found != m_glyphs.end() ? &found->second : Draw(look);
}

const SheetGlyph* GlyphSheet::FindInk() {
    const auto found = m_glyphs.find(KeyOf(kInk));
    if (found != m_glyphs.end()) {
        return &found->second;
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
    return &m_glyphs.emplace(KeyOf(kInk), spot).first->second;
}

void GlyphSheet::Clear() {
    m_glyphs.clear();
    m_drawn.clear();
    std::fill(m_pixels.begin(), m_pixels.end(), static_cast<unsigned char>(0));
    m_rowX = 0;
    m_rowY = 0;
    m_rowHeight = 0;
    ++m_generation;
}

TextLayout GlyphSheet::LayOutPlain(const FontAtlasGlyphMetrics& font, KerningCache* kerning, const wchar_t* text) {
    TextLayout layout;
    unsigned short previous = 0;
    for (; *text != L'\0'; ++text) {
        const auto code = static_cast<unsigned short>(*text);
        if (kerning && previous != 0) {
            layout.advance += kerning->PixelsBetween(previous, code);
        }
        previous = code;
        const double advance = font.glyphs[font.characterMap[code]].advance;
        layout.glyphs.push_back({GlyphOf(font, *text), layout.advance, 0.0, advance});
        layout.advance += advance;
    }
    return layout;
}

const TextLayout* GlyphSheet::LayOutShaped(const wchar_t* text) {
    const std::wstring key(text);
    if (const auto found = m_layouts.find(key); found != m_layouts.end()) {
        return &found->second;
    }
    if (!m_shaper) {
        m_shaper = std::make_unique<TextShaper>(m_face);
    }
    if (m_layouts.size() >= kMostLayouts) {
        m_layouts.clear();
    }
    return &m_layouts.emplace(key, m_shaper->Shape(key)).first->second;
}

/// Draws the glyph, as the atlas has it unless it is smooth. One that cannot be drawn has no pixels.
const SheetGlyph* GlyphSheet::Draw(const GlyphLook& look) {
    SheetGlyph glyph;
    const FT_Int32 flags = look.smooth ? FT_LOAD_RENDER | FT_LOAD_FORCE_AUTOHINT : kAtlasLoadFlags;
    if (FT_Load_Glyph(m_face, look.glyph, flags) == 0) {
        const FT_GlyphSlot slot = m_face->glyph;
        GlyphImage image = ImageOf(slot->bitmap);
        if (std::ranges::all_of(image.pixels, [](unsigned char pixel) { return pixel == 0; })) {
            image = {};
        }
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
    return &m_glyphs.emplace(KeyOf(look), glyph).first->second;
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
    if (font.characterMap[code] != 0) {
        return GlyphOfCharacter(m_face, code);
    }
    FT_UInt glyph = 0;
    FT_Get_First_Char(m_face, &glyph);
    return glyph;
}

} // namespace KTR
