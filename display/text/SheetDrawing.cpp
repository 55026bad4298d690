#include "SheetDrawing.h"

#include "../images/ImageDrawing.h"
#include "../view/ViewAccess.h"
#include "FontAtlas.h"
#include "GlyphSheet.h"
#include "SheetTextures.h"
#include "StringDrawing.h"

#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <optional>
#include <vector>

namespace KTR {

namespace {

/// The text program takes pictures so far to the right for halos.
constexpr float kHaloShift = 2.0F;

constexpr double kUnderlineGap = 2.0;

/// A picture of the sheet with the four corners of where it goes.
struct Picture {
    const SheetGlyph* source = nullptr;
    bool halo = false;
    glm::dvec3 pen{0.0};
    glm::dvec2 along{1.0, 0.0};
    glm::dvec2 up{0.0, 1.0};
    // In pixels from the pen.
    double left = 0.0;
    double bottom = 0.0;
    double width = 0.0;
    double height = 0.0;
};

/// What a string comes to: its halos, and over them its letters.
struct SheetString {
    std::vector<Picture> halos;
    std::vector<Picture> letters;
    bool smooth = false;
};

int HaloQuarters(const TextLook& look) {
    return look.HasHalo() ? std::max(static_cast<int>(std::lround(look.haloWidth * 4.0)), 1) : 0;
}

Picture PictureOf(const SheetGlyph& glyph, const PlacedLetter& letter, bool halo) {
    return {&glyph,     halo,         letter.pen,          letter.along,        letter.up,
            glyph.left, glyph.bottom, double(glyph.width), double(glyph.height)};
}

/// False when the sheet is full.
bool AddLetters(GlyphSheet& sheet, std::span<const PlacedLetter> letters, int haloQuarters, SheetString& string) {
    for (const PlacedLetter& letter : letters) {
        const SheetGlyph* const glyph = sheet.Find({letter.glyph, string.smooth, 0});
        if (!glyph) {
            return false;
        }
        if (glyph->width == 0) {
            continue;
        }
        string.letters.push_back(PictureOf(*glyph, letter, false));
        if (haloQuarters > 0) {
            const SheetGlyph* const halo = sheet.Find({letter.glyph, string.smooth, haloQuarters});
            if (!halo) {
                return false;
            }
            string.halos.push_back(PictureOf(*halo, letter, true));
        }
    }
    return true;
}

/// Calls `collect` on an empty string, and once more after the sheet was full.
template <typename Collect> long Gather(GlyphSheet& sheet, SheetString& string, const Collect& collect) {
    for (const bool again : {false, true}) {
        if (again) {
            sheet.Clear();
        }
        string.halos.clear();
        string.letters.clear();
        if (collect()) {
            return S_OK;
        }
    }
    return E_OUTOFMEMORY;
}

/// Texture coordinates and corners of a picture, whose outermost half pixel is for the edge to fade over where it does
/// not lie on the pixels.
GlyphQuad QuadOf(const Picture& picture, const GlyphSheet& sheet, bool smooth, const glm::dvec3& origin) {
    const SheetGlyph& source = *picture.source;
    const bool spot = picture.width != source.width || picture.height != source.height;
    const double fade = smooth && !spot ? kFade : 0.0;
    const double inset = spot ? 0.5 : -fade;
    const glm::dvec3 pen = picture.pen - origin;
    const auto at = [&](double x, double y) { return glm::vec2(glm::dvec2(pen) + x * picture.along + y * picture.up); };
    const double left = picture.left - fade;
    const double right = picture.left + picture.width + fade;
    const double bottom = picture.bottom - fade;
    const double top = picture.bottom + picture.height + fade;
    return {at(left, bottom),
            at(right, bottom),
            at(left, top),
            at(right, top),
            static_cast<float>(pen.z),
            static_cast<float>((source.x + inset) / sheet.Width()),
            static_cast<float>((source.x + source.width - inset) / sheet.Width()),
            static_cast<float>((source.y + inset) / sheet.Height()),
            static_cast<float>((source.y + source.height - inset) / sheet.Height())};
}

void DrawWithProgram(COpenGLView& view, const GlyphSheet& sheet, const SheetTexture& names, const SheetString& string,
                     const glm::dvec3& place) {
    TextFrame frame;
    frame.place = place;
    frame.plain = !string.smooth;
    const glm::dvec3 origin = OpenTextBatch(view, {names.texture, names.sampler}, frame);
    for (const std::vector<Picture>* pictures : {&string.halos, &string.letters}) {
        for (const Picture& picture : *pictures) {
            GlyphQuad quad = QuadOf(picture, sheet, string.smooth, origin);
            if (picture.halo) {
                quad.s0 += kHaloShift;
                quad.s1 += kHaloShift;
            }
            AddGlyph(view, quad);
        }
    }
    CloseTextBatch(view, !string.letters.empty());
}

/// Lets what is drawn over halos of the same depth show, as the text program does.
class DepthsAlike {
public:
    explicit DepthsAlike(const GLCalls& gl) : m_gl(gl) {
        m_gl.glGetIntegerv(GL_DEPTH_FUNC, &m_before);
        if (m_before == GL_LESS) {
            m_gl.glDepthFunc(GL_LEQUAL);
        }
    }
    ~DepthsAlike() {
        if (m_before == GL_LESS) {
            m_gl.glDepthFunc(GL_LESS);
        }
    }
    DepthsAlike(const DepthsAlike&) = delete;
    DepthsAlike& operator=(const DepthsAlike&) = delete;

private:
    GLCalls m_gl;
    GLint m_before = GL_LESS;
};

void DrawWithFixedFunctions(COpenGLView& view, const GlyphSheet& sheet, unsigned int texture, const SheetString& string,
                            const glm::dvec3& place) {
    const GLAttributes& attributes = ViewAccess::CurrentRecord(view).attributes;
    const auto colorOf = [&](const GLRGBAColor& color) {
        const int alpha = color.a * attributes.textTransparency / 255;
        return GLRGBAColor{color.r, color.g, color.b, static_cast<unsigned char>(alpha)};
    };
    const GLRGBAColor haloColor = colorOf(ViewAccess::Text(view).look.haloColor);
    const GLRGBAColor color = colorOf(attributes.currentColor);
    const int filter = !string.smooth && MapsToPixels(view) ? GL_NEAREST : GL_LINEAR;
    const ImageDrawing drawing(view, place, texture, 0, GLShaderTextureDecal);
    const DepthsAlike depths(ViewAccess::CallGL(view));
    for (const unsigned int name : {GL_TEXTURE_MAG_FILTER, GL_TEXTURE_MIN_FILTER}) {
        view.TexParameter(GL_TEXTURE_2D, name, filter);
    }
    BeginQuadrilaterals(view);
    for (const std::vector<Picture>* pictures : {&string.halos, &string.letters}) {
        for (const Picture& picture : *pictures) {
            const GLRGBAColor& of = picture.halo ? haloColor : color;
            const GlyphQuad quad = QuadOf(picture, sheet, string.smooth, place);
            const auto add = [&](const glm::vec2& corner, float s, float t) {
                view.AddTextureDataCurrentIndex(s, t);
                view.AddIndex3DVertexRGBA(corner.x, corner.y, quad.z, of.r, of.g, of.b, of.a);
            };
            add(quad.lowerLeft, quad.s0, quad.t1);
            add(quad.lowerRight, quad.s1, quad.t1);
            add(quad.upperLeft, quad.s0, quad.t0);
            add(quad.lowerRight, quad.s1, quad.t1);
            add(quad.upperLeft, quad.s0, quad.t0);
            add(quad.upperRight, quad.s1, quad.t0);
        }
    }
    view.EndArrays();
    ViewAccess::CallGL(view); // where draws are shared it waits
}

long Draw(COpenGLView& view, const GlyphSheet& sheet, const SheetString& string, const glm::dvec3& place) {
    if (sheet.Height() == 0) {
        return S_OK; // blanks only, and nothing before them
    }
    const SheetTexture names = UploadSheet(view, sheet);
    if (names.texture == 0) {
        return ViewAccess::HasCurrentContext(view) ? E_OUTOFMEMORY : S_OK;
    }
    if (view.DrawsWithPrograms()) {
        DrawWithProgram(view, sheet, names, string, place);
    } else if (!string.letters.empty()) {
        DrawWithFixedFunctions(view, sheet, names.texture, string, place);
    }
    return S_OK;
}

/// The lines under and through a string, which reach from its place to the end of its last glyph.
bool AddLines(GlyphSheet& sheet, const FontParameters& font, const TextFrame& frame, double haloWidth,
              SheetString& string) {
    if (!font.underline && !font.strikeout) {
        return true;
    }
    double right = 0.0;
    double lowest = 0.0;
    double highest = 0.0;
    for (const Picture& letter : string.letters) {
        const glm::dvec2 from(letter.pen - frame.place);
        const double x = glm::dot(from, frame.along) / glm::dot(frame.along, frame.along);
        right = std::max(right, x + letter.left + letter.width);
        lowest = std::min(lowest, letter.bottom);
        highest = std::max(highest, letter.bottom + letter.height);
    }
    const SheetGlyph* const ink = sheet.FindInk();
    if (!ink) {
        return false;
    }
    const auto add = [&](double height) {
        const Picture line{ink, false, frame.place, frame.along, frame.up, 0.0, std::floor(height), right, 1.0};
        string.letters.push_back(line);
        if (haloWidth > 0.0) {
            const double margin = std::round(haloWidth);
            string.halos.push_back({ink, true, frame.place, frame.along, frame.up, -margin, line.bottom - margin,
                                    right + 2.0 * margin, 1.0 + 2.0 * margin});
        }
    };
    if (font.underline) {
        add(lowest - kUnderlineGap);
    }
    if (font.strikeout) {
        add((lowest + highest) * 0.5);
    }
    return true;
}

} // namespace

bool NeedsSheet(COpenGLView& view) {
    const TextLook& look = ViewAccess::Text(view).look;
    return look.shaping || look.HasHalo();
}

const TextLayout* LayOut(CFTGLFontAtlas& atlas, const wchar_t* text, bool shaping, TextLayout& own) {
    GlyphSheet* const sheet = atlas.GetSheet();
    if (!sheet) {
        return nullptr;
    }
    try {
        if (shaping) {
            return sheet->LayOutShaped(text);
        }
        own = sheet->LayOutPlain(*atlas.GetAtlasMetrics(), atlas.GetKerning(), text);
        return &own;
    } catch (const std::exception&) {
        return nullptr;
    }
}

long DrawSheetString(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text, const TextFrame& frame,
                     double* advance) {
    const TextLook& look = ViewAccess::Text(view).look;
    TextLayout own;
    const TextLayout* const layout = LayOut(atlas, text, look.shaping, own);
    if (!layout) {
        return E_OUTOFMEMORY;
    }
    if (advance) {
        *advance = layout->advance;
    }
    GlyphSheet& sheet = *atlas.GetSheet();
    try {
        std::vector<PlacedLetter> letters;
        letters.reserve(layout->glyphs.size());
        for (const PlacedGlyph& glyph : layout->glyphs) {
            const glm::dvec2 shift = glyph.x * frame.along + glyph.y * frame.up;
            letters.push_back({glyph.glyph, frame.place + glm::dvec3(shift, 0.0), frame.along, frame.up});
        }
        SheetString string;
        string.smooth = !frame.plain;
        const long result = Gather(sheet, string, [&] {
            return AddLetters(sheet, letters, HaloQuarters(look), string) &&
                   AddLines(sheet, atlas.GetFontParameters(), frame, look.HasHalo() ? look.haloWidth : 0.0, string);
        });
        return result == S_OK ? Draw(view, sheet, string, frame.place) : result;
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
}

long DrawLetters(COpenGLView& view, CFTGLFontAtlas& atlas, std::span<const PlacedLetter> letters) {
    if (letters.empty()) {
        return S_OK;
    }
    GlyphSheet& sheet = *atlas.GetSheet();
    try {
        SheetString string;
        string.smooth = true;
        const long result = Gather(sheet, string, [&] {
            return AddLetters(sheet, letters, HaloQuarters(ViewAccess::Text(view).look), string);
        });
        return result == S_OK ? Draw(view, sheet, string, letters.front().pen) : result;
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
}

long MeasureShaped(CFTGLFontAtlas& atlas, const wchar_t* text, double& width, double& height) {
    TextLayout own;
    const TextLayout* const layout = LayOut(atlas, text, true, own);
    if (!layout) {
        return E_OUTOFMEMORY;
    }
    GlyphSheet& sheet = *atlas.GetSheet();
    width = layout->advance;
    height = 0.0;
    try {
        for (const PlacedGlyph& glyph : layout->glyphs) {
            const SheetGlyph* picture = sheet.Find({glyph.glyph, false, 0});
            if (!picture) {
                sheet.Clear();
                picture = sheet.Find({glyph.glyph, false, 0});
            }
            height = std::max(height, picture ? static_cast<double>(picture->height) : 0.0);
        }
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

} // namespace KTR
