#include "../view/OpenGLView.h"

#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "Curves.h"
#include "OffsetString.h"
#include "Plane.h"
#include "ShapeDrawing.h"
#include "StyledArea.h"
#include "StyledString.h"

#include <algorithm>
#include <span>

namespace KTR {

using namespace Plane;

namespace {

/// A chord may be so many pixels from the curve.
constexpr double kCurveTolerancePixels = 0.25;

/// No exception crosses the library's boundary; a shape without memory for it is left out.
template <typename Draw> void DrawShape(Draw draw) {
    try {
        draw();
    } catch (...) {
        DropCaught();
    }
}

/// How many pixels a unit comes to at most, in whichever direction.
double LargestStretch(const glm::dmat2& matrix) {
    const double squares = glm::dot(matrix[0], matrix[0]) + glm::dot(matrix[1], matrix[1]);
    const double area = glm::determinant(matrix);
    return std::sqrt((squares + std::sqrt(std::max(squares * squares - 4.0 * area * area, 0.0))) * 0.5);
}

/// A curve that hosts give in the model's plane, at height 0.
void DrawCurve(COpenGLView& view, const EllipticArc& arc, bool filled) {
    const PointXYZ centre{arc.centre.x, arc.centre.y, 0.0};
    ShapeScope scope(view, filled ? GL_TRIANGLE_STRIP : GL_LINES, centre);
    if (!scope.IsOpen()) {
        return;
    }
    const std::vector<PointXY> points =
        PointsOf(arc, kCurveTolerancePixels / LargestStretch(scope.Scale().pixelsFromUnits));
    const GLRGBAColor color = scope.CurrentColor();
    const std::size_t count = points.size();
    const auto at = [&](std::size_t index) { return PointXYZ{points[index % count].x, points[index % count].y, 0.0}; };
    if (!filled) {
        for (std::size_t index = 0; index + (arc.IsClosed() ? 0 : 1) < count; ++index) {
            scope.AddLine(at(index), at(index + 1), color);
        }
        return;
    }
    const auto vertexAt = [&](const PointXYZ& point) {
        const PointXYZ place = scope.ToPlane(point, GLSizeModelUnits);
        return ShapeVertex{place.x, place.y, place.z};
    };
    ShapeMesh& mesh = scope.Mesh();
    mesh.Clear();
    if (arc.IsClosed()) {
        // Back and forth across it.
        for (std::size_t index = 0; index < count; ++index) {
            mesh.Add(vertexAt(at(index % 2 == 0 ? index / 2 : count - 1 - index / 2)));
        }
    } else {
        for (std::size_t index = 0; index + 1 < count; ++index) {
            mesh.AddTriangle(vertexAt(centre), vertexAt(at(index)), vertexAt(at(index + 1)));
        }
    }
    scope.AddMesh(mesh, GLSizeModelUnits, &color);
}

} // namespace

void COpenGLView::BeginShapes() {
    BeginSharedDraws();
}

void COpenGLView::EndShapes() {
    EndSharedDraws();
}

void COpenGLView::DrawLine(double x0, double y0, double z0, double x1, double y1, double z1) {
    const PointXYZ points[] = {{x0, y0, z0}, {x1, y1, z1}};
    DrawLine(points, 2, false);
}

void COpenGLView::DrawLine(const PointXYZ* points, int count, bool closed) {
    if (!points || count < 2) {
        return;
    }
    DrawShape([&] {
        ShapeScope scope(*this, GL_LINES, points[0]);
        if (!scope.IsOpen()) {
            return;
        }
        const GLRGBAColor color = scope.CurrentColor();
        for (int index = 0; index + 1 < count; ++index) {
            scope.AddLine(points[index], points[index + 1], color);
        }
        if (closed && count > 2) {
            scope.AddLine(points[count - 1], points[0], color);
        }
    });
}

void COpenGLView::Rect(double x0, double y0, double x1, double y1, bool filled) {
    const PointXYZ corners[] = {{x0, y0, 0.0}, {x1, y0, 0.0}, {x1, y1, 0.0}, {x0, y1, 0.0}};
    if (!filled) {
        DrawLine(corners, 4, true);
        return;
    }
    if (!std::all_of(std::begin(corners), std::end(corners), [](const PointXYZ& corner) { return IsFinite(corner); })) {
        return;
    }
    DrawShape([&] {
        ShapeScope scope(*this, GL_TRIANGLE_STRIP, corners[0]);
        if (!scope.IsOpen()) {
            return;
        }
        ShapeMesh& mesh = scope.Mesh();
        mesh.Clear();
        for (const int corner : {0, 1, 3, 2}) {
            const PointXYZ place = scope.ToPlane(corners[corner], GLSizeModelUnits);
            mesh.Add({place.x, place.y, place.z});
        }
        const GLRGBAColor color = scope.CurrentColor();
        scope.AddMesh(mesh, GLSizeModelUnits, &color);
    });
}

void COpenGLView::DrawCircle2D(double x, double y, double radius, bool filled) {
    DrawEllipse2D(x, y, radius, radius, filled, 0.0);
}

void COpenGLView::DrawArc2D(double x, double y, double radius, bool filled, double startDegrees, double sweepDegrees) {
    DrawShape([&] { DrawCurve(*this, {{x, y}, radius, radius, 0.0, startDegrees, sweepDegrees}, filled); });
}

void COpenGLView::DrawEllipse2D(double x, double y, double radiusX, double radiusY, bool filled,
                                double rotationDegrees) {
    DrawShape([&] { DrawCurve(*this, {{x, y}, radiusX, radiusY, rotationDegrees}, filled); });
}

void COpenGLView::DrawLineString(const PointXYZ* points, int count, const GLLineStyle& style) {
    if (points && count > 0) {
        DrawShape([&] { DrawStyledString(*this, {points, static_cast<std::size_t>(count)}, style); });
    }
}

void COpenGLView::DrawOffsetLineString(const PointXYZ* points, int count, double offset, const GLLineStyle& style) {
    if (points && count > 0) {
        DrawShape([&] { DrawStyledOffsetString(*this, {points, static_cast<std::size_t>(count)}, offset, style); });
    }
}

void COpenGLView::OffsetLineString(const PointXYZ* points, int count, double offset, GLLineJoin join, double miterLimit,
                                   std::vector<PointXY>& out) {
    out.clear();
    if (points && count > 0) {
        DrawShape([&] { OffsetPlaces({points, static_cast<std::size_t>(count)}, offset, join, miterLimit, out); });
    }
}

void COpenGLView::DrawPolygon(const std::vector<std::vector<PointXYZ>>& rings, const GLPolygonStyle& style) {
    DrawShape([&] { DrawStyledPolygon(*this, rings, style); });
}

void COpenGLView::DrawSymbol(GLSymbolKind kind, double x, double y, double z, const GLSymbolStyle& style) {
    DrawShape([&] { DrawStyledSymbol(*this, kind, {x, y, z}, style); });
}

} // namespace KTR
