#include "LineText.h"

#include "../pipeline/GeometryPause.h"
#include "../view/ViewAccess.h"
#include "FontAtlas.h"
#include "LinePath.h"
#include "ListDrawing.h"
#include "MatrixScope.h"
#include "StringDrawing.h"

#include <cmath>
#include <vector>

namespace KTR {

namespace {

/// Places nearer to the eye than this part of the line's farthest count as behind it.
constexpr double kNearestShare = 1e-6;

/// From the model to the window's pixels and depths.
class WindowMapping {
public:
    explicit WindowMapping(const COpenGLView& view) {
        const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
        const std::array<int, 4>& viewport = record.attributes.viewport;
        m_corner = {viewport[0], viewport[1]};
        m_half = {viewport[2] * 0.5, viewport[3] * 0.5};
        const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
        m_clip = matrices.projection *
                 glm::translate(matrices.modelview, {-record.coordinateOffsetX, -record.coordinateOffsetY, 0.0});
    }
    glm::dvec4 Clip(const PointXYZ& place) const { return m_clip * glm::dvec4(place.x, place.y, place.z, 1.0); }
    glm::dvec3 Window(const glm::dvec4& clip) const {
        const glm::dvec3 device = glm::dvec3(clip) / clip.w;
        return {m_corner + m_half * (glm::dvec2(device) + 1.0), device.z * 0.5 + 0.5};
    }
    glm::dvec2 Low() const { return m_corner; }
    glm::dvec2 High() const { return m_corner + 2.0 * m_half; }

private:
    glm::dvec2 m_corner{0.0};
    glm::dvec2 m_half{0.0};
    glm::dmat4 m_clip{1.0};
};

bool IsFinite(const glm::dvec4& place) {
    return std::isfinite(place.x) && std::isfinite(place.y) && std::isfinite(place.z) && std::isfinite(place.w);
}

/// The pieces of a line in the window: it is cut at the eye and broken where a place is not finite.
std::vector<std::vector<glm::dvec3>> PiecesInWindow(const WindowMapping& mapping, std::span<const PointXYZ> places) {
    std::vector<glm::dvec4> clip;
    clip.reserve(places.size());
    double farthest = 0.0;
    for (const PointXYZ& place : places) {
        clip.push_back(mapping.Clip(place));
        if (IsFinite(clip.back())) {
            farthest = std::max(farthest, clip.back().w);
        }
    }
    const double nearest = farthest * kNearestShare;
    std::vector<std::vector<glm::dvec3>> pieces(1);
    const auto add = [&](const glm::dvec4& place) { pieces.back().push_back(mapping.Window(place)); };
    const auto end = [&] {
        if (!pieces.back().empty()) {
            pieces.emplace_back();
        }
    };
    for (std::size_t index = 0; index < clip.size(); ++index) {
        const glm::dvec4& place = clip[index];
        if (!IsFinite(place)) {
            end();
            continue;
        }
        const bool follows = index > 0 && IsFinite(clip[index - 1]);
        const bool visible = place.w > nearest;
        const bool visibleBefore = follows && clip[index - 1].w > nearest;
        if (follows && visible != visibleBefore) {
            const glm::dvec4& other = clip[index - 1];
            add(other + (place - other) * ((nearest - other.w) / (place.w - other.w)));
        }
        if (visible) {
            add(place);
        } else {
            end();
        }
    }
    return pieces;
}

/// A string that a line is labelled with: what its letters take, and how those of one label are drawn.
class LineString {
public:
    virtual ~LineString() = default;
    virtual const TextLayout& Layout() const = 0;
    virtual long Draw(COpenGLView& view, std::span<const PlacedLetter> letters) const = 0;
};

/// From the glyph sheet of the current font.
class SheetLineString : public LineString {
public:
    SheetLineString(CFTGLFontAtlas& atlas, const TextLayout& layout) : m_atlas(atlas), m_layout(layout) {}
    const TextLayout& Layout() const override { return m_layout; }
    long Draw(COpenGLView& view, std::span<const PlacedLetter> letters) const override {
        return DrawLetters(view, m_atlas, letters);
    }

private:
    CFTGLFontAtlas& m_atlas;
    const TextLayout& m_layout;
};

/// From outline lists; its glyphs are characters of the code page.
class OutlineLineString : public LineString {
public:
    OutlineLineString(const TextLists& lists, const wchar_t* text) : m_layout(LayOutOutlines(lists, text)) {}
    const TextLayout& Layout() const override { return m_layout; }
    long Draw(COpenGLView& view, std::span<const PlacedLetter> letters) const override {
        DrawOutlineLetters(view, letters);
        return S_OK;
    }

private:
    TextLayout m_layout;
};

long DrawPieces(COpenGLView& view, const LineString& string, const GLLineTextStyle& style, const WindowMapping& mapping,
                std::span<const PointXYZ> places) {
    long result = S_FALSE;
    const double width = string.Layout().advance;
    const MatrixScope matrices(view, WindowToClip(view.GetViewport()));
    for (const std::vector<glm::dvec3>& piece : PiecesInWindow(mapping, places)) {
        const LinePath path(piece);
        for (const double start : PlaceLabels(path, width, style, mapping.Low(), mapping.High())) {
            const std::vector<PlacedLetter> letters = PlaceAlong(path, string.Layout(), start, style);
            if (letters.empty()) {
                continue;
            }
            result = string.Draw(view, letters);
            if (result != S_OK) {
                return result;
            }
        }
    }
    return result;
}

} // namespace

long DrawStringAlongLine(COpenGLView& view, const wchar_t* text, std::span<const PointXYZ> places,
                         const GLLineTextStyle& style) {
    const GeometryPause pause(view);
    const WindowMapping mapping(view);
    CFTGLFontAtlas* const atlas = CurrentAtlas();
    if (atlas && atlas->GetAtlasMetrics() && atlas->GetFontFace()) {
        TextLayout own;
        const TextLayout* const layout = LayOut(*atlas, text, ViewAccess::Text(view).look.shaping, own);
        return layout ? DrawPieces(view, SheetLineString(*atlas, *layout), style, mapping, places) : E_OUTOFMEMORY;
    }
    const TextLists& lists = ViewAccess::CurrentRecord(view).objects.textLists;
    if (view.DrawsWithPrograms() || lists.outline == 0) {
        return E_INVALIDARG;
    }
    return DrawPieces(view, OutlineLineString(lists, text), style, mapping, places);
}

} // namespace KTR
