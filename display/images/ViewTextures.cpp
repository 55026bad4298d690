#include "../view/OpenGLView.h"

#include "../platform/GLTypes.h"

namespace KTR {

void COpenGLView::DeleteTextureAndSamplerNames(unsigned int& texture, unsigned int& sampler) {
    if (!IsMyContextCurrent(m_currentContext)) {
        return;
    }
    const COrrinGLCement* gl = CurrentGL();
    if (texture != 0) {
        gl->glDeleteTextures(1, &texture);
        outputGlError(L"glDeleteTextures: END");
        texture = 0;
    }
    if (sampler != 0 && gl->glDeleteSamplers) {
        gl->glDeleteSamplers(1, &sampler);
        outputGlError(L"glDeleteSamplers: END");
        sampler = 0;
    }
}

} // namespace KTR
