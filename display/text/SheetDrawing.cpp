#include "SheetDrawing.h"

#include "../images/ImageDrawing.h"
#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "FontAtlas.h"
#include "GlyphSheet.h"
#include "SheetTextures.h"
#include "StringDrawing.h"

#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KTR {

namespace {

/// The text program takes pictures so far to the right for halos.
constexpr float kHaloShift = 2.0F;

/// Where the pictures of a letter go.
struct LetterPlace {
    glm::dvec3 pen{0.0};
    glm::dvec2 along{1.0, 0.0}; ///< one pixel to the right
    glm::dvec2 up{0.0, 1.0};
};

/// The letters of a string in one frame.
class FramedLetters {
public:
    FramedLetters(const TextLayout& layout, const TextFrame& frame) : m_layout(layout), m_frame(frame) {}
    std::size_t Count() const { return m_layout.glyphs.size(); }
    unsigned int Glyph(std::size_t index) const { return m_layout.glyphs[index].glyph; }
    LetterPlace Place(std::size_t index) const {
        const PlacedGlyph& glyph = m_layout.glyphs[index];
        const glm::dvec2 shift = glyph.x * m_frame.along + glyph.y * m_frame.up;
        return {m_frame.place + glm::dvec3(shift, 0.0), m_frame.along, m_frame.up};
    }
    const PlacedGlyph& InString(std::size_t index) const { return m_layout.glyphs[index]; }
    const TextFrame& Frame() const { return m_frame; }

private:
    const TextLayout& m_layout;
    const TextFrame& m_frame;
};

/// Letters with places of their own.
class TurnedLetters {
public:
    explicit TurnedLetters(std::span<const PlacedLetter> letters) : m_letters(letters) {}
    std::size_t Count() const { return m_letters.size(); }
    unsigned int Glyph(std::size_t index) const { return m_letters[index].glyph; }
    LetterPlace Place(std::size_t index) const {
        return {m_letters[index].pen, m_letters[index].along, m_letters[index].up};
    }

private:
    std::span<const PlacedLetter> m_letters;
};

/// A rectangle in pixels from its pen.
struct Box {
    double left = 0.0;
    double bottom = 0.0;
    double width = 0.0;
    double height = 0.0;
};

/// Lines under and through a string, all ink.
struct TextLines {
    const SheetGlyph* ink = nullptr;
    LetterPlace place;
    int count = 0;
    Box boxes[2];
    Box halos[2];
};

/// What a string comes to: pictures of its halos, and over them those of its letters. Either may be without pixels.
template <typename Letters> struct SheetString {
    GlyphSheet& sheet;
    const Letters& letters;
    bool smooth = false;
    int haloQuarters = 0;
    TextLines lines;

    /// Finds the pictures; false when the sheet is full.
    bool FindPictures() {
        GlyphSheet::Scratch& scratch = sheet.DrawingScratch();
        scratch.letters.clear();
        scratch.halos.clear();
        for (std::size_t index = 0; index < letters.Count(); ++index) {
            const unsigned int glyph = letters.Glyph(index);
            const SheetGlyph* const letter = sheet.Find({glyph, smooth, 0});
            const SheetGlyph* const halo = haloQuarters > 0 ? sheet.Find({glyph, smooth, haloQuarters}) : letter;
            if (!letter || !halo) {
                return false;
            }
            scratch.letters.push_back(letter);
            if (haloQuarters > 0) {
                scratch.halos.push_back(halo);
            }
        }
        return true;
    }
};

int HaloQuarters(const TextLook& look) {
    return look.HasHalo() ? std::max(static_cast<int>(std::lround(look.haloWidth * 4.0)), 1) : 0;
}

/// Calls `collect`, and once more with an empty sheet when the sheet was full.
template <typename Collect> long Gather(GlyphSheet& sheet, const Collect& collect) {
    if (collect()) {
        return S_OK;
    }
    sheet.Clear();
    return collect() ? S_OK : E_OUTOFMEMORY;
}

/// Corners of a box relative to the batch's origin, with a part of the sheet: `inset` texels within the picture.
GlyphQuad QuadOf(const LetterPlace& place, const Box& box, const SheetGlyph& source, double inset,
                 const glm::dvec2& texel, const glm::dvec3& origin) {
    const glm::dvec3 pen = place.pen - origin;
    const glm::dvec2 lower = glm::dvec2(pen) + box.left * place.along + box.bottom * place.up;
    const glm::dvec2 right = box.width * place.along;
    const glm::dvec2 up = box.height * place.up;
    return {glm::vec2(lower),
            glm::vec2(lower + right),
            glm::vec2(lower + up),
            glm::vec2(lower + right + up),
            static_cast<float>(pen.z),
            static_cast<float>((source.x + inset) * texel.x),
            static_cast<float>((source.x + source.width - inset) * texel.x),
            static_cast<float>((source.y + inset) * texel.y),
            static_cast<float>((source.y + source.height - inset) * texel.y)};
}

/// Calls `add(quad, isHalo)` for everything of a string, the halos first.
template <typename Letters, typename Add>
void AddQuads(const SheetString<Letters>& string, const glm::dvec3& origin, const Add& add) {
    const GlyphSheet::Scratch& scratch = string.sheet.DrawingScratch();
    const glm::dvec2 texel(1.0 / string.sheet.Width(), 1.0 / string.sheet.Height());
    // Where pictures do not lie on the pixels their outermost half pixel is for the edge to fade over.
    const double fade = string.smooth ? kFade : 0.0;
    for (const bool halo : {true, false}) {
        for (int line = 0; line < string.lines.count; ++line) {
            const Box& box = halo ? string.lines.halos[line] : string.lines.boxes[line];
            if (box.height > 0.0) {
                add(QuadOf(string.lines.place, box, *string.lines.ink, 0.5, texel, origin), halo);
            }
        }
        const std::vector<const SheetGlyph*>& pictures = halo ? scratch.halos : scratch.letters;
        for (std::size_t index = 0; index < pictures.size(); ++index) {
            const SheetGlyph& picture = *pictures[index];
            if (picture.width > 0) {
                const Box box{picture.left - fade, picture.bottom - fade, picture.width + 2.0 * fade,
                              picture.height + 2.0 * fade};
                add(QuadOf(string.letters.Place(index), box, picture, -fade, texel, origin), halo);
            }
        }
    }
}

template <typename Letters> void DrawWithProgram(COpenGLView& view, const SheetTexture& names,
                                                 const SheetString<Letters>& string, const glm::dvec3& place) {
    TextFrame frame;
    frame.place = place;
    frame.plain = !string.smooth;
    const glm::dvec3 origin = OpenTextBatch(view, {names.texture, names.sampler}, frame);
    AddQuads(string, origin, [&view](GlyphQuad quad, bool halo) {
        if (halo) {
            quad.s0 += kHaloShift;
            quad.s1 += kHaloShift;
        }
        AddGlyph(view, quad);
    });
    CloseTextBatch(view, string.letters.Count() > 0);
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

template <typename Letters> void DrawWithFixedFunctions(COpenGLView& view, unsigned int texture,
                                                        const SheetString<Letters>& string, const glm::dvec3& place) {
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
    AddQuads(string, place, [&](const GlyphQuad& quad, bool halo) {
        const GLRGBAColor& of = halo ? haloColor : color;
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
    });
    view.EndArrays();
    ViewAccess::CallGL(view); // where draws are shared it waits
}

template <typename Letters> long Draw(COpenGLView& view, const SheetString<Letters>& string, const glm::dvec3& place) {
    if (string.sheet.Height() == 0) {
        return S_OK; // blanks only, and nothing before them
    }
    const SheetTexture names = UploadSheet(view, string.sheet);
    if (names.texture == 0) {
        return ViewAccess::HasCurrentContext(view) ? E_OUTOFMEMORY : S_OK;
    }
    if (view.DrawsWithPrograms()) {
        DrawWithProgram(view, names, string, place);
    } else if (string.letters.Count() > 0) {
        DrawWithFixedFunctions(view, names.texture, string, place);
    }
    return S_OK;
}

/// The lines under and through a string, which reach from its place to the end of its last glyph. False when the sheet
/// is full.
bool FindLines(const FontParameters& font, double haloWidth, SheetString<FramedLetters>& string) {
    string.lines = {};
    if (!font.underline && !font.strikeout) {
        return true;
    }
    double right = 0.0;
    double lowest = 0.0;
    double highest = 0.0;
    const std::vector<const SheetGlyph*>& pictures = string.sheet.DrawingScratch().letters;
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        const SheetGlyph& picture = *pictures[index];
        if (picture.width > 0) {
            const PlacedGlyph& letter = string.letters.InString(index);
            right = std::max(right, letter.x + picture.left + picture.width);
            lowest = std::min(lowest, letter.y + picture.bottom);
            highest = std::max(highest, letter.y + picture.bottom + picture.height);
        }
    }
    TextLines& lines = string.lines;
    lines.ink = string.sheet.FindInk();
    if (!lines.ink) {
        return false;
    }
    const TextFrame& frame = string.letters.Frame();
    lines.place = {frame.place, frame.along, frame.up};
    const double margin = std::round(haloWidth);
    const auto add = [&](double height) {
        const Box line{0.0, std::floor(height), right, 1.0};
        lines.boxes[lines.count] = line;
        if (haloWidth > 0.0) {
            lines.halos[lines.count] = {-margin, line.bottom - margin, right + 2.0 * margin, 1.0 + 2.0 * margin};
        }
        ++lines.count;
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

const TextLayout* LayOut(CFTGLFontAtlas& atlas, const wchar_t* text, bool shaping) {
    GlyphSheet* const sheet = atlas.GetSheet();
    if (!sheet) {
        return nullptr;
    }
    try {
        return shaping ? &sheet->LayOutShaped(text)
                       : &sheet->LayOutPlain(*atlas.GetAtlasMetrics(), atlas.GetKerning(), text);
    } catch (...) {
        DropCaught();
        return nullptr;
    }
}

long DrawSheetString(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text, const TextFrame& frame,
                     double* advance) {
    const TextLook& look = ViewAccess::Text(view).look;
    const TextLayout* const layout = LayOut(atlas, text, look.shaping);
    if (!layout) {
        return E_OUTOFMEMORY;
    }
    if (advance) {
        *advance = layout->advance;
    }
    GlyphSheet& sheet = *atlas.GetSheet();
    try {
        const FramedLetters letters(*layout, frame);
        SheetString<FramedLetters> string{sheet, letters, !frame.plain, HaloQuarters(look), {}};
        const double haloWidth = look.HasHalo() ? look.haloWidth : 0.0;
        const long result = Gather(
            sheet, [&] { return string.FindPictures() && FindLines(atlas.GetFontParameters(), haloWidth, string); });
        return result == S_OK ? Draw(view, string, frame.place) : result;
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

long DrawLetters(COpenGLView& view, CFTGLFontAtlas& atlas, std::span<const PlacedLetter> letters) {
    if (letters.empty()) {
        return S_OK;
    }
    GlyphSheet& sheet = *atlas.GetSheet();
    try {
        const TurnedLetters turned(letters);
        SheetString<TurnedLetters> string{sheet, turned, true, HaloQuarters(ViewAccess::Text(view).look), {}};
        const long result = Gather(sheet, [&] { return string.FindPictures(); });
        return result == S_OK ? Draw(view, string, letters.front().pen) : result;
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

long MeasureShaped(CFTGLFontAtlas& atlas, const wchar_t* text, double& width, double& height) {
    const TextLayout* const layout = LayOut(atlas, text, true);
    if (!layout) {
        return E_OUTOFMEMORY;
    }
    GlyphSheet& sheet = *atlas.GetSheet();
    width = layout->advance;
    height = 0.0;
    try {
        for (const PlacedGlyph& glyph : layout->glyphs) {
            height = std::max(height, static_cast<double>(sheet.HeightOf(glyph.glyph)));
        }
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

} // namespace KTR
