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
    static VertexBatchState& Batch(COpenGLView& view) { return view.m_batch; }
    static TextState& Text(COpenGLView& view) { return view.m_text; }
};

} // namespace KTR
