#include "../view/OpenGLView.h"

#include "../diagnostics/DebugNames.h"
#include "../platform/GLCalls.h"
#include "../scene/ViewLight.h"
#include "../text/MatrixScope.h"
#include "../values/LightDirection.h"
#include "GeometryFilling.h"
#include "KeptGeometry.h"
#include "ProgramBinding.h"
#include "StockPrograms.h"
#include "UniformWriter.h"

#include <GL/glext.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <optional>

namespace KTR {

namespace {

/// Behind each draw from a buffer, whichever function it is.
constexpr const wchar_t* kDrawn = L"glDrawArrays: AFTER:";

/// Draws the strips of a range. One that the range cuts is drawn as far as it lies inside.
void DrawChains(const GLCalls& gl, const KeptRecords& kept, int first, int end) {
    const auto& firsts = kept.chainFirsts;
    const auto& counts = kept.chainCounts;
    auto chain = static_cast<std::size_t>(std::upper_bound(firsts.begin(), firsts.end(), first) - firsts.begin());
    chain -= chain > 0 ? 1 : 0;
    const auto drawCut = [&] {
        const int from = std::max(first, firsts[chain]);
        const int to = std::min(end, firsts[chain] + counts[chain]);
        if (to - from >= 2) {
            gl.As(kDrawn).glDrawArrays(GL_LINE_STRIP, from, to - from);
        }
        ++chain;
    };
    if (firsts[chain] < first) {
        drawCut();
    }
    std::size_t whole = chain;
    while (whole < firsts.size() && firsts[whole] + counts[whole] <= end) {
        ++whole;
    }
    if (whole > chain && gl.Has(&GLEntryPoints::glMultiDrawArrays)) {
        gl.As(kDrawn).glMultiDrawArrays(GL_LINE_STRIP, firsts.data() + chain, counts.data() + chain,
                                        static_cast<GLsizei>(whole - chain));
        chain = whole;
    }
    while (chain < firsts.size() && firsts[chain] < end) {
        drawCut();
    }
}

void DrawRecords(const GLCalls& gl, const KeptRecords& kept, int first, int count) {
    if (kept.mode == GL_LINE_STRIP) {
        DrawChains(gl, kept, first, first + count);
    } else {
        gl.As(kDrawn).glDrawArrays(kept.mode, first, count);
    }
}

/// Gives the bound program the matrices of geometry that is moved by `shift`, while it lives; then those that the
/// view's batches are drawn with come back. Where they are the same nothing is sent.
class ShiftedProgram {
public:
    ShiftedProgram(COpenGLView& view, const GLCalls& gl, const glm::dvec3& shift)
        : m_objects(ViewAccess::CurrentObjects(view)), m_type(m_objects.currentShader),
          m_lit(m_objects.boundIsStock && StockProgramOf(m_type).lit),
          m_writer(gl, m_objects.boundIsStock ? ViewAccess::StockPrograms().programs[m_type] : m_host, false) {
        m_host.program = m_objects.boundProgram;
        MatrixSet matrices = ViewAccess::CurrentMatrices(view);
        matrices.modelview = glm::translate(matrices.modelview, shift);
        ProgramUniforms shifted = m_objects.boundUniforms;
        TakeMatrices(matrices, m_type, shifted);
        if (m_lit) {
            // As fixed functions do, which light a draw with the matrices that it is drawn with.
            shifted.light = LightInEyeCoordinates(ViewAccess::CurrentRecord(view).attributes, matrices.modelview);
        }
        m_changed = !AgreeFor(m_type, shifted, m_objects.boundUniforms);
        Write(shifted);
    }
    ~ShiftedProgram() { Write(m_objects.boundUniforms); }
    ShiftedProgram(const ShiftedProgram&) = delete;
    ShiftedProgram& operator=(const ShiftedProgram&) = delete;

private:
    void Write(const ProgramUniforms& uniforms) const {
        if (m_changed) {
            m_writer.WriteMatrix(uniforms);
        }
        if (m_changed && m_lit) {
            m_writer.WriteStockUniforms(m_type, uniforms);
        }
    }

    const ContextObjects& m_objects;
    GLShaderTypes m_type;
    bool m_lit;
    bool m_changed = false;
    ShaderData m_host; ///< stands for a program of the host's own
    UniformWriter m_writer;
};

long DrawFromBuffer(COpenGLView& view, KeptRecords& kept, const glm::dvec3& shift, int first, int count) {
    const GLCalls gl = ViewAccess::CallGL(view);
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    if (objects.boundProgram == 0) {
        return E_FAIL;
    }
    unsigned int buffer = 0;
    if (const long result = kept.Upload(view, gl, buffer); result != S_OK) {
        return result;
    }
    RestoreUniforms(view, gl);
    const ShiftedProgram matrices(view, gl, shift);
    gl.glBindVertexBuffer(0, buffer, 0, sizeof(GLDrawGeometry));
    DrawRecords(gl, kept, first, count);
    gl.glBindVertexBuffer(0, objects.ring.Buffers().vertexBuffer, 0, sizeof(GLDrawGeometry));
    return S_OK;
}

/// Points the client arrays that are on at the records. The arrays of before come back when it goes.
class PointedArrays {
public:
    PointedArrays(const GLCalls& gl, const GLRenderingContextRecord& record, const GLDrawGeometry* records) : m_gl(gl) {
        constexpr GLsizei stride = sizeof(GLDrawGeometry);
        const auto* const bytes = reinterpret_cast<const unsigned char*>(records);
        gl.glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
        gl.glVertexPointer(3, GL_FLOAT, stride, bytes);
        if (record.clientNormalArray) {
            gl.glNormalPointer(GL_FLOAT, stride, bytes + offsetof(GLDrawGeometry, nx));
        }
        if (record.clientColorArray) {
            gl.glColorPointer(4, GL_UNSIGNED_BYTE, stride, bytes + offsetof(GLDrawGeometry, r));
        }
        if (record.clientTextureArray) {
            gl.glTexCoordPointer(2, GL_FLOAT, stride, bytes + offsetof(GLDrawGeometry, s));
        }
    }
    ~PointedArrays() { m_gl.glPopClientAttrib(); }
    PointedArrays(const PointedArrays&) = delete;
    PointedArrays& operator=(const PointedArrays&) = delete;

private:
    const GLCalls& m_gl;
};

/// Light and fog are computed from positions in front of the eye, so the two matrices stay two where either is on. All
/// else needs their product only, which is formed in double precision.
bool NeedsEyeCoordinates(COpenGLView& view, const GLCalls& gl) {
    return view.IsOpenGLStateEnabled(GL_LIGHTING) || gl.glIsEnabled(GL_FOG);
}

long DrawFromMemory(COpenGLView& view, const KeptRecords& kept, const glm::dvec3& shift, int first, int count) {
    const GLCalls gl = ViewAccess::CallGL(view);
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    if (!record.clientVertexArray) {
        return E_FAIL;
    }
    if (kept.records.empty()) {
        return E_HANDLE;
    }
    SendLight(view);
    std::optional<MatrixScope> matrices;
    if (shift != glm::dvec3(0.0)) {
        const MatrixSet& current = ViewAccess::CurrentMatrices(view);
        if (NeedsEyeCoordinates(view, gl)) {
            matrices.emplace(view, current.projection, glm::translate(current.modelview, shift));
        } else {
            matrices.emplace(view, ClipMatrixFrom(view, shift));
        }
    }
    const PointedArrays arrays(gl, record, kept.records.data());
    DrawRecords(gl, kept, first, count);
    return S_OK;
}

} // namespace

long COpenGLView::BeginGeometry(GLGeometry& geometry) {
    const GLRenderingContextRecord& record = CurrentRecord();
    return BeginGeometry(geometry, {record.coordinateOffsetX, record.coordinateOffsetY, 0.0});
}

long COpenGLView::BeginGeometry(GLGeometry& geometry, const PointXYZ& origin) {
    if (m_filling || (geometry.m_kept && geometry.m_kept->filling)) {
        return E_FAIL;
    }
    if (const long result = geometry.SetOrigin(origin); result != S_OK) {
        return result;
    }
    std::unique_ptr<GeometryFilling> filling(new (std::nothrow) GeometryFilling(*geometry.m_kept));
    if (!filling) {
        return E_OUTOFMEMORY;
    }
    DrawWaitingVertices();
    m_batch.Keep(0);
    filling->BeginBatch(m_batch.batchPrimitiveMode);
    m_filling = std::move(filling);
    return S_OK;
}

long COpenGLView::EndGeometry() {
    if (!m_filling) {
        return E_FAIL;
    }
    DrawWaitingVertices();
    m_batch.Keep(0);
    const long result = m_filling->Finish();
    m_filling.reset();
    return result;
}

long COpenGLView::DrawGeometry(const GLGeometry& geometry) {
    return DrawGeometry(geometry, 0, geometry.GetCount());
}

long COpenGLView::DrawGeometry(const GLGeometry& geometry, int first, int count) {
    KeptRecords* const kept = geometry.m_kept.get();
    if (kept && kept->filling) {
        return E_FAIL;
    }
    if (kept ? !kept->HasRange(first, count) : first != 0 || count != 0) {
        return E_INVALIDARG;
    }
    if (!HasCurrentContext()) {
        return E_FAIL;
    }
    if (count == 0) {
        return S_OK;
    }
    const GLCalls gl = CurrentGL();
    const DebugGroup group(gl, "DrawGeometry");
    const GLRenderingContextRecord& record = CurrentRecord();
    const glm::dvec3 shift(kept->origin.x - record.coordinateOffsetX, kept->origin.y - record.coordinateOffsetY,
                           kept->origin.z);
    return DrawsWithPrograms() ? DrawFromBuffer(*this, *kept, shift, first, count)
                               : DrawFromMemory(*this, *kept, shift, first, count);
}

} // namespace KTR
