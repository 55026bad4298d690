#pragma once

#include "../values/DrawGeometry.h"
#include "../values/MatrixStack.h"
#include "ShapeMesh.h"
#include "ShapeStyles.h"
#include "StringCutter.h"

#include <glm/mat2x2.hpp>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

#include <array>
#include <optional>
#include <vector>

namespace KTR {

class COpenGLView;
class Stroker;

/// How places of the model lie in the window around a shape.
///
/// Shapes are made in one of two planes. The plane of pixels has x to the right and y upwards in the window, so that
/// widths and angles come out there whatever the matrices do to the model; the plane of units has the model's own axes.
/// Both have their origin at the run's.
struct ShapeScale {
    glm::dmat2 pixelsFromUnits{1.0};
    glm::dmat2 unitsFromPixels{1.0};
    double pixelsPerUnit = 1.0;
    std::optional<PlaneBox> visiblePixels; ///< the window in the plane of pixels, where it is the same at any height
};

/// The symbol that was drawn last, as vertices around its place: many more of the kind are likely to follow.
struct SymbolStamp {
    GLSymbolKind kind = GLSymbolCircle;
    GLSymbolStyle style;
    GLRGBAColor color; ///< the style's or the current one
    glm::dmat2 unitsFromPixels{0.0};
    std::vector<GLDrawGeometry> vertices;

    bool IsFor(GLSymbolKind otherKind, const GLSymbolStyle& otherStyle, const GLRGBAColor& otherColor,
               const glm::dmat2& otherUnits) const {
        return kind == otherKind && style == otherStyle && color == otherColor && unitsFromPixels == otherUnits;
    }
};

/// The shapes of a view that wait to be drawn together, as vertices relative to one origin. They are drawn before
/// anything else that the view does. Nothing of OpenGL's state changes until then, and what changes then is put back.
struct ShapeDrawing {
    std::vector<GLDrawGeometry> vertices;
    unsigned int mode = 0; ///< GL_LINES, or GL_TRIANGLE_STRIP
    bool onlySymbols = true;
    bool drawing = false; ///< the vertices are on their way to OpenGL
    int openRuns = 0;     ///< of BeginShapes

    // What held when the first of them was added.
    glm::dmat4 projection{1.0};
    glm::dmat4 modelview{1.0};
    std::array<int, 4> viewport{};
    glm::dvec3 origin{0.0};
    bool isFlat = true; ///< the scale is the same everywhere
    ShapeScale scale;

    // Kept for their memory.
    ShapeMesh mesh;
    std::vector<PointXYZ> points;
    SymbolStamp stamp;

    bool Waits() const { return !vertices.empty() && !drawing; }
};

/// What is needed to add one shape: made at the start of the operation, gone at its end.
class ShapeScope {
public:
    /// `first` is any place of the shape, in the host's coordinates.
    ShapeScope(COpenGLView& view, unsigned int mode, const PointXYZ& first, bool isSymbol = false);
    /// Leaves the shape waiting where shapes may wait, else draws it.
    ~ShapeScope();
    ShapeScope(const ShapeScope&) = delete;
    ShapeScope& operator=(const ShapeScope&) = delete;

    /// False where nothing can be drawn, since the view's context is not current.
    bool IsOpen() const { return m_drawing != nullptr; }
    const ShapeScale& Scale() const { return m_scale; }
    ShapeMesh& Mesh() const { return m_drawing->mesh; }
    std::vector<PointXYZ>& Points() const { return m_drawing->points; }
    GLRGBAColor CurrentColor() const;

    /// The place that is 0, 0 of the model, in the host's coordinates.
    PointXYZ ModelOrigin() const;
    /// From the host's coordinates to the plane that sizes are counted in.
    PointXYZ ToPlane(const PointXYZ& point, GLSizeUnit unit) const;
    double PixelsPer(GLSizeUnit unit) const { return unit == GLSizePixels ? 1.0 : m_scale.pixelsPerUnit; }
    /// The window in that plane, where it is known.
    std::optional<PlaneBox> VisibleIn(GLSizeUnit unit) const;

    /// Adds triangles of that plane. `colors` are those of the vertices' paints.
    void AddMesh(const ShapeMesh& mesh, GLSizeUnit unit, const GLRGBAColor* colors);
    /// Adds a line between two places in the host's coordinates. What is not finite is left out.
    void AddLine(const PointXYZ& start, const PointXYZ& end, const GLRGBAColor& color);
    /// Adds a symbol.
    void AddStamp(const PointXYZ& place, const SymbolStamp& stamp);
    SymbolStamp& Stamp() const { return m_drawing->stamp; }
    /// Turns the triangles of a symbol, in pixels, into its vertices.
    void FillStamp(const ShapeMesh& mesh, const GLRGBAColor* colors, SymbolStamp& stamp) const;

private:
    void Reserve(std::size_t count);

    COpenGLView& m_view;
    ShapeDrawing* m_drawing = nullptr;
    ShapeScale m_scale;
};

/// Forgets what waits: its context goes.
void ForgetWaitingShapes(COpenGLView& view);
/// Draws what waits.
void DrawWaitingShapes(COpenGLView& view, ShapeDrawing& drawing);

} // namespace KTR
