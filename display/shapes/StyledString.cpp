#include "StyledString.h"

#include "Plane.h"
#include "ShapeDrawing.h"
#include "Stroker.h"

#include <GL/gl.h>

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

/// A round join or cap may be so many pixels off.
constexpr double kTolerancePixels = 0.1;

/// A pattern that repeats within fewer pixels than this would be no pattern to the eye.
constexpr double kShortestPatternPixels = 0.5;

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
    return result;
}

void StrokeParts(std::span<const PointXYZ> points, bool closed, const Stroke& stroke, const DashPattern& dashes,
                 const std::optional<PlaneBox>& window, ShapeMesh& mesh) {
    Stroker stroker(stroke);
    std::optional<PlaneBox> visible;
    if (window) {
        visible = window->Widened(stroker.Reach());
    }
    VisitFiniteParts(points, closed, [&](std::span<const PointXYZ> part, bool partClosed) {
        VisitDashes(part, partClosed, dashes, visible,
                    [&](std::span<const PointXYZ> piece, bool pieceClosed) { stroker.Add(piece, pieceClosed, mesh); });
    });
}

bool IsRing(std::span<const PointXYZ> points) {
    return points.size() > 3 && points.front().x == points.back().x && points.front().y == points.back().y;
}

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
    const PlaneStyle plane = InPlane(style, scope.PixelsPer(style.unit));
    const std::optional<PlaneBox> window = scope.VisibleIn(style.unit);
    ShapeMesh& mesh = scope.Mesh();
    if (plane.hasCasing) {
        mesh.Clear();
        StrokeParts(inPlane, ring, plane.casing, DashPattern(), window, mesh);
        const GLRGBAColor color = ResolvedColor(style.casingColor, {}, style.opacity);
        scope.AddMesh(mesh, style.unit, &color);
    }
    mesh.Clear();
    StrokeParts(inPlane, ring, plane.line, plane.dashes, window, mesh);
    const GLRGBAColor color = ResolvedColor(style.color, scope.CurrentColor(), style.opacity);
    scope.AddMesh(mesh, style.unit, &color);
}

} // namespace KTR
