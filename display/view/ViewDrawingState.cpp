#include "OpenGLView.h"

#include <algorithm>
#include <iterator>

namespace KTR {

GLDrawingState COpenGLView::GetDrawingState() const {
    const GLRenderingContextRecord& record = CurrentRecord();
    if (!record.renderingContext) {
        return GLDrawingNoContext;
    }
    if (!HasCurrentContext()) {
        return GLDrawingNotCurrent;
    }
    if (!record.glCement || record.glCement->ullFound == 0) {
        return GLDrawingNoFunctions;
    }
    if (!DrawsWithPrograms()) {
        return GLDrawingReady;
    }
    if (std::any_of(std::begin(m_gShaderSet.programs), std::end(m_gShaderSet.programs),
                    [](const ShaderData& data) { return data.program == 0; })) {
        return GLDrawingNoPrograms;
    }
    return CurrentObjects().ring.WasRefused() ? GLDrawingNoVertexStorage : GLDrawingReady;
}

} // namespace KTR
