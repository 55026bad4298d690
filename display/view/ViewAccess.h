#pragma once

#include "../platform/GLCalls.h"
#include "OpenGLView.h"

namespace KTR {

/// What the library's own rooms see of a view beyond its public face, so that their functions need not be members of
/// it. Hosts do not get this header.
struct ViewAccess {
    static GLRenderingContextRecord& CurrentRecord(COpenGLView& view) { return view.CurrentRecord(); }
    static const GLRenderingContextRecord& CurrentRecord(const COpenGLView& view) { return view.CurrentRecord(); }
    static MatrixSet& CurrentMatrices(const COpenGLView& view) { return view.CurrentMath().Matrices(); }
    /// For who is about to change something: draws the vertices that wait.
    static GLCalls CallGL(COpenGLView& view) { return view.CallGL(); }
    /// For questions.
    static GLCalls CurrentGL(const COpenGLView& view) { return view.CurrentGL(); }
    static GLRenderingContextRecord& Record(COpenGLView& view, GLRenderingContextTypes type) {
        return view.m_contexts[type];
    }
    static void SelectRecord(COpenGLView& view, GLRenderingContextTypes type) { view.SelectRecord(type); }
    static const MatrixSet& Matrices(const COpenGLView& view, GLRenderingContextTypes type) {
        return view.MathOf(type).Matrices();
    }
    /// The objects of the context that the current record names.
    static ContextObjects& CurrentObjects(COpenGLView& view) { return view.CurrentObjects(); }
    static bool HasCurrentContext(const COpenGLView& view) { return view.HasCurrentContext(); }
    static ShaderSet& StockPrograms() { return COpenGLView::m_gShaderSet; }
    static void CountGpuWaits(COpenGLView& view, unsigned long long waits) { view.m_gpuWaits += waits; }
    static const COpenGLView::TextureRequest& TextureRequest(const COpenGLView& view) { return view.m_textureRequest; }
    static VertexBatchState& Batch(COpenGLView& view) { return view.m_batch; }
    static TextState& Text(COpenGLView& view) { return view.m_text; }
};

} // namespace KTR
