#include "StyledArea.h"

#include "Hatch.h"
#include "Plane.h"
#include "PolygonFill.h"
#include "ShapeDrawing.h"
#include "SoftArea.h"
#include "StyledString.h"
#include "Symbols.h"

#include <GL/gl.h>

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

/// Points of an outline that tell whether it lies in another one. One alone may lie on the border.
constexpr std::size_t kProbes = 3;

/// Tests of points against edges that sorting the outlines may take.
constexpr double kMostProbedEdges = 50e6;

/// How often a ring goes around a place.
int WindingAt(const PointXY& place, std::span<const PointXYZ> ring) {
    int winding = 0;
    for (std::size_t index = 0; index < ring.size(); ++index) {
        const PointXY a = Flat(ring[index]);
        const PointXY b = Flat(ring[(index + 1) % ring.size()]);
        if ((a.y <= place.y) == (b.y <= place.y)) {
            continue;
        }
        const bool isLeft = Cross(b - a, place - a) > 0.0;
        if (b.y > a.y && isLeft) {
            ++winding;
        } else if (b.y < a.y && !isLeft) {
            --winding;
        }
    }
    return winding;
}

/// A polygon's outlines in the plane. The first is an outer one; of the others those that begin in an outer one before
/// them are holes, in the second layer.
class PolygonRings {
public:
    PolygonRings(const ShapeScope& scope, std::span<const std::vector<PointXYZ>> rings, GLSizeUnit unit) {
        m_points.reserve(rings.size());
        double probed = 0.0;
        for (const std::vector<PointXYZ>& ring : rings) {
            std::vector<PointXYZ> points;
            for (const PointXYZ& point : ring) {
                const PointXYZ place = scope.ToPlane(point, unit);
                VisitFiniteParts({&place, 1}, false, [&](std::span<const PointXYZ>, bool) { points.push_back(place); });
            }
            if (points.size() < 3) {
                continue;
            }
            probed += static_cast<double>(m_outerPoints);
            const bool isHole = probed < kMostProbedEdges ? BeginsInside(points) : !m_rings.empty();
            m_points.push_back(std::move(points));
            m_rings.push_back({m_points.back(), isHole ? 1 : 0});
            m_outerPoints += isHole ? 0 : m_points.back().size();
        }
    }

    std::span<const FillRing> Rings() const { return m_rings; }

private:
    bool BeginsInside(std::span<const PointXYZ> points) const {
        for (const FillRing& ring : m_rings) {
            if (ring.layer != 0) {
                continue;
            }
            for (std::size_t probe = 0; probe < kProbes; ++probe) {
                if (WindingAt(Flat(points[probe * points.size() / kProbes]), ring.points) != 0) {
                    return true;
                }
            }
        }
        return false;
    }

    std::vector<std::vector<PointXYZ>> m_points;
    std::vector<FillRing> m_rings;
    std::size_t m_outerPoints = 0;
};

void AddFill(ShapeScope& scope, const PolygonRings& rings, const GLRGBAColor& color) {
    ShapeMesh& mesh = scope.Mesh();
    mesh.Clear();
    AddArea(FillRings(rings.Rings(), FillRule::FirstWithoutSecond, scope.VisibleIn(GLSizeModelUnits)), 0, mesh);
    scope.AddMesh(mesh, GLSizeModelUnits, &color);
}

void AddPolygonHatch(ShapeScope& scope, std::span<const std::vector<PointXYZ>> rings, const GLHatchStyle& style,
                     double opacity) {
    const GLHatchStyle standard;
    const double perUnit = scope.PixelsPer(style.unit);
    const auto toPlane = [perUnit](double value, double low, double high, double otherwise) {
        return ClampedValue(value * perUnit, low, high, otherwise) / perUnit;
    };
    Hatch hatch;
    hatch.angleDegrees = std::isfinite(style.angleDegrees) ? style.angleDegrees : standard.angleDegrees;
    hatch.spacing = toPlane(style.spacing, 2.0, 4096.0, standard.spacing);
    hatch.width = toPlane(style.width, 0.5, 256.0, standard.width);
    hatch.fringe = 1.0 / perUnit;
    hatch.anchor = Flat(scope.ToPlane(scope.ModelOrigin(), style.unit));
    const PolygonRings inPlane(scope, rings, style.unit);
    ShapeMesh& mesh = scope.Mesh();
    mesh.Clear();
    AddHatch(inPlane.Rings(), FillRule::FirstWithoutSecond, hatch, scope.VisibleIn(style.unit), mesh);
    const GLRGBAColor color = ResolvedColor(style.color, scope.CurrentColor(), opacity);
    scope.AddMesh(mesh, style.unit, &color);
}

PointXYZ FirstFinite(std::span<const std::vector<PointXYZ>> rings) {
    for (const std::vector<PointXYZ>& ring : rings) {
        for (const PointXYZ& point : ring) {
            if (IsFinite(point)) {
                return point;
            }
        }
    }
    return {};
}

GLSymbolStyle InRange(const GLSymbolStyle& style) {
    const GLSymbolStyle standard;
    GLSymbolStyle result = style;
    result.size = ClampedValue(style.size, 1.0, 1024.0, standard.size);
    result.angleDegrees = std::isfinite(style.angleDegrees) ? std::fmod(style.angleDegrees, 360.0) : 0.0;
    result.outlineWidth = ClampedValue(style.outlineWidth, 0.0, result.size * 0.5, standard.outlineWidth);
    return result;
}

} // namespace

void DrawStyledPolygon(COpenGLView& view, std::span<const std::vector<PointXYZ>> rings, const GLPolygonStyle& style) {
    {
        ShapeScope scope(view, GL_TRIANGLE_STRIP, FirstFinite(rings));
        if (!scope.IsOpen()) {
            return;
        }
        if (style.fill) {
            const GLRGBAColor color = ResolvedColor(style.fillColor, scope.CurrentColor(), style.opacity);
            AddFill(scope, PolygonRings(scope, rings, GLSizeModelUnits), color);
        }
        if (style.hatch) {
            AddPolygonHatch(scope, rings, *style.hatch, style.opacity);
        }
    }
    if (!style.outline) {
        return;
    }
    std::vector<PointXYZ> closed;
    DashesLeft left;
    for (const std::vector<PointXYZ>& ring : rings) {
        closed.assign(ring.begin(), ring.end());
        const auto repeats = [&] { return closed.front().x == closed.back().x && closed.front().y == closed.back().y; };
        if (closed.size() > 1 && !repeats()) {
            closed.push_back(PointXYZ(closed.front()));
        }
        DrawStyledString(view, closed, *style.outline, left);
    }
}

void DrawStyledSymbol(COpenGLView& view, GLSymbolKind kind, const PointXYZ& place, const GLSymbolStyle& style) {
    if (!IsFinite(place)) {
        return;
    }
    ShapeScope scope(view, GL_TRIANGLE_STRIP, place, true);
    if (!scope.IsOpen()) {
        return;
    }
    SymbolStamp& stamp = scope.Stamp();
    const GLRGBAColor color = style.color.value_or(scope.CurrentColor());
    if (!stamp.IsFor(kind, style, color, scope.Scale().unitsFromPixels)) {
        const GLSymbolStyle inRange = InRange(style);
        ShapeMesh& mesh = scope.Mesh();
        mesh.Clear();
        AddSymbol(kind, inRange, mesh);
        const GLRGBAColor colors[] = {ResolvedColor(color, color, style.opacity),
                                      ResolvedColor(style.outlineColor, color, style.opacity)};
        stamp.kind = kind;
        stamp.style = style;
        stamp.color = color;
        stamp.unitsFromPixels = scope.Scale().unitsFromPixels;
        scope.FillStamp(mesh, colors, stamp);
    }
    scope.AddStamp(place, stamp);
}

} // namespace KTR
