#include "../view/OpenGLView.h"

#include "../diagnostics/DebugNames.h"
#include "../platform/GLCalls.h"
#include "../scene/ViewLight.h"
#include "../shapes/ShapeDrawing.h"
#include "../text/FontTextures.h"
#include "../text/StringDrawing.h"
#include "BatchWriting.h"
#include "ClientState.h"
#include "GeometryFilling.h"
#include "ProgramBinding.h"
#include "StockPrograms.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace KTR {

namespace {

/// Behind each draw from a buffer, whichever function it is.
constexpr const wchar_t* kDrawn = L"glDrawArrays: AFTER:";

bool IsLineChain(unsigned int mode) {
    return mode == GL_LINE_LOOP || mode == GL_LINE_STRIP;
}

/// Keeps a record's context current while it lives, where another view has taken the thread's context in the meantime.
class SelectedContext {
public:
    explicit SelectedContext(const GLRenderingContextRecord& record) : m_previous(wglGetCurrentContext()) {
        if (m_previous != record.renderingContext) {
            m_previousDeviceContext = wglGetCurrentDC();
            m_switched = wglMakeCurrent(record.deviceContext, record.renderingContext) != FALSE;
        }
    }
    ~SelectedContext() {
        if (m_switched) {
            wglMakeCurrent(m_previousDeviceContext, m_previous);
        }
    }
    SelectedContext(const SelectedContext&) = delete;
    SelectedContext& operator=(const SelectedContext&) = delete;

private:
    HGLRC m_previous;
    HDC m_previousDeviceContext = nullptr;
    bool m_switched = false;
};

} // namespace

void COpenGLView::BeginSharedDraws() {
    ++m_batch.sharedDepth;
}

void COpenGLView::EndSharedDraws() {
    if (m_batch.sharedDepth == 1 && !m_batch.sharesAlways) {
        FinishSharedDraws();
    }
    m_batch.sharedDepth = std::max(m_batch.sharedDepth - 1, 0);
}

void COpenGLView::SetSharedDraws(bool on) {
    if (!on && m_batch.sharesAlways && m_batch.sharedDepth == 0) {
        FinishSharedDraws();
    }
    m_batch.sharesAlways = on;
}

/// Draws what waits, as the last that shares, and puts a fence behind what shared a segment of the ring. The next
/// shared draws go on there: a frame that needs less than a segment waits for the GPU only now and then.
void COpenGLView::FinishSharedDraws() {
    DrawWaitingVertices();
    VertexRing& ring = CurrentObjects().ring;
    if (ring.LacksFence() && HasCurrentContext()) {
        ring.Fence(CallGL());
    }
}

/// Whether a batch may be drawn together with the one before it, whose vertices wait: nothing that the view did in
/// between has changed anything, or it would have drawn them.
bool COpenGLView::JoinsWaitingVertices(unsigned int mode, GLShaderTypes shader) const {
    if (!m_batch.SharesDraws() || m_batch.waitingCount == 0 || mode != m_batch.batchPrimitiveMode) {
        return false;
    }
    const ContextObjects& objects = CurrentObjects();
    return !DrawsWithPrograms() || (IsStockProgram(shader) && shader != GLShaderText && objects.boundProgram != 0 &&
                                    objects.currentShader == shader);
}

/// Whether the open batch may wait for another one: whole primitives that share no vertices. What is drawn straight to
/// the screen is meant to be seen now.
bool COpenGLView::MayWait() const {
    const int open = m_batch.batchVertexCount - m_batch.waitingCount;
    const unsigned int mode = m_batch.batchPrimitiveMode;
    const int unit = VerticesPerPrimitive(mode);
    return m_batch.SharesDraws() && !m_batch.stateDisableWaits && !m_filling && open > 0 && unit != 0 &&
           open % unit == 0 && m_batch.batchVertexCount <= kBatchRecords && m_batch.strayIndices == 0 &&
           m_currentContext == GLContextMain && CurrentObjects().currentShader != GLShaderText;
}

void COpenGLView::BeginArrays(unsigned int mode, GLShaderTypes shader) {
    if (shader == GLShaderText && DrawsWithPrograms()) {
        UploadRestOfBoundFont(*this);
    }
    OpenBatch(mode, shader);
}

void COpenGLView::OpenBatch(unsigned int mode, GLShaderTypes shader) {
    if (m_filling) {
        DrawWaitingVertices();
        m_batch.batchPrimitiveMode = mode;
        m_batch.Keep(0);
        m_filling->BeginBatch(mode);
        return;
    }
    if (m_shapes && m_shapes->Waits()) {
        DrawWaitingVertices(); // they leave no program bound
    }
    if (m_batch.stateDisableWaits) {
        if (DrawsWithPrograms() && IsStockProgram(shader)) {
            BindStockProgram(*this, shader);
        } else {
            DrawWaitingVertices();
        }
    }
    if (JoinsWaitingVertices(mode, shader)) {
        m_batch.Keep(m_batch.waitingCount);
        CurrentRecord().loopContinued = false;
        CurrentRecord().batchOpen = false;
        return;
    }
    DrawWaitingBatches();
    m_batch.batchPrimitiveMode = mode;
    m_batch.Keep(0);
    GLRenderingContextRecord& record = CurrentRecord();
    record.loopContinued = false;
    record.batchOpen = false;
    if (!DrawsWithPrograms()) {
        SendLight(*this);
        return;
    }
    if (!IsStockProgram(shader)) {
        CurrentObjects().boundProgram = 0; // nothing is drawn
    } else if (NeedsBinding(*this, shader)) {
        BindStockProgram(*this, shader);
    }
}

void COpenGLView::BeginArrays(unsigned int mode, GLShaderTypes shader, GLVBO& vbo, const GLDrawGeometry* geometry,
                              unsigned __int64 count) {
    // On a 4.x context the geometry was uploaded when the buffer was initialised; this only binds it.
    const bool uploaded = DrawsWithPrograms();
    InitializeVBO(mode, shader, vbo, uploaded ? nullptr : geometry, uploaded ? 0 : count);
}

void COpenGLView::EndArrays() {
    if (MayWait()) {
        m_batch.waitingCount = m_batch.batchVertexCount;
        return;
    }
    FlushArrays();
}

void COpenGLView::EndArraysAndDisableClientState() {
    EndArrays();
    DisableClientState();
}

void COpenGLView::EndVBOArraysAndDisableClientState() {
    ContextObjects& objects = CurrentObjects();
    if (DrawsWithPrograms() && objects.currentShader != GLShaderUnknown) {
        BindVAOAndVBOBufferData(m_gShaderSet.programs[objects.currentShader], objects.ring.Buffers(), nullptr, 0);
    }
    DisableClientState();
}

/// The rules of a full batch stand here. A line loop that does not fit is drawn as strips: its first vertex is kept,
/// each strip starts where the one before ended, and the last flush adds the kept vertex to close it. A line strip is
/// carried on likewise; every other mode starts afresh.
void COpenGLView::FlushArrays() {
    if (m_filling) {
        KeepPendingVertices();
        m_filling->EndBatch();
        return;
    }
    if (m_batch.stateDisableWaits) {
        DrawWaitingVertices(); // what was added since finds it carried out
    }
    m_batch.waitingCount = 0;
    if (m_batch.batchVertexCount <= 0) {
        m_batch.Keep(0);
        return;
    }
    GLRenderingContextRecord& record = CurrentRecord();
    GLDrawGeometry* vertices = m_batch.batchVertexPointer;
    if (record.loopContinued && m_batch.batchVertexCount < kBatchCapacity) {
        // The index at this slot is the identity already, from the full batch before.
        vertices[m_batch.batchVertexCount++] = record.loopFirstVertex;
    } else if (m_batch.batchPrimitiveMode == GL_LINE_LOOP && m_batch.batchVertexCount >= kBatchCapacity) {
        if (!record.loopContinued) {
            record.loopContinued = true;
            record.loopFirstVertex = vertices[0];
        }
        m_batch.batchPrimitiveMode = GL_LINE_STRIP;
    }

    const int count = m_batch.batchVertexCount;
    DrawBatch(count);
    m_batch.Keep(0);

    if (!IsLineChain(m_batch.batchPrimitiveMode) || count < kBatchCapacity) {
        return;
    }
    if (m_batch.batchPrimitiveMode == GL_LINE_LOOP && !record.loopContinued) {
        record.loopContinued = true;
        record.loopFirstVertex = vertices[0];
    }
    vertices[0] = vertices[count - 1];
    m_batch.Keep(1);
}

/// Hands the open batch to the geometry that is being filled.
void COpenGLView::KeepPendingVertices() {
    DrawWaitingVertices(); // of text, which is drawn as ever
    m_filling->Add(m_batch);
    m_batch.Keep(0);
}

/// Makes room for an add, or writes what the adds have left in the cache on into the ring. Batches that wait for others
/// are drawn and the open one moves to the front: it must not be cut where it would not be cut alone.
void COpenGLView::MakeRoomForAdd() {
    if (const int count = m_batch.batchVertexCount; count <= kBatchCapacity) {
        WriteAhead(*this);
        m_batch.addLimit = std::min(count + kWriteAheadRecords, kBatchCapacity);
        return;
    }
    if (m_filling) {
        KeepPendingVertices();
        return;
    }
    if (m_batch.SharesDraws() && m_batch.waitingCount > 0) {
        DrawWaitingBatches();
    }
    if (m_batch.batchVertexCount > kBatchCapacity) {
        FlushArrays();
    }
}

/// Draws what no slot of the arrays can be named for: batches that wait, and what went into the ring alone.
void COpenGLView::DrawBeforeFirstRecord() {
    DrawWaitingVertices();
    if (m_batch.ringOnlyCount > 0) {
        FlushArrays();
    }
}

/// The adds of the tessellator. Its fans and strips are as long as the polygon wants, so unlike a host's they go on
/// behind a full batch: a fan with its centre and the last vertex, a strip with the last two.
void COpenGLView::AddTesselatedVertex(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b,
                                      unsigned char a) {
    if (const int count = m_batch.batchVertexCount; count > kBatchCapacity && !m_filling) {
        FlushArrays();
        GLDrawGeometry* vertices = m_batch.batchVertexPointer;
        if (m_batch.batchPrimitiveMode == GL_TRIANGLE_FAN) {
            vertices[1] = vertices[count - 1];
            m_batch.batchVertexCount = 2;
        } else if (m_batch.batchPrimitiveMode == GL_TRIANGLE_STRIP) {
            // Every second triangle of a strip is turned around. The batch held an odd number of vertices, so the next
            // triangle is such a one; the doubled vertex, a triangle without area, makes it one here too.
            vertices[0] = vertices[count - 2];
            vertices[1] = vertices[count - 2];
            vertices[2] = vertices[count - 1];
            m_batch.batchVertexCount = 3;
        }
    }
    AddIndex3DVertexRGBA(x, y, z, r, g, b, a);
}

void COpenGLView::DrawBatch(int count) {
    LeaveProgramState(*this);
    const GLCalls gl = CurrentGL();
    if (!DrawsWithPrograms()) {
        if (m_batch.ringOnlyCount > 0) {
            return; // they went into another context's ring
        }
        const DebugGroup group(gl, "batch");
        gl.As(L"glDrawElements: AFTER:")
            .glDrawElements(m_batch.batchPrimitiveMode, count, GL_UNSIGNED_INT, m_batch.batchIndexPointer);
        return;
    }
    // Nothing is bound where the program could not be built: OpenGL would draw white without one. And nothing can be
    // waited for while another context is current.
    const ContextObjects& objects = CurrentObjects();
    const VertexRing& ring = objects.ring;
    if (objects.boundProgram == 0 || !ring.Claim() || !HasCurrentContext()) {
        return;
    }
    if (m_batch.writtenTurn != ring.Turn()) {
        m_batch.writtenCount = 0;
    }
    if (m_batch.ringOnlyCount > m_batch.writtenCount) {
        return; // the segment went on without them
    }
    const DebugGroup group(gl, "batch");
    // A triangle that starts at the last record reaches two records past a segment. What does not fit goes into the
    // next one, at the end of a whole primitive; only the chains need the vertex between them twice. What stands in
    // this segment only is drawn from it.
    const int unit = std::max(VerticesPerPrimitive(m_batch.batchPrimitiveMode), 1);
    const int most = m_batch.ringOnlyCount > 0 ? ring.Room() : kBatchRecords;
    const int first = count <= most ? count : most - most % unit;
    DrawBatchFromRing(gl, 0, first);
    if (count > first) {
        const int overlap = IsLineChain(m_batch.batchPrimitiveMode) ? 1 : 0;
        DrawBatchFromRing(gl, first - overlap, count - first + overlap);
    }
}

/// Draws `count` records from `start` through the ring.
void COpenGLView::DrawBatchFromRing(const GLCalls& gl, int start, int count) {
    RestoreUniforms(*this, gl);
    VertexRing& ring = CurrentObjects().ring;
    const bool shares = m_batch.SharesDraws() && m_batch.drawArraysOnly;
    if (shares ? !ring.HasRoomFor(count) : !ring.IsAtStart()) {
        if (ring.LacksFence()) {
            ring.Fence(gl);
        }
        m_gpuWaits += ring.Advance(gl);
    }
    const auto size = static_cast<std::size_t>(count);
    const bool startsThere = start == 0 && m_batch.writtenTurn == ring.Turn();
    const auto written = static_cast<std::size_t>(startsThere ? std::min(m_batch.writtenCount, count) : 0);
    std::memcpy(ring.Claim() + written, m_batch.batchVertexPointer + start + written,
                (size - written) * sizeof(GLDrawGeometry));
    if (m_batch.drawArraysOnly) {
        gl.As(kDrawn).glDrawArrays(m_batch.batchPrimitiveMode, ring.FirstVertex(), count);
    } else if (unsigned int* const indices = ring.ClaimIndices()) {
        std::memcpy(indices, m_batch.batchIndexPointer, size * sizeof(unsigned int));
        // The indices are read from the start of the buffer for every segment; only the base vertex moves.
        gl.As(kDrawn).glDrawElementsBaseVertex(m_batch.batchPrimitiveMode, count, GL_UNSIGNED_INT, nullptr,
                                               ring.FirstVertex());
    }
    if (shares) {
        ring.Share(count);
        return;
    }
    ring.Fence(gl);
    m_gpuWaits += ring.Advance(gl);
}

/// Draws the first `count` vertices and keeps those behind them, of a batch that is still open.
void COpenGLView::FlushWaitingVertices(int count) {
    const int open = m_batch.batchVertexCount - count;
    const VertexRing& ring = CurrentObjects().ring;
    const int behind = ring.FirstVertex() + count;
    const bool written = m_batch.writtenTurn == ring.Turn();
    const int openWritten = std::max(m_batch.writtenCount - count, 0);
    const int openRingOnly = std::max(m_batch.ringOnlyCount - count, 0);
    DrawBatch(count);
    // Where the next draw goes behind this one in the same segment, the kept vertices stand there already.
    m_batch.writtenCount =
        written && m_batch.writtenTurn == ring.Turn() && ring.FirstVertex() == behind ? openWritten : 0;
    m_batch.ringOnlyCount = openRingOnly;
    GLDrawGeometry* const vertices = m_batch.batchVertexPointer;
    std::memmove(vertices, vertices + count, static_cast<std::size_t>(open) * sizeof(GLDrawGeometry));
    m_batch.Keep(open);
    ReturnTextMatrix(*this);
}

/// Draws the batches that wait for others, and changes nothing else.
void COpenGLView::DrawWaitingBatches() {
    if (const int waiting = std::exchange(m_batch.waitingCount, 0); waiting > 0) {
        const SelectedContext selected(CurrentRecord());
        FlushWaitingVertices(waiting);
    }
}

/// Draws the vertices that wait for others, a batch's or shapes', and disables the client state if that waits.
/// Everything else that the view does comes after all of these, so each operation that changes the batch or the current
/// context calls this first, and CallGL does for all the others. From here on nothing is known of what is bound.
void COpenGLView::DrawWaitingVertices() {
    m_batch.boundState.form = ClientStateRequest::Form::None;
    const bool disables = std::exchange(m_batch.stateDisableWaits, false);
    DrawWaitingBatches();
    if (disables) {
        const SelectedContext selected(CurrentRecord());
        UnbindClientState(*this, CurrentGL());
    }
    if (m_shapes && m_shapes->Waits()) {
        const SelectedContext selected(CurrentRecord());
        DrawWaitingShapes(*this, *m_shapes);
    }
}

} // namespace KTR
