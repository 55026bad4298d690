#pragma once

#include "../platform/GLCalls.h"
#include "OpenGLView.h"

#include <memory>
#include <utility>

namespace KTR {

/// What the library's own rooms see of a view beyond its public face, so that their functions need not be members of
/// it. Hosts do not get this header.
struct ViewAccess {
    static GLRenderingContextRecord& CurrentRecord(COpenGLView& view) { return view.CurrentRecord(); }
    static const GLRenderingContextRecord& CurrentRecord(const COpenGLView& view) { return view.CurrentRecord(); }
    static MatrixSet& CurrentMatrices(const COpenGLView& view) { return view.CurrentMath().Matrices(); }
    /// For who is about to change something: draws the vertices that wait.
    static GLCalls CallGL(COpenGLView& view) { return view.CallGL(); }
    /// Draws the batches that wait, for who changes nothing else.
    static void DrawWaitingBatches(COpenGLView& view) { view.DrawWaitingBatches(); }
    /// For questions.
    static GLCalls CurrentGL(const COpenGLView& view) { return view.CurrentGL(); }
    static GLRenderingContextRecord& Record(COpenGLView& view, GLRenderingContextTypes type) {
        return view.m_contexts[type];
    }
    static void SelectRecord(COpenGLView& view, GLRenderingContextTypes type) { view.SelectRecord(type); }
    static std::vector<ParkedObjects>& Parked(COpenGLView& view) { return view.m_parkedObjects; }
    static const MatrixSet& Matrices(const COpenGLView& view, GLRenderingContextTypes type) {
        return view.MathOf(type).Matrices();
    }
    /// The objects of the context that the current record names.
    static ContextObjects& CurrentObjects(COpenGLView& view) { return view.CurrentObjects(); }
    /// Whether the context that the view selected last is the thread's current one. What deletes or loads GL objects
    /// asks here first.
    static bool HasCurrentContext(const COpenGLView& view) { return view.HasCurrentContext(); }
    static CRITICAL_SECTION* ClassLock(CRITICAL_SECTION& lock) { return COpenGLView::ClassLock(lock); }
    static ShaderSet& StockPrograms() { return COpenGLView::m_gShaderSet; }
    /// Opens a batch of the library's own strings, whose glyphs were seen to.
    static void OpenBatch(COpenGLView& view, unsigned int mode, GLShaderTypes shader) { view.OpenBatch(mode, shader); }
    static unsigned __int64& GpuWaits(COpenGLView& view) { return view.m_gpuWaits; }
    static void KeepPending(COpenGLView& view) { view.KeepPendingVertices(); }
    static void DrawFirst(COpenGLView& view, int count) { view.FlushWaitingVertices(count); }
    static VertexBatchState& Batch(COpenGLView& view) { return view.m_batch; }
    static auto& Filling(COpenGLView& view) { return view.m_filling; }
    static TextState& Text(COpenGLView& view) { return view.m_text; }
    static COpenGLMath& CurrentMath(const COpenGLView& view) { return view.CurrentMath(); }
    static TextureRequest& Textures(COpenGLView& view) { return view.m_textureRequest; }
    static GLTextureObject& RequestedTexture(COpenGLView& view) { return view.m_requestedTexture; }
    static auto& Owned(COpenGLView& view) { return view.m_owned; }
    static BackingStore& Store(COpenGLView& view) { return view.m_backingStore; }
    static SoleOwner<ProfileState>& Profile(COpenGLView& view) { return view.m_profile; }
    static const SoleOwner<ProfileState>& Profile(const COpenGLView& view) { return view.m_profile; }
    static OverlayState& Overlays(COpenGLView& view) { return view.m_overlays; }
    static const OverlayState& Overlays(const COpenGLView& view) { return view.m_overlays; }
    static SoleOwner<ShapeDrawing>& Shapes(COpenGLView& view) { return view.m_shapes; }
    /// Draws a room's own records through the ring; at most kBatchRecords of them, with the program that is
    /// bound. What waits has been drawn.
    static void DrawFromRing(COpenGLView& view, unsigned int mode, GLDrawGeometry* records, int count) {
        VertexBatchState& batch = view.m_batch;
        const unsigned int batchMode = std::exchange(batch.batchPrimitiveMode, mode);
        GLDrawGeometry* const batchRecords = std::exchange(batch.batchVertexPointer, records);
        batch.writtenCount = 0; // whatever stands ahead in the ring is not of these
        batch.ringOnlyCount = 0;
        view.DrawBatch(count);
        batch.batchPrimitiveMode = batchMode;
        batch.batchVertexPointer = batchRecords;
    }
    static BackingStoreFrame& StoredFrame(COpenGLView& view) { return view.m_backingStoreFrame; }
};

} // namespace KTR
