#include "StyledString.h"

#include "OffsetString.h"
#include "Plane.h"
#include "PolygonFill.h"
#include "ShapeDrawing.h"
#include "SoftArea.h"
#include "Stroker.h"

#include <GL/gl.h>

#include <algorithm>
#include <limits>

namespace KTR {

using namespace Plane;

namespace {

/// A round join or cap may be so many pixels off.
constexpr double kTolerancePixels = 0.1;

/// A pattern that repeats within fewer pixels than this would be no pattern to the eye.
constexpr double kShortestPatternPixels = 0.5;

/// The full colour of a transparent line is at least this wide, as a part of what its edge fades over.
constexpr double kThinnestFull = 0.25;
/// Most of a casing's band that fades on each side.
constexpr double kWidestFade = 0.375;

/// Wide dashes are fewer than others where they are most: so many of one pixel would cover the largest window as often.
constexpr double kMostDashPixels = 2.5e6;

/// What a stroke may cost to draw, in pixels; two for each along a triangle too, since thin ones are no quicker. That
/// is a second without a graphics card. What costs more covers the window hundreds of times, and is merged first.
constexpr double kMostDrawnPixels = 400e6;

/// A string of more segments is taken as one that touches itself; to compare all would take longer than to draw so.
constexpr std::size_t kMostComparedSegments = 500;

/// A style in units of the plane that its sizes are counted in.
struct PlaneStyle {
    Stroke line;
    Stroke casing;
    bool hasCasing = false;
    DashPattern dashes;
};

PlaneStyle InPlane(const GLLineStyle& style, double pixelsPerUnit) {
    const GLLineStyle standard;
    const auto toPlane = [&](double value, double low, double high, double otherwise) {
        return ClampedValue(value * pixelsPerUnit, low, high, otherwise) / pixelsPerUnit;
    };
    PlaneStyle result;
    result.line.width = toPlane(style.width, 0.5, 256.0, standard.width);
    result.line.fringe = 1.0 / pixelsPerUnit;
    result.line.join = style.join;
    result.line.miterLimit = ClampedValue(style.miterLimit, 1.0, 100.0, standard.miterLimit);
    result.line.cap = style.cap;
    result.line.tolerance = kTolerancePixels / pixelsPerUnit;
    result.casing = result.line;
    result.casing.width = toPlane(style.casingWidth, 0.0, 512.0, 0.0);
    result.hasCasing = result.casing.width > result.line.width;
    result.dashes = DashPattern(style.dashes, style.dashPhase, kShortestPatternPixels / pixelsPerUnit);
    result.dashes.LimitTo(kMostDashPixels / (result.line.width * pixelsPerUnit));
    return result;
}

/// A string, or what is left of one, in the plane.
struct PlaneString {
    std::vector<PointXYZ> points;
    bool closed = false;
};

/// Strokes strings with their dashes, and counts those. False where joins cover places twice.
bool StrokeStrings(const std::vector<PlaneString>& strings, const Stroke& stroke, const DashPattern& dashes,
                   const std::optional<PlaneBox>& window, ShapeMesh& mesh, int& drawn) {
    Stroker stroker(stroke);
    std::optional<PlaneBox> visible;
    if (window) {
        visible = window->Widened(stroker.Reach());
    }
    for (const PlaneString& string : strings) {
        VisitDashes(string.points, string.closed, dashes, visible, [&](std::span<const PointXYZ> piece, bool closed) {
            stroker.Add(piece, closed, mesh);
            ++drawn;
        });
    }
    return stroker.IsSimple();
}

/// Whether segments that are no neighbours come so near to each other that their strokes may overlap. Along a bend that
/// is wide enough for the stroke they do not, so what is near along the string does not count.
bool MayTouchItself(const std::vector<PlaneString>& strings, double reach) {
    struct Segment {
        PointXY start;
        PointXY end;
        std::size_t string;
        double from;
        double until;
    };
    std::vector<Segment> segments;
    std::vector<double> lengths; // around rings; endless for other strings
    for (std::size_t index = 0; index < strings.size(); ++index) {
        const PlaneString& string = strings[index];
        double along = 0.0;
        for (std::size_t point = 0; point + (string.closed ? 0 : 1) < string.points.size(); ++point) {
            const PointXY start = Flat(string.points[point]);
            const PointXY end = Flat(string.points[(point + 1) % string.points.size()]);
            const double length = Length(end - start);
            segments.push_back({start, end, index, along, along + length});
            along += length;
        }
        lengths.push_back(string.closed ? along : std::numeric_limits<double>::infinity());
    }
    if (segments.size() > kMostComparedSegments) {
        return true;
    }
    for (std::size_t first = 0; first < segments.size(); ++first) {
        for (std::size_t second = first + 1; second < segments.size(); ++second) {
            const Segment& a = segments[first];
            const Segment& b = segments[second];
            const bool apart = std::max(a.start.x, a.end.x) + 2.0 * reach < std::min(b.start.x, b.end.x) ||
                               std::max(b.start.x, b.end.x) + 2.0 * reach < std::min(a.start.x, a.end.x) ||
                               std::max(a.start.y, a.end.y) + 2.0 * reach < std::min(b.start.y, b.end.y) ||
                               std::max(b.start.y, b.end.y) + 2.0 * reach < std::min(a.start.y, a.end.y);
            const double between = std::min(b.from - a.until, lengths[a.string] - b.until + a.from);
            if (apart || (a.string == b.string && between < 3.0 * reach)) {
                continue;
            }
            if (DistanceBetween(a.start, a.end, b.start, b.end) < 2.0 * reach) {
                return true;
            }
        }
    }
    return false;
}

/// The triangles of a mesh as outlines of an area, all in the same direction, so that those of one stroke add up.
class MeshRings {
public:
    void Add(const ShapeMesh& mesh, int layer) {
        mesh.ForEachTriangle([&](const ShapeVertex& a, const ShapeVertex& b, const ShapeVertex& c) {
            const bool againstClock = Cross({b.x - a.x, b.y - a.y}, {c.x - a.x, c.y - a.y}) > 0.0;
            for (const ShapeVertex* vertex : {&a, againstClock ? &b : &c, againstClock ? &c : &b}) {
                m_points.push_back({vertex->x, vertex->y, vertex->z});
            }
            m_layers.push_back(layer);
        });
    }
    TriangulatedArea Fill(FillRule rule, const std::optional<PlaneBox>& window) const {
        std::vector<FillRing> rings;
        for (std::size_t triangle = 0; triangle < m_layers.size(); ++triangle) {
            rings.push_back({std::span(m_points).subspan(triangle * 3, 3), m_layers[triangle]});
        }
        return FillRings(rings, rule, window);
    }

private:
    std::vector<PointXYZ> m_points;
    std::vector<int> m_layers;
};

/// Whether a stroke that is no wider than `width` costs more to draw than it may. Lengths in units of the plane.
bool IsTooMuchToDraw(const ShapeMesh& mesh, double width, const PlaneBox& window, double pixelsPerUnit) {
    const double longest = Length(window.high - window.low) + 2.0 * width;
    const auto cost = [&](double area, double length) { return (area * pixelsPerUnit + 2.0 * length) * pixelsPerUnit; };
    if (static_cast<double>(mesh.Strip().size()) * cost(longest * width, longest) < kMostDrawnPixels) {
        return false; // as nearly all are
    }
    double sum = 0.0;
    mesh.ForEachTriangle([&](const ShapeVertex& a, const ShapeVertex& b, const ShapeVertex& c) {
        const PointXY first{b.x - a.x, b.y - a.y};
        const PointXY second{c.x - a.x, c.y - a.y};
        sum += cost(std::abs(Cross(first, second)) * 0.5, std::max(Length(first), Length(second)));
    });
    return sum > kMostDrawnPixels;
}

/// A stroke with hard edges that is wider than another by `by` all around.
Stroke WidenedStroke(const Stroke& stroke, double by) {
    Stroke hard = stroke;
    hard.grow = by;
    hard.fringe = 0.0;
    return hard;
}

/// What a string is drawn from.
class StringPainter {
public:
    StringPainter(ShapeScope& scope, const GLLineStyle& style)
        : m_scope(scope), m_unit(style.unit), m_style(InPlane(style, scope.PixelsPer(style.unit))),
          m_window(scope.VisibleIn(style.unit)),
          m_color(ResolvedColor(style.color, scope.CurrentColor(), style.opacity)),
          m_casingColor(ResolvedColor(style.casingColor, {}, style.opacity)) {}

    /// Takes no more dashes than there are left, and away what it has drawn.
    void Draw(const std::vector<PlaneString>& strings, DashesLeft& left) {
        const bool transparent = m_color.a < 255 || (m_style.hasCasing && m_casingColor.a < 255);
        m_style.dashes.LimitTo(transparent ? left.transparent : left.opaque);
        m_drawn = 0;
        Draw(strings, transparent);
        if (!m_style.dashes.IsSolid()) {
            left.opaque -= 2.0 * m_drawn;
            left.transparent -= 2.0 * m_drawn;
        }
    }

private:
    void Draw(const std::vector<PlaneString>& strings, bool transparent) const {
        if (!transparent) {
            if (m_style.hasCasing) {
                AddOnce(strings, m_style.casing, DashPattern(), m_casingColor);
            }
            AddOnce(strings, m_style.line, m_style.dashes, m_color);
            return;
        }
        if (m_style.hasCasing) {
            AddCasingAround(strings);
        }
        const bool touches = MayTouchItself(strings, m_style.line.width * 0.5 + m_style.line.fringe) ||
                             (!m_style.dashes.IsSolid() && m_style.line.cap != GLLineCapButt);
        if (touches) {
            AddUnion(strings, m_style.line, m_style.dashes, m_color);
        } else {
            AddOnce(strings, m_style.line, m_style.dashes, m_color);
        }
    }

    /// A stroke, merged where it may not be drawn over itself.
    void AddOnce(const std::vector<PlaneString>& strings, const Stroke& stroke, const DashPattern& dashes,
                 const GLRGBAColor& color) const {
        if (!AddStroke(strings, stroke, dashes, color)) {
            AddUnion(strings, stroke, dashes, color);
        }
    }

    /// False, with nothing added, for a transparent stroke whose joins cover places twice, and for one that would cover
    /// the window hundreds of times.
    bool AddStroke(const std::vector<PlaneString>& strings, const Stroke& stroke, const DashPattern& dashes,
                   const GLRGBAColor& color) const {
        ShapeMesh& mesh = m_scope.Mesh();
        mesh.Clear();
        if (!StrokeStrings(strings, stroke, dashes, m_window, mesh, m_drawn) && color.a < 255) {
            return false;
        }
        if (m_window && IsTooMuchToDraw(mesh, stroke.width + stroke.fringe, *m_window, 1.0 / stroke.fringe)) {
            return false;
        }
        m_scope.AddMesh(mesh, m_unit, &color);
        return true;
    }

    void AddUnion(const std::vector<PlaneString>& strings, const Stroke& stroke, const DashPattern& dashes,
                  const GLRGBAColor& color) const {
        // The area is that of the full colour, which must have some width; then a thin line is as much fainter.
        const double fade = stroke.fringe * 0.5;
        const double full = std::max(std::abs(stroke.width * 0.5 - fade), fade * kThinnestFull);
        const double faded = stroke.width * 0.5 + fade;
        ShapeMesh& mesh = m_scope.Mesh();
        mesh.Clear();
        StrokeStrings(strings, WidenedStroke(stroke, full - stroke.width * 0.5), dashes, m_window, mesh, m_drawn);
        MeshRings rings;
        rings.Add(mesh, 0);
        const double coverage = std::min(stroke.width / (full + faded), 1.0);
        AddFaded(rings.Fill(FillRule::First, m_window), {faded - full, static_cast<float>(coverage)}, color);
    }

    /// Where both are transparent the casing must not shine through the line.
    void AddCasingAround(const std::vector<PlaneString>& strings) const {
        const double band = (m_style.casing.width - m_style.line.width) * 0.5;
        const double fade = std::min(m_style.casing.fringe * 0.5, band * kWidestFade);
        MeshRings rings;
        ShapeMesh& mesh = m_scope.Mesh();
        mesh.Clear();
        StrokeStrings(strings, WidenedStroke(m_style.casing, -fade), DashPattern(), m_window, mesh, m_drawn);
        rings.Add(mesh, 0);
        mesh.Clear();
        StrokeStrings(strings, WidenedStroke(m_style.line, fade), m_style.dashes, m_window, mesh, m_drawn);
        rings.Add(mesh, 1);
        AddFaded(rings.Fill(FillRule::FirstWithoutSecond, m_window), {2.0 * fade, 1.0F}, m_casingColor);
    }

    void AddFaded(const TriangulatedArea& area, const SoftEdge& edge, const GLRGBAColor& color) const {
        ShapeMesh& mesh = m_scope.Mesh();
        mesh.Clear();
        AddSoftArea(area, edge, mesh);
        m_scope.AddMesh(mesh, m_unit, &color);
    }

    ShapeScope& m_scope;
    GLSizeUnit m_unit;
    PlaneStyle m_style;
    std::optional<PlaneBox> m_window;
    GLRGBAColor m_color;
    GLRGBAColor m_casingColor;
    mutable int m_drawn = 0; ///< strings and dashes
};

/// The first place that can serve as a measure for where the string is.
PointXYZ FirstFinite(std::span<const PointXYZ> points) {
    const auto found =
        std::find_if(points.begin(), points.end(), [](const PointXYZ& point) { return IsFinite(point); });
    return found == points.end() ? PointXYZ{} : *found;
}

} // namespace

double ClampedValue(double value, double low, double high, double otherwise) {
    return std::isnan(value) ? otherwise : std::clamp(value, low, high);
}

GLRGBAColor ResolvedColor(const std::optional<GLRGBAColor>& color, const GLRGBAColor& current, double opacity) {
    GLRGBAColor result = color.value_or(current);
    result.a = static_cast<unsigned char>(std::lround(result.a * ClampedValue(opacity, 0.0, 1.0, 1.0)));
    return result;
}

void DrawStyledString(COpenGLView& view, std::span<const PointXYZ> points, const GLLineStyle& style) {
    DrawStyledOffsetString(view, points, 0.0, style);
}

void DrawStyledString(COpenGLView& view, std::span<const PointXYZ> points, const GLLineStyle& style, DashesLeft& left) {
    DrawStyledOffsetString(view, points, 0.0, style, left);
}

void DrawStyledOffsetString(COpenGLView& view, std::span<const PointXYZ> points, double offset,
                            const GLLineStyle& style) {
    DashesLeft left{DashPattern::kMostDashes, DashPattern::kMostDashes};
    DrawStyledOffsetString(view, points, offset, style, left);
}

void DrawStyledOffsetString(COpenGLView& view, std::span<const PointXYZ> points, double offset,
                            const GLLineStyle& style, DashesLeft& left) {
    ShapeScope scope(view, GL_TRIANGLE_STRIP, FirstFinite(points));
    if (!scope.IsOpen()) {
        return;
    }
    const bool ring = IsRing(points);
    std::vector<PointXYZ>& inPlane = scope.Points();
    inPlane.clear();
    for (const PointXYZ& point : ring ? points.first(points.size() - 1) : points) {
        inPlane.push_back(scope.ToPlane(point, style.unit));
    }
    const double perUnit = scope.PixelsPer(style.unit);
    std::vector<PlaneString> strings;
    VisitFiniteParts(inPlane, ring, [&](std::span<const PointXYZ> part, bool closed) {
        if (offset == 0.0 || !std::isfinite(offset)) {
            strings.push_back({{part.begin(), part.end()}, closed});
            return;
        }
        const Offset parallel{offset, style.join, ClampedValue(style.miterLimit, 1.0, 100.0, 4.0),
                              kTolerancePixels / perUnit};
        for (OffsetPart& beside : OffsetString(part, closed, parallel)) {
            strings.push_back({std::move(beside.points), beside.closed});
        }
    });
    StringPainter(scope, style).Draw(strings, left);
}

} // namespace KTR
