#include "../pipeline/ForcedState.h"

#include "../diagnostics/DebugNames.h"
#include "../pipeline/ProgramBinding.h"
#include "../pipeline/StockPrograms.h"
#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "StreamBuffer.h"
#include "SurfaceNormals.h"
#include "SurfacePieces.h"
#include "ViewLight.h"

#include <GL/glext.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace KTR {

namespace {

/// Behind each draw, whichever function it is.
constexpr const wchar_t* kDrawn = L"DrawGeometry3D: END";

/// Most that one draw of programs takes: 9 MB of records, 6 MB of indices.
constexpr std::size_t kStreamedRecords = 262'144;
constexpr std::size_t kStreamedElements = 6 * kStreamedRecords;
/// Most that one draw of fixed functions takes: below what a GLsizei holds.
constexpr std::size_t kPointedElements = 1U << 30;
/// Most records that are looked through for normals before they are drawn: the driver finds them in the cache then.
constexpr std::size_t kInspectedRecords = 32'768;
/// A piece of no more elements is not cut any further: its primitives are put together one by one.
constexpr std::size_t kGatheredElements = 12'288;

constexpr std::size_t kMostElementsOfPrimitive = 3;

/// Draws pieces of one geometry. What a piece needs to be drawn as it is differs by pipeline.
class PieceDrawing {
public:
    PieceDrawing(const SurfaceGeometry& geometry, const RecordRanges& ranges)
        : m_geometry(geometry), m_ranges(ranges) {}
    virtual ~PieceDrawing() = default;
    PieceDrawing(const PieceDrawing&) = delete;
    PieceDrawing& operator=(const PieceDrawing&) = delete;

    /// False when the driver has no memory. Throws when there is none here.
    bool Draw(const SurfacePiece& piece) {
        const RecordRange range = m_ranges.Of(piece);
        if (MayDrawWhole(piece, range)) {
            return DrawWhole(piece, range);
        }
        if (piece.count <= kGatheredElements) {
            return Gather(piece);
        }
        const auto [front, back] = Cut(piece);
        return Draw(front) && Draw(back);
    }

protected:
    virtual bool MayDrawWhole(const SurfacePiece& piece, const RecordRange& range) const = 0;
    virtual bool DrawWhole(const SurfacePiece& piece, const RecordRange& range) = 0;
    /// Draws separate primitives.
    virtual bool DrawRecords(unsigned int mode, const std::vector<GLDrawGeometry>& records) = 0;
    /// Called for each primitive that was gathered.
    virtual void Complete(GLDrawGeometry* /*corners*/) const {}

    const SurfaceGeometry& Geometry() const { return m_geometry; }

private:
    bool Gather(const SurfacePiece& piece) {
        const std::size_t corners = ElementsPerPrimitive(piece.mode);
        const std::size_t primitives = PrimitivesOf(piece);
        m_gathered.resize(primitives * corners);
        for (std::size_t primitive = 0; primitive < primitives; ++primitive) {
            std::size_t elements[kMostElementsOfPrimitive] = {};
            ElementsOf(piece, primitive, elements);
            GLDrawGeometry* const first = m_gathered.data() + primitive * corners;
            for (std::size_t corner = 0; corner < corners; ++corner) {
                first[corner] = m_geometry.records[m_geometry.RecordOf(elements[corner])];
            }
            Complete(first);
        }
        return DrawRecords(SeparateMode(piece.mode), m_gathered);
    }

    const SurfaceGeometry& m_geometry;
    const RecordRanges& m_ranges;
    std::vector<GLDrawGeometry> m_gathered;
};

/// From stream buffers.
class StreamedPieces final : public PieceDrawing {
public:
    StreamedPieces(const SurfaceGeometry& geometry, const RecordRanges& ranges, const GLCalls& gl, SceneObjects& scene)
        : PieceDrawing(geometry, ranges), m_gl(gl), m_scene(scene) {}

protected:
    bool MayDrawWhole(const SurfacePiece& piece, const RecordRange& range) const override {
        return range.Count() <= kStreamedRecords && piece.count <= kStreamedElements &&
               (piece.IsRun() || piece.mode == GL_LINE_LOOP);
    }

    bool DrawWhole(const SurfacePiece& piece, const RecordRange& range) override {
        const unsigned int* const indices = Geometry().indices;
        if (!Upload(Geometry().records + range.low, range.Count())) {
            return false;
        }
        const auto count = static_cast<GLsizei>(piece.count);
        if (!indices) {
            m_gl.As(kDrawn).glDrawArrays(piece.mode, 0, count);
            return true;
        }
        GLintptr offset = 0;
        {
            const StreamRoom room(m_gl, GL_ELEMENT_ARRAY_BUFFER, m_scene.indices,
                                  static_cast<GLsizeiptr>(piece.count * sizeof(unsigned int)));
            auto* const target = static_cast<unsigned int*>(room.Data());
            if (!target) {
                return false;
            }
            // The records begin with the lowest one that the piece names.
            const unsigned int* const source = indices + piece.first;
            const auto low = static_cast<unsigned int>(range.low);
            for (std::size_t element = 0; element < piece.count; ++element) {
                target[element] = source[element] - low;
            }
            offset = room.Offset();
        }
        m_gl.As(kDrawn).glDrawElements(piece.mode, count, GL_UNSIGNED_INT, reinterpret_cast<const void*>(offset));
        return true;
    }

    bool DrawRecords(unsigned int mode, const std::vector<GLDrawGeometry>& records) override {
        if (!Upload(records.data(), records.size())) {
            return false;
        }
        m_gl.As(kDrawn).glDrawArrays(mode, 0, static_cast<GLsizei>(records.size()));
        return true;
    }

private:
    bool Upload(const GLDrawGeometry* records, std::size_t count) {
        const std::size_t bytes = count * sizeof(GLDrawGeometry);
        GLintptr offset = 0;
        {
            const StreamRoom room(m_gl, GL_ARRAY_BUFFER, m_scene.vertices, static_cast<GLsizeiptr>(bytes));
            if (!room.Data()) {
                return false;
            }
            std::memcpy(room.Data(), records, bytes);
            offset = room.Offset();
        }
        m_gl.glBindVertexBuffer(0, m_scene.vertices.name, offset, sizeof(GLDrawGeometry));
        return true;
    }

    const GLCalls& m_gl;
    SceneObjects& m_scene;
};

/// From where the host has it.
class PointedPieces final : public PieceDrawing {
public:
    PointedPieces(const SurfaceGeometry& geometry, const RecordRanges& ranges, const GLCalls& gl,
                  const StockProgram& stock)
        : PieceDrawing(geometry, ranges), m_gl(gl), m_stock(stock),
          m_needsNormals(stock.lit && stock.texture == ProgramTexture::None) {}

protected:
    /// The lit program takes its face's normal for a corner without one; fixed functions know nothing of faces.
    bool MayDrawWhole(const SurfacePiece& piece, const RecordRange& range) const override {
        if (piece.count > kPointedElements || (!piece.IsRun() && piece.mode != GL_LINE_LOOP)) {
            return false;
        }
        if (!m_needsNormals) {
            return true;
        }
        const GLDrawGeometry* const records = Geometry().records;
        if (range.Count() <= kInspectedRecords) {
            return HaveNormals(records + range.low, range.Count());
        }
        for (std::size_t element = piece.first; element < piece.first + piece.count; ++element) {
            if (piece.count > kGatheredElements || LacksNormal(records[Geometry().RecordOf(element)])) {
                return false;
            }
        }
        return true;
    }

    bool DrawWhole(const SurfacePiece& piece, const RecordRange& /*range*/) override {
        const auto count = static_cast<GLsizei>(piece.count);
        if (Geometry().indices) {
            PointTo(Geometry().records);
            m_gl.As(kDrawn).glDrawElements(piece.mode, count, GL_UNSIGNED_INT, Geometry().indices + piece.first);
        } else {
            PointTo(Geometry().records + piece.first);
            m_gl.As(kDrawn).glDrawArrays(piece.mode, 0, count);
        }
        return true;
    }

    bool DrawRecords(unsigned int mode, const std::vector<GLDrawGeometry>& records) override {
        PointTo(records.data());
        m_gl.As(kDrawn).glDrawArrays(mode, 0, static_cast<GLsizei>(records.size()));
        return true;
    }

    void Complete(GLDrawGeometry* corners) const override {
        if (!m_needsNormals) {
            return;
        }
        PointXYZ normal;
        MakeFaceNormals(corners, kMostElementsOfPrimitive, nullptr, 0, &normal);
        for (std::size_t corner = 0; corner < kMostElementsOfPrimitive; ++corner) {
            if (LacksNormal(corners[corner])) {
                corners[corner].nx = static_cast<float>(normal.x);
                corners[corner].ny = static_cast<float>(normal.y);
                corners[corner].nz = static_cast<float>(normal.z);
            }
        }
    }

private:
    static bool LacksNormal(const GLDrawGeometry& record) {
        return record.nx == 0.0F && record.ny == 0.0F && record.nz == 0.0F;
    }
    /// Without a branch for each record: next to always they have.
    static bool HaveNormals(const GLDrawGeometry* records, std::size_t count) {
        std::size_t without = 0;
        for (std::size_t index = 0; index < count; ++index) {
            const GLDrawGeometry& record = records[index];
            const float largest = std::abs(record.nx) + std::abs(record.ny) + std::abs(record.nz);
            without += largest == 0.0F ? 1 : 0;
        }
        return without == 0;
    }

    void PointTo(const GLDrawGeometry* records) {
        if (records == m_pointedTo) {
            return;
        }
        m_pointedTo = records;
        constexpr GLsizei kStride = sizeof(GLDrawGeometry);
        m_gl.glVertexPointer(3, GL_FLOAT, kStride, &records->x);
        if (m_stock.lit) {
            m_gl.glNormalPointer(GL_FLOAT, kStride, &records->nx);
        }
        if (m_stock.texture == ProgramTexture::None) {
            m_gl.glColorPointer(4, GL_UNSIGNED_BYTE, kStride, &records->r);
        } else {
            m_gl.glTexCoordPointer(2, GL_FLOAT, kStride, &records->s);
        }
    }

    const GLCalls& m_gl;
    const StockProgram& m_stock;
    bool m_needsNormals;
    const GLDrawGeometry* m_pointedTo = nullptr;
};

/// Puts a host's own program back into use that the library did not know of.
class HostProgram {
public:
    HostProgram(COpenGLView& view, const GLCalls& gl) : m_gl(gl) {
        if (m_gl.Has(&GLEntryPoints::glUseProgram)) {
            GLint program = 0;
            m_gl.glGetIntegerv(GL_CURRENT_PROGRAM, &program);
            const GLuint known = ViewAccess::CurrentObjects(view).boundProgram;
            m_program = static_cast<GLuint>(program) == known ? 0 : static_cast<GLuint>(program);
        }
    }
    ~HostProgram() {
        if (IsThere()) {
            m_gl.glUseProgram(m_gl.glIsProgram(m_program) ? m_program : 0);
        }
    }
    HostProgram(const HostProgram&) = delete;
    HostProgram& operator=(const HostProgram&) = delete;

    bool IsThere() const { return m_program != 0; }

private:
    const GLCalls& m_gl;
    GLuint m_program = 0;
};

/// The stock program of a type with what it takes, in use for as long as this lives. No program of the library's is
/// afterwards.
class StockProgramInUse {
public:
    StockProgramInUse(COpenGLView& view, const GLCalls& gl, GLShaderTypes shader)
        : m_view(view), m_gl(gl), m_shader(shader), m_host(view, gl) {
        UseProgram(view, view.GetCurrentContextType(), shader, ViewAccess::StockPrograms().programs[shader]);
    }
    ~StockProgramInUse() {
        m_view.DisableShaderVertexAttribArrays(m_shader);
        m_gl.glUseProgram(0);
        ViewAccess::CurrentObjects(m_view).boundProgram = 0;
        ForceStateFor(m_view, GLShaderUnknown);
    }
    StockProgramInUse(const StockProgramInUse&) = delete;
    StockProgramInUse& operator=(const StockProgramInUse&) = delete;

private:
    COpenGLView& m_view;
    const GLCalls& m_gl;
    GLShaderTypes m_shader;
    HostProgram m_host;
};

/// Has client arrays read as the shader type says, and puts back what a host has set. The library's copy of the state
/// does not hear of it.
class ClientArrays {
public:
    ClientArrays(COpenGLView& view, const GLCalls& gl, const StockProgram& stock) : m_gl(gl), m_host(view, gl) {
        if (m_host.IsThere()) {
            m_gl.glUseProgram(0);
        }
        m_gl.glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
        m_gl.glPushAttrib(GL_CURRENT_BIT | GL_ENABLE_BIT | GL_TEXTURE_BIT);
        if (m_gl.Has(&GLEntryPoints::glBindBuffer)) {
            m_gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
            m_gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        }
        if (m_gl.Has(&GLEntryPoints::glActiveTexture) && m_gl.Has(&GLEntryPoints::glClientActiveTexture)) {
            m_gl.glActiveTexture(GL_TEXTURE0);
            m_gl.glClientActiveTexture(GL_TEXTURE0);
        }
        const bool textured = stock.texture != ProgramTexture::None;
        Switch(GL_VERTEX_ARRAY, true);
        Switch(GL_NORMAL_ARRAY, stock.lit);
        Switch(GL_COLOR_ARRAY, !textured);
        Switch(GL_TEXTURE_COORD_ARRAY, textured);
        if (!textured) {
            m_gl.glDisable(GL_TEXTURE_2D);
            return;
        }
        // Programs multiply the texture with the light and its transparency; the colours of records do not count.
        const float alpha = ViewAccess::CurrentRecord(view).attributes.textureTransparency;
        m_gl.glEnable(GL_TEXTURE_2D);
        m_gl.glBindTexture(GL_TEXTURE_2D, ViewAccess::Textures(view).shaderTexture);
        m_gl.glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        m_gl.glColor4f(1.0F, 1.0F, 1.0F, alpha);
    }
    ~ClientArrays() {
        m_gl.glPopAttrib();
        m_gl.glPopClientAttrib();
    }
    ClientArrays(const ClientArrays&) = delete;
    ClientArrays& operator=(const ClientArrays&) = delete;

private:
    void Switch(GLenum array, bool on) const {
        if (on) {
            m_gl.glEnableClientState(array);
        } else {
            m_gl.glDisableClientState(array);
        }
    }

    const GLCalls& m_gl;
    HostProgram m_host;
};

/// Programs that draw records by themselves; the others need what only text, images and frames set up.
bool DrawsRecords(GLShaderTypes shader) {
    return IsStockProgram(shader) && shader <= GLShaderTextureDecalFusion;
}

/// A program with a geometry stage takes what that stage reads.
bool TakesMode(const StockProgram& stock, unsigned int mode) {
    return IsCuttable(mode) && (!stock.geometryFile || SeparateMode(mode) == (stock.lit ? GL_TRIANGLES : GL_LINES));
}

bool DrawWithProgram(COpenGLView& view, const SurfaceGeometry& geometry, GLShaderTypes shader,
                     const SurfacePiece& whole, const RecordRanges& ranges) {
    const GLCalls gl = ViewAccess::CallGL(view);
    const StockProgramInUse program(view, gl, shader);
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    if (objects.boundProgram == 0) {
        return true; // it could not be built: OpenGL would draw white without one
    }
    GLVBO stream;
    stream.vertexBuffer = objects.scene.vertices.name;
    const bool bound = BindVertexStorage(gl, objects, ViewAccess::StockPrograms().programs[shader], stream);
    objects.scene.vertices.name = stream.vertexBuffer;
    return bound && StreamedPieces(geometry, ranges, gl, objects.scene).Draw(whole);
}

bool DrawWithFixedFunctions(COpenGLView& view, const SurfaceGeometry& geometry, GLShaderTypes shader,
                            const SurfacePiece& whole, const RecordRanges& ranges) {
    const StockProgram& stock = StockProgramOf(shader);
    const LightingScope lighting(view, stock.lit);
    const GLCalls gl = ViewAccess::CallGL(view);
    const ClientArrays arrays(view, gl, stock);
    return PointedPieces(geometry, ranges, gl, stock).Draw(whole);
}

} // namespace

long COpenGLView::DrawGeometry3D(unsigned int mode, GLShaderTypes shader, const GLDrawGeometry* records,
                                 unsigned __int64 count, const unsigned int* indices, unsigned __int64 indexCount) {
    if (!DrawsRecords(shader) || !TakesMode(StockProgramOf(shader), mode)) {
        return E_INVALIDARG;
    }
    const SurfaceGeometry geometry{records, count, indices, indices ? indexCount : count};
    const SurfacePiece whole = WholePiece(mode, geometry.elementCount);
    if (whole.count == 0) {
        return S_OK;
    }
    if (!records) {
        return E_INVALIDARG;
    }
    try {
        const RecordRanges ranges(geometry, whole);
        if (ranges.Whole().high >= count) {
            return E_INVALIDARG;
        }
        if (!HasCurrentContext()) {
            return E_FAIL;
        }
        DrawWaitingVertices();
        m_batch.Keep(0);
        const GLCalls gl = CurrentGL();
        const DebugGroup group(gl, "DrawGeometry3D");
        const bool drawn = DrawsWithPrograms() ? DrawWithProgram(*this, geometry, shader, whole, ranges)
                                               : DrawWithFixedFunctions(*this, geometry, shader, whole, ranges);
        return drawn ? S_OK : E_OUTOFMEMORY;
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

} // namespace KTR
