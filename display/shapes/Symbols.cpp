#include "Symbols.h"

#include "Curves.h"
#include "Plane.h"

#include <algorithm>
#include <limits>

namespace KTR {

using namespace Plane;

namespace {

constexpr double kFringePixels = 1.0;
constexpr double kTolerancePixels = 0.1;
constexpr int kFewestCircleParts = 8;

/// How far inwards the edge may move, as a part of the way to the middle, before it would turn inside out.
constexpr double kDeepestInset = 0.9;

/// A symbol whose square has a side of 1: its outline against the clock, and a place from which all of it is seen.
struct Outline {
    std::vector<PointXY> points;
    PointXY middle;
    bool convex = true;
};

Outline CircleOutline(double sizePixels) {
    Outline outline;
    const int parts = std::max(CountArcParts(sizePixels * 0.5, 2.0 * kPi, kTolerancePixels), kFewestCircleParts);
    for (int part = 0; part < parts; ++part) {
        const double angle = 2.0 * kPi * part / parts;
        outline.points.push_back({0.5 * std::cos(angle), 0.5 * std::sin(angle)});
    }
    return outline;
}

Outline PlusOutline() {
    constexpr double arm = 1.0 / 6.0;
    Outline outline;
    for (const PointXY& way : {PointXY{1.0, 0.0}, {0.0, 1.0}, {-1.0, 0.0}, {0.0, -1.0}}) {
        const PointXY aside = LeftOf(way) * arm;
        outline.points.push_back(way * 0.5 - aside);
        outline.points.push_back(way * 0.5 + aside);
        outline.points.push_back(way * arm + aside);
    }
    outline.convex = false;
    return outline;
}

/// A plus on its edge, as large as the square allows.
Outline CrossOutline() {
    Outline outline = PlusOutline();
    constexpr double reach = 0.5 + 1.0 / 6.0; // of a corner along the diagonal, times the root of 2
    for (PointXY& point : outline.points) {
        point = PointXY{point.x - point.y, point.x + point.y} * (0.5 / reach);
    }
    return outline;
}

Outline StarOutline() {
    constexpr int tips = 5;
    constexpr double inner = 0.381966011250105; // where the lines between every second tip cross
    Outline outline;
    for (int corner = 0; corner < 2 * tips; ++corner) {
        const double angle = kPi * (0.5 + static_cast<double>(corner) / tips);
        const double radius = corner % 2 == 0 ? 0.5 : 0.5 * inner;
        outline.points.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    }
    outline.convex = false;
    return outline;
}

Outline OutlineOf(GLSymbolKind kind, double sizePixels) {
    switch (kind) {
    case GLSymbolSquare:
        return {{{-0.5, -0.5}, {0.5, -0.5}, {0.5, 0.5}, {-0.5, 0.5}}, {}, true};
    case GLSymbolTriangle:
        return {{{-0.5, -0.5}, {0.5, -0.5}, {0.0, 0.5}}, {0.0, -0.19}, true};
    case GLSymbolDiamond:
        return {{{0.0, -0.5}, {0.5, 0.0}, {0.0, 0.5}, {-0.5, 0.0}}, {}, true};
    case GLSymbolCross:
        return CrossOutline();
    case GLSymbolPlus:
        return PlusOutline();
    case GLSymbolStar:
        return StarOutline();
    case GLSymbolArrow:
        return {{{-0.12, -0.5}, {0.12, -0.5}, {0.12, 0.0}, {0.4, 0.0}, {0.0, 0.5}, {-0.4, 0.0}, {-0.12, 0.0}},
                {0.0, 0.1},
                false};
    case GLSymbolCircle:
        break;
    }
    return CircleOutline(sizePixels);
}

/// The outline in pixels, and how its corners move when its edges move outwards by 1.
class SymbolEdge {
public:
    SymbolEdge(Outline outline, double size, double angleDegrees) : m_outline(std::move(outline)) {
        const double cosine = std::cos(angleDegrees * kRadiansPerDegree) * size;
        const double sine = std::sin(angleDegrees * kRadiansPerDegree) * size;
        const auto rotate = [&](const PointXY& point) {
            return PointXY{point.x * cosine - point.y * sine, point.x * sine + point.y * cosine};
        };
        for (PointXY& point : m_outline.points) {
            point = rotate(point);
        }
        m_outline.middle = rotate(m_outline.middle);
        const std::vector<PointXY>& points = m_outline.points;
        const std::size_t count = points.size();
        const auto normal = [&](std::size_t edge) {
            const PointXY along = points[(edge + 1) % count] - points[edge % count];
            return -LeftOf(along) * (1.0 / Length(along));
        };
        m_deepest = std::numeric_limits<double>::max();
        for (std::size_t corner = 0; corner < count; ++corner) {
            const PointXY after = normal(corner);
            m_miters.push_back(MiterOf(normal(corner + count - 1), after));
            m_deepest = std::min(m_deepest, Dot(points[corner] - m_outline.middle, after));
        }
        m_deepest *= kDeepestInset;
    }

    std::size_t Count() const { return m_outline.points.size(); }
    bool IsConvex() const { return m_outline.convex; }
    PointXY Middle() const { return m_outline.middle; }
    PointXY At(std::size_t corner, double inset) const {
        const std::size_t index = corner % Count();
        return m_outline.points[index] - m_miters[index] * std::min(inset, m_deepest);
    }

private:
    Outline m_outline;
    std::vector<PointXY> m_miters;
    double m_deepest;
};

/// One of the lines around a symbol between which its colours lie.
struct Ring {
    double inset;
    float coverage;
    unsigned char paint;
};

} // namespace

void AddSymbol(GLSymbolKind kind, const GLSymbolStyle& style, ShapeMesh& mesh) {
    const SymbolEdge edge(OutlineOf(kind, style.size), style.size, style.angleDegrees);
    const double fade = kFringePixels * 0.5;
    std::vector<Ring> rings;
    if (style.outlineWidth > 0.0) {
        rings = {{-fade, 0.0F, kSymbolOutline},
                 {fade, 1.0F, kSymbolOutline},
                 {std::max(fade, style.outlineWidth - fade), 1.0F, kSymbolOutline},
                 {style.outlineWidth + fade, 1.0F, kSymbolFill}};
    } else {
        rings = {{-fade, 0.0F, kSymbolFill}, {fade, 1.0F, kSymbolFill}};
    }
    const auto vertex = [&](std::size_t corner, const Ring& ring) {
        const PointXY place = edge.At(corner, ring.inset);
        return ShapeVertex{place.x, place.y, 0.0, ring.coverage, ring.paint};
    };
    for (std::size_t ring = 0; ring + 1 < rings.size(); ++ring) {
        mesh.BeginStrip();
        for (std::size_t corner = 0; corner <= edge.Count(); ++corner) {
            mesh.Add(vertex(corner, rings[ring]));
            mesh.Add(vertex(corner, rings[ring + 1]));
        }
    }
    mesh.BeginStrip();
    if (edge.IsConvex()) {
        for (std::size_t index = 0; index < edge.Count(); ++index) {
            mesh.Add(vertex(index % 2 == 0 ? index / 2 : edge.Count() - 1 - index / 2, rings.back()));
        }
    } else {
        const ShapeVertex middle{edge.Middle().x, edge.Middle().y, 0.0, 1.0F, kSymbolFill};
        for (std::size_t corner = 0; corner < edge.Count(); ++corner) {
            mesh.AddTriangle(middle, vertex(corner, rings.back()), vertex(corner + 1, rings.back()));
        }
    }
    mesh.BeginStrip();
}

} // namespace KTR
