#include "../view/OpenGLView.h"

#include "../view/ViewAccess.h"
#include "FusedQuadrilateral.h"
#include "ImageDrawing.h"

#include <algorithm>

namespace KTR {

long COpenGLView::MakeFusionTextureActive() {
    const GLTextureObject& request = m_requestedTexture;
    const bool there = request.texture != 0;
    m_textureRequest.fusionTexture = request.texture;
    m_textureRequest.fusionSampler = there ? request.sampler : 0;
    SetLoadNewTextureFlag(!there, !there);
    const bool complete = there && (IsCurrentContextOpenGL4OrLater() || request.sampler != 0);
    return complete ? S_OK : E_INVALIDARG;
}

unsigned int COpenGLView::GetFusionTexture() const {
    return m_textureRequest.fusionTexture;
}

long COpenGLView::DrawFusionOnQuadrilateral(const PointXYZ* corners, const GLTexCoords* coordinates,
                                            const GLTexCoords* fusionCoordinates, GLFusionMode mode, double amount) {
    const TextureRequest& names = m_textureRequest;
    if (names.activeTexture == 0 || !corners || mode < GLFusionBlend || mode > GLFusionAdd) {
        return E_INVALIDARG;
    }
    if (names.fusionTexture == 0 || !(amount > 0.0)) {
        return Draw2DTextureOnQuadrilateral(corners, coordinates);
    }
    if (!ViewAccess::HasCurrentContext(*this)) {
        return E_FAIL;
    }
    FusedQuadrilateral one;
    one.texture = names.activeTexture;
    one.sampler = names.textureSampler;
    one.fusionTexture = names.fusionTexture;
    one.fusionSampler = names.fusionSampler;
    std::copy_n(corners, 4, one.corners);
    std::copy_n(coordinates ? coordinates : kWholeTexture, 4, one.coordinates);
    std::copy_n(fusionCoordinates ? fusionCoordinates : kWholeTexture, 4, one.fusionCoordinates);
    DrawFusedQuadrilaterals(*this, {&one, 1}, mode, std::min(amount, 1.0));
    return S_OK;
}

} // namespace KTR
