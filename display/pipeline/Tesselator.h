#pragma once

#include "../Export.h"
#include "../Framework.h"

class GLUtesselator;

namespace KTR {

class COpenGLView;

/// Fills concave polygons with holes and islands. A view makes its tessellator, owns it and frees it; hosts obtain it
/// with COpenGLView::GetTesselator.
///
///     view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
///     GLTesselator& filler = *view.GetTesselator();
///     filler.BeginPolygon();                      // opens the first contour too
///     filler.AddIndex2DVertexRGBA(...);           // its vertices
///     filler.EndContour();
///     filler.BeginContour();                      // a hole, an island, ...
///     filler.AddIndex2DVertexRGBA(...);
///     filler.EndContour();
///     filler.EndPolygon();                        // draws
///     view.DisableClientState();
///
/// **Direction.** Outer rings go counter-clockwise, holes clockwise, islands in holes counter-clockwise again (with x
/// to the right and y up): what is filled is where the contours together wind counter-clockwise at least once. Which
/// way round the whole polygon goes does not matter, GLU turns it so that its area is positive. Where files do not
/// promise that holes run against their outer rings, SetProperty(GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD) once.
///
/// **What is not filled.** A polygon whose contours cross each other or themselves where neither has a vertex is left
/// out whole, and nothing is said. Points that several vertices share are no crossing.
///
/// **Time.** GLU's grows with the square of the crossings and worse: contours of some thousand points that cross all
/// over take a minute, a star of 100,000 points does not end. Contours that nobody has checked (files, sketches) are
/// for COpenGLView::DrawPolygon, which fills crossing ones too.
///
/// **Threads.** Each call takes the tessellator's own lock. The view's context must be current on the thread of
/// BeginPolygon and EndPolygon.
class ORRIN_DISPLAY_API GLTesselator {
public:
    GLTesselator(const GLTesselator&) = delete;
    GLTesselator& operator=(const GLTesselator&) = delete;

    /// Starts a polygon and its first contour. Polygons are drawn filled from here on: the polygon mode is changed.
    void BeginPolygon();
    /// Starts a further contour of the polygon.
    void BeginContour();
    void EndContour();
    /// Draws the polygon through the view's batch, with the colours of its vertices.
    void EndPolygon();
    /// One vertex of the open contour. Coordinates are narrowed to 32-bit floats before anything is computed from them:
    /// subtract a local origin first where they are large. A vertex without memory for it, or whose coordinates are not
    /// finite as floats, is left out; so is every vertex before the first BeginPolygon.
    void AddIndex3DVertexRGBA(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b,
                              unsigned char a);
    void AddIndex2DVertexRGBA(double x, double y, unsigned char r, unsigned char g, unsigned char b, unsigned char a);
    /// GLU's properties (GLU_TESS_WINDING_RULE, ...). They hold for all later polygons, also when set before the first;
    /// ShutDownOpenGLContexts puts them back.
    void SetProperty(unsigned int which, double value);
    double GetProperty(unsigned int which);

protected:
    friend class COpenGLView;

    explicit GLTesselator(COpenGLView* view);
    ~GLTesselator();

    /// Deletes the GLU tessellator, if there is one.
    void Destroy();

private:
    /// GLU takes its address for the coordinates and for the vertex, so it has to stay where it is until the polygon
    /// ends.
    struct Vertex {
        double position[3];
        unsigned char r, g, b, a;
    };

    /// The strip or fan that GLU sends at the moment, where it is taken apart into triangles.
    struct Chain {
        unsigned int mode = 0;
        int count = 0;              ///< vertices so far
        const Vertex* last[2] = {}; ///< a fan's first vertex or a strip's last but one, and the last one
    };

    void initialize();
    bool GrowPool();
    bool SplitsChains() const;
    static void Add(COpenGLView& view, const Vertex& vertex);

    static void CALLBACK OnBegin(unsigned int mode, void* view);
    static void CALLBACK OnVertex(void* vertex, void* view);
    static void CALLBACK OnEnd(void* view);

    GLUtesselator* m_tesselator = nullptr;
    COpenGLView* m_view;
    Chain m_chain;
    Vertex** m_vertexPool = nullptr;
    unsigned long long m_poolCapacity = 0;
    unsigned long long m_usedCount = 0;
    CRITICAL_SECTION m_lock;
};

} // namespace KTR
