#include "ShapeDrawing.h"

#include "../diagnostics/DebugNames.h"
#include "../pipeline/ProgramBinding.h"
#include "../pipeline/StockPrograms.h"
#include "../view/ViewAccess.h"
#include "Plane.h"

#include <GL/glext.h>

#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>

#include <cmath>
#include <cstddef>

namespace KTR {

namespace {

/// Most vertices of one draw of symbols; ten thousand of them are some hundred thousand. All other shapes go through
/// the ring, a segment at a time.
constexpr std::size_t kMostSymbolVertices = 2'000'000;

constexpr std::size_t kMostVertices = kBatchRecords;

unsigned char AlphaOf(unsigned char alpha, float coverage) {
    if (coverage == 1.0F) {
        return alpha; // most are
    }
    return static_cast<unsigned char>(std::lround(static_cast<float>(alpha) * coverage));
}

GLDrawGeometry RecordOf(double x, double y, double z, const GLRGBAColor& color, unsigned char alpha) {
    GLDrawGeometry record{};
    record.x = static_cast<float>(x);
    record.y = static_cast<float>(y);
    record.z = static_cast<float>(z);
    record.r = color.r;
    record.g = color.g;
    record.b = color.b;
    record.a = alpha;
    return record;
}

/// Joins what follows to a strip by triangles without area.
void JoinStrip(std::vector<GLDrawGeometry>& vertices, const GLDrawGeometry& next) {
    if (!vertices.empty()) {
        vertices.push_back(GLDrawGeometry(vertices.back()));
        vertices.push_back(next);
    }
}

bool IsFinite(const glm::dvec3& place) {
    return std::isfinite(place.x) && std::isfinite(place.y) && std::isfinite(place.z);
}

/// Whether the height of a place has no say in where in the window it appears.
bool IsSeenFromAbove(const glm::dmat4& clip) {
    return clip[0][3] == 0.0 && clip[1][3] == 0.0 && clip[2][3] == 0.0 && clip[2][0] == 0.0 && clip[2][1] == 0.0;
}

/// From above the middle of the view: what is seen is near to that, and keeps its digits. Where z only decides what
/// hides what it stays out of it, so that depths come out as those of the host's own geometry.
glm::dvec3 OriginFor(const glm::dmat4& clip, const glm::dvec3& first) {
    if (IsSeenFromAbove(clip)) {
        const glm::dvec4 middle = glm::inverse(clip) * glm::dvec4(0.0, 0.0, 0.0, 1.0);
        const glm::dvec3 place(middle.x / middle.w, middle.y / middle.w, 0.0);
        if (IsFinite(place)) {
            return place;
        }
        return IsFinite(first) ? glm::dvec3(first.x, first.y, 0.0) : glm::dvec3(0.0);
    }
    return IsFinite(first) ? first : glm::dvec3(0.0);
}

/// How the window's pixels move with the place in the model's plane, at `place`.
ShapeScale ScaleAt(const glm::dmat4& clip, const std::array<int, 4>& viewport, const glm::dvec3& place) {
    const glm::dvec4 at = clip * glm::dvec4(place, 1.0);
    const glm::dvec2 half(viewport[2] * 0.5, viewport[3] * 0.5);
    ShapeScale scale;
    for (int axis = 0; axis < 2; ++axis) {
        const glm::dvec4& along = clip[axis];
        scale.pixelsFromUnits[axis] =
            half * glm::dvec2(along.x * at.w - at.x * along.w, along.y * at.w - at.y * along.w) / (at.w * at.w);
    }
    const double area = std::abs(glm::determinant(scale.pixelsFromUnits));
    scale.unitsFromPixels = glm::inverse(scale.pixelsFromUnits);
    scale.pixelsPerUnit = std::sqrt(area);
    if (!std::isfinite(scale.pixelsPerUnit) || !std::isfinite(1.0 / area)) {
        return {};
    }
    if (IsSeenFromAbove(clip)) {
        const glm::dvec2 window = half * (glm::dvec2(at.x, at.y) / at.w + 1.0);
        scale.visiblePixels = {{-window.x, -window.y}, {viewport[2] - window.x, viewport[3] - window.y}};
    }
    return scale;
}

GLShaderTypes ProgramFor(unsigned int mode) {
    return mode == GL_LINES ? GLShaderLine : GLShaderColorPassThrough;
}

GLint IntegerOf(const GLCalls& gl, GLenum name) {
    GLint value = 0;
    gl.glGetIntegerv(name, &value);
    return value;
}

/// A host's own program in use; 0 without one.
GLuint HostProgram(COpenGLView& view, const GLCalls& gl) {
    if (!gl.Has(&GLEntryPoints::glUseProgram)) {
        return 0;
    }
    const auto program = static_cast<GLuint>(IntegerOf(gl, GL_CURRENT_PROGRAM));
    return program == ViewAccess::CurrentObjects(view).boundProgram ? 0 : program;
}

/// What is equal on both pipelines: triangles are filled whichever way around, and blended by alpha. A line over its
/// casing has the casing's depth.
void SetDrawingState(const GLCalls& gl) {
    gl.glEnable(GL_BLEND);
    gl.glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    gl.glDisable(GL_CULL_FACE);
    gl.glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    if (IntegerOf(gl, GL_DEPTH_FUNC) == GL_LESS) {
        gl.glDepthFunc(GL_LEQUAL);
    }
}

/// The state of a 4.x context that SetDrawingState changes, put back at the end. The view's copy never learns of it.
class KeptState {
public:
    explicit KeptState(const GLCalls& gl)
        : m_gl(gl), m_blend(gl.glIsEnabled(GL_BLEND)), m_cull(gl.glIsEnabled(GL_CULL_FACE)),
          m_depth(IntegerOf(gl, GL_DEPTH_FUNC)), m_factors{IntegerOf(gl, GL_BLEND_SRC_RGB),
                                                           IntegerOf(gl, GL_BLEND_DST_RGB),
                                                           IntegerOf(gl, GL_BLEND_SRC_ALPHA),
                                                           IntegerOf(gl, GL_BLEND_DST_ALPHA)} {
        gl.glGetIntegerv(GL_POLYGON_MODE, m_polygon);
    }
    ~KeptState() {
        if (!m_blend) {
            m_gl.glDisable(GL_BLEND);
        }
        if (m_cull) {
            m_gl.glEnable(GL_CULL_FACE);
        }
        m_gl.glDepthFunc(static_cast<GLenum>(m_depth));
        m_gl.glBlendFuncSeparate(Factor(0), Factor(1), Factor(2), Factor(3));
        // A core context has one mode for both sides and answers with one value.
        if (m_polygon[1] == 0 || m_polygon[0] == m_polygon[1]) {
            m_gl.glPolygonMode(GL_FRONT_AND_BACK, static_cast<GLenum>(m_polygon[0]));
        } else {
            m_gl.glPolygonMode(GL_FRONT, static_cast<GLenum>(m_polygon[0]));
            m_gl.glPolygonMode(GL_BACK, static_cast<GLenum>(m_polygon[1]));
        }
    }
    KeptState(const KeptState&) = delete;
    KeptState& operator=(const KeptState&) = delete;

private:
    GLenum Factor(int index) const { return static_cast<GLenum>(m_factors[index]); }

    GLCalls m_gl;
    GLboolean m_blend;
    GLboolean m_cull;
    GLint m_depth;
    GLint m_factors[4];
    GLint m_polygon[2] = {};
};

/// Through the ring, or in one draw from a buffer of their own where they are more than a segment holds.
void DrawWithPrograms(COpenGLView& view, ShapeDrawing& drawing) {
    const GLCalls gl = ViewAccess::CallGL(view);
    const GLuint hostProgram = HostProgram(view, gl);
    const GLShaderTypes type = ProgramFor(drawing.mode);
    const auto count = static_cast<int>(drawing.vertices.size());
    const bool fitsRing = drawing.vertices.size() <= kMostVertices;
    GLVBO buffer;
    long bound = S_OK;
    {
        MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
        const MatrixSet kept = matrices;
        matrices.projection = drawing.projection * glm::translate(drawing.modelview, drawing.origin);
        matrices.modelview = glm::dmat4(1.0);
        ShaderData& program = ViewAccess::StockPrograms().programs[type];
        bound = fitsRing ? view.BindVariablesToShaderProgram(view.GetCurrentContextType(), type, program)
                         : view.BindVariablesToShaderProgram(view.GetCurrentContextType(), type, program, buffer,
                                                             drawing.vertices.data(), drawing.vertices.size());
        matrices = kept;
    }
    if (bound == S_OK) {
        const KeptState kept(gl);
        SetDrawingState(gl);
        if (fitsRing) {
            ViewAccess::DrawFromRing(view, drawing.mode, drawing.vertices.data(), count);
        } else {
            view.DrawArrays(static_cast<int>(drawing.mode), count, buffer, nullptr);
        }
    }
    view.DisableShaderVertexAttribArrays(type);
    gl.glUseProgram(hostProgram);
    ViewAccess::CurrentObjects(view).boundProgram = 0;
    view.DeleteVBO(buffer);
}

void DrawWithFixedFunctions(COpenGLView& view, const ShapeDrawing& drawing) {
    const GLCalls gl = ViewAccess::CallGL(view);
    const GLuint hostProgram = HostProgram(view, gl);
    if (hostProgram != 0) {
        gl.glUseProgram(0);
    }
    GLdouble projection[16] = {};
    GLdouble modelview[16] = {};
    gl.glGetDoublev(GL_PROJECTION_MATRIX, projection);
    gl.glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    gl.glPushAttrib(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_POLYGON_BIT | GL_LIGHTING_BIT |
                    GL_TRANSFORM_BIT);
    gl.glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    const auto loadMatrices = [&gl](const double* first, const double* second) {
        gl.glMatrixMode(GL_PROJECTION);
        gl.glLoadMatrixd(first);
        gl.glMatrixMode(GL_MODELVIEW);
        gl.glLoadMatrixd(second);
    };
    const glm::dmat4 clip = drawing.projection * glm::translate(drawing.modelview, drawing.origin);
    loadMatrices(glm::value_ptr(clip), glm::value_ptr(glm::dmat4(1.0)));
    SetDrawingState(gl);
    gl.glShadeModel(GL_SMOOTH); // edges fade
    gl.glDisable(GL_LIGHTING);
    gl.glDisable(GL_TEXTURE_1D);
    gl.glDisable(GL_TEXTURE_2D);
    if (gl.Has(&GLEntryPoints::glBindBuffer)) {
        gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
    }
    gl.glDisableClientState(GL_NORMAL_ARRAY);
    gl.glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    gl.glEnableClientState(GL_VERTEX_ARRAY);
    gl.glEnableClientState(GL_COLOR_ARRAY);
    gl.glVertexPointer(3, GL_FLOAT, sizeof(GLDrawGeometry), &drawing.vertices.front().x);
    gl.glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GLDrawGeometry), &drawing.vertices.front().r);
    gl.glDrawArrays(drawing.mode, 0, static_cast<GLsizei>(drawing.vertices.size()));
    loadMatrices(projection, modelview);
    gl.glPopClientAttrib();
    gl.glPopAttrib();
    if (hostProgram != 0) {
        gl.glUseProgram(hostProgram);
    }
}

} // namespace

void ForgetWaitingShapes(COpenGLView& view) {
    if (const auto& drawing = ViewAccess::Shapes(view)) {
        drawing->vertices.clear();
    }
}

void DrawWaitingShapes(COpenGLView& view, ShapeDrawing& drawing) {
    if (!drawing.Waits()) {
        return;
    }
    drawing.drawing = true;
    const GLCalls gl = ViewAccess::CurrentGL(view);
    const DebugGroup group(gl, "shapes");
    if (view.DrawsWithPrograms()) {
        DrawWithPrograms(view, drawing);
    } else {
        DrawWithFixedFunctions(view, drawing);
    }
    drawing.vertices.clear();
    drawing.onlySymbols = true;
    drawing.drawing = false;
}

ShapeScope::ShapeScope(COpenGLView& view, unsigned int mode, const PointXYZ& first, bool isSymbol) : m_view(view) {
    if (!ViewAccess::HasCurrentContext(view)) {
        return;
    }
    SoleOwner<ShapeDrawing>& kept = ViewAccess::Shapes(view);
    if (!kept) {
        kept = std::make_unique<ShapeDrawing>();
    }
    ShapeDrawing& drawing = *kept;
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    const bool agrees = drawing.mode == mode && drawing.projection == matrices.projection &&
                        drawing.modelview == matrices.modelview && drawing.viewport == record.attributes.viewport;
    if (!drawing.Waits() || !agrees) {
        ViewAccess::CallGL(view); // what waits, shapes or others
        ViewAccess::Batch(view).Keep(0);
        drawing.mode = mode;
        drawing.projection = matrices.projection;
        drawing.modelview = matrices.modelview;
        drawing.viewport = record.attributes.viewport;
    }
    const glm::dvec3 place(first.x - record.coordinateOffsetX, first.y - record.coordinateOffsetY, first.z);
    const glm::dmat4 clip = drawing.projection * drawing.modelview;
    if (!drawing.Waits()) {
        drawing.origin = OriginFor(clip, place);
        drawing.isFlat = clip[0][3] == 0.0 && clip[1][3] == 0.0 && clip[2][3] == 0.0;
        drawing.scale = ScaleAt(clip, drawing.viewport, drawing.origin);
        drawing.onlySymbols = true;
    }
    drawing.onlySymbols = drawing.onlySymbols && isSymbol;
    m_scale = drawing.isFlat ? drawing.scale : ScaleAt(clip, drawing.viewport, place);
    m_drawing = &drawing;
}

ShapeScope::~ShapeScope() {
    const bool mayWait = ViewAccess::Batch(m_view).SharesDraws() && m_view.GetCurrentContextType() == GLContextMain;
    if (m_drawing && !mayWait) {
        DrawWaitingShapes(m_view, *m_drawing);
    }
}

GLRGBAColor ShapeScope::CurrentColor() const {
    return ViewAccess::CurrentRecord(m_view).attributes.currentColor;
}

PointXYZ ShapeScope::ModelOrigin() const {
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(m_view);
    return {record.coordinateOffsetX, record.coordinateOffsetY, 0.0};
}

PointXYZ ShapeScope::ToPlane(const PointXYZ& point, GLSizeUnit unit) const {
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(m_view);
    const glm::dvec3& origin = m_drawing->origin;
    const glm::dvec2 place(point.x - record.coordinateOffsetX - origin.x,
                           point.y - record.coordinateOffsetY - origin.y);
    const glm::dvec2 inPlane = unit == GLSizePixels ? m_scale.pixelsFromUnits * place : place;
    return {inPlane.x, inPlane.y, point.z - origin.z};
}

std::optional<PlaneBox> ShapeScope::VisibleIn(GLSizeUnit unit) const {
    if (!m_scale.visiblePixels || unit == GLSizePixels) {
        return m_scale.visiblePixels;
    }
    const PlaneBox& pixels = *m_scale.visiblePixels;
    const glm::dvec2 middle = m_scale.unitsFromPixels *
                              glm::dvec2((pixels.low.x + pixels.high.x) * 0.5, (pixels.low.y + pixels.high.y) * 0.5);
    const glm::dvec2 size((pixels.high.x - pixels.low.x) * 0.5, (pixels.high.y - pixels.low.y) * 0.5);
    const glm::dvec2 reach =
        glm::abs(m_scale.unitsFromPixels[0]) * size.x + glm::abs(m_scale.unitsFromPixels[1]) * size.y;
    return PlaneBox{{middle.x - reach.x, middle.y - reach.y}, {middle.x + reach.x, middle.y + reach.y}};
}

/// Draws what waits where `count` more would be too many for one draw.
void ShapeScope::Reserve(std::size_t count) {
    const std::size_t most = m_drawing->onlySymbols ? kMostSymbolVertices : kMostVertices;
    if (m_drawing->vertices.size() + count > most) {
        DrawWaitingShapes(m_view, *m_drawing);
    }
}

void ShapeScope::AddMesh(const ShapeMesh& mesh, GLSizeUnit unit, const GLRGBAColor* colors) {
    std::vector<GLDrawGeometry>& vertices = m_drawing->vertices;
    const glm::dmat2 toUnits = unit == GLSizePixels ? m_scale.unitsFromPixels : glm::dmat2(1.0);
    Reserve(3);
    bool first = true;
    for (const ShapeVertex& vertex : mesh.Strip()) {
        const glm::dvec2 place = toUnits * glm::dvec2(vertex.x, vertex.y);
        const GLRGBAColor& color = colors[vertex.paint];
        const GLDrawGeometry record = RecordOf(place.x, place.y, vertex.z, color, AlphaOf(color.a, vertex.coverage));
        if (first) {
            JoinStrip(vertices, record);
            first = false;
        } else if (vertices.size() >= kMostVertices) {
            // The strip goes on behind its last two vertices.
            const GLDrawGeometry carried[] = {vertices[vertices.size() - 2], vertices.back()};
            DrawWaitingShapes(m_view, *m_drawing);
            vertices.assign(std::begin(carried), std::end(carried));
        }
        vertices.push_back(record);
    }
}

void ShapeScope::AddLine(const PointXYZ& start, const PointXYZ& end, const GLRGBAColor& color) {
    if (!Plane::IsFinite(start) || !Plane::IsFinite(end)) {
        return;
    }
    Reserve(2);
    for (const PointXYZ& point : {start, end}) {
        const PointXYZ place = ToPlane(point, GLSizeModelUnits);
        m_drawing->vertices.push_back(RecordOf(place.x, place.y, place.z, color, color.a));
    }
}

void ShapeScope::FillStamp(const ShapeMesh& mesh, const GLRGBAColor* colors, SymbolStamp& stamp) const {
    stamp.vertices.clear();
    for (const ShapeVertex& vertex : mesh.Strip()) {
        const glm::dvec2 place = m_scale.unitsFromPixels * glm::dvec2(vertex.x, vertex.y);
        const GLRGBAColor& color = colors[vertex.paint];
        stamp.vertices.push_back(RecordOf(place.x, place.y, 0.0, color, AlphaOf(color.a, vertex.coverage)));
    }
}

void ShapeScope::AddStamp(const PointXYZ& place, const SymbolStamp& stamp) {
    if (stamp.vertices.empty()) {
        return;
    }
    Reserve(stamp.vertices.size() + 2);
    std::vector<GLDrawGeometry>& vertices = m_drawing->vertices;
    const PointXYZ at = ToPlane(place, GLSizeModelUnits);
    const auto moved = [&at](GLDrawGeometry record) {
        record.x = static_cast<float>(at.x + record.x);
        record.y = static_cast<float>(at.y + record.y);
        record.z = static_cast<float>(at.z + record.z);
        return record;
    };
    JoinStrip(vertices, moved(stamp.vertices.front()));
    for (const GLDrawGeometry& record : stamp.vertices) {
        vertices.push_back(moved(record));
    }
}

} // namespace KTR
