#include "../view/OpenGLView.h"

#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "FusedQuadrilateral.h"
#include "ImageDrawing.h"
#include "ImageUpload.h"
#include "RasterState.h"
#include "TreatedImage.h"

#include <algorithm>
#include <cmath>

namespace KTR {

namespace {

/// `value` within its range, `otherwise` where it is no number.
float Within(double value, double low, double high, double otherwise) {
    return static_cast<float>(std::isnan(value) ? otherwise : std::clamp(value, low, high));
}

} // namespace

long COpenGLView::LoadDataRaster(unsigned int type, int width, int height, int rowAlignment, unsigned int filter,
                                 const void* values, const GLDataStyle& style, unsigned int& texture,
                                 unsigned int& sampler) {
    const DataRows rows{type, width, height, rowAlignment, values};
    if (!IsLoadable(rows)) {
        return E_INVALIDARG;
    }
    if (!ViewAccess::HasCurrentContext(*this)) {
        return E_FAIL;
    }
    if (const int limit = GetContextMaxTextureSize(); width > limit || height > limit) {
        return E_INVALIDARG;
    }
    try {
        if (!m_rasters || !IsSameStyle(m_rasters->style, style)) {
            m_rasters = std::make_unique<RasterState>(style);
        }
        const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
        const auto rgba = std::make_unique_for_overwrite<unsigned char[]>(bytes);
        m_rasters->colors.Convert(rows, rgba.get());
        return UploadImage(*this, {GL_RGBA, width, height, width, 1, rgba.get()}, GL_TEXTURE0, filter, texture,
                           sampler);
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

long COpenGLView::UpdateGLImage(unsigned int texture, unsigned int format, int x, int y, int width, int height,
                                int rowAlignment, const void* pixels) {
    const ImageRows image{format, width, height, width, rowAlignment, static_cast<const unsigned char*>(pixels)};
    if (texture == 0 || !pixels || !IsLoadable(image) || format == GL_DEPTH_COMPONENT) {
        return E_INVALIDARG;
    }
    if (!ViewAccess::HasCurrentContext(*this)) {
        return E_FAIL;
    }
    if (const int limit = GetContextMaxTextureSize(); width > limit || height > limit) {
        return E_INVALIDARG;
    }
    try {
        const TreatedImage treated(CurrentRecord().attributes, image, 0, 0, width, height);
        return UpdateImage(*this, texture, x, y, treated.Rows());
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

void COpenGLView::DrawSetupNoDataTolerance(int levels) {
    CurrentRecord().attributes.noDataTolerance = std::clamp(levels, 0, 255);
}

void COpenGLView::DrawSetupImageAdjustment(double contrast, double brightness, double gamma) {
    CurrentRecord().attributes.imageAdjustment = {Within(contrast, 0.0, 100.0, 1.0), Within(brightness, -1.0, 1.0, 0.0),
                                                  Within(gamma, 0.01, 100.0, 1.0)};
}

void COpenGLView::SetTextureCacheOrder(GLTextureCacheOrder order) {
    m_gRasterTextureManager.SetOrder(order);
}

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
