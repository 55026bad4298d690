#include "ImageDrawing.h"

#include "../pipeline/TextureUnit.h"
#include "../view/ViewAccess.h"

#include <glm/gtc/matrix_transform.hpp>

#include <cmath>

namespace KTR {

ImageDrawing::ImageDrawing(COpenGLView& view, const glm::dvec3& origin, unsigned int texture, unsigned int sampler,
                           GLShaderTypes program)
    : m_view(view), m_state(view, program == GLShaderTextureDecalFusion ? DrawnThing::TwoImages : DrawnThing::Image) {
    m_state.PrepareForDrawing();
    // One matrix, formed in double precision: map coordinates and the view's offset cancel before they are rounded.
    MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    matrices.projection = matrices.projection * glm::translate(matrices.modelview, origin);
    matrices.modelview = glm::dmat4(1.0);
    view.LoadCurrentMatrices();
    view.Enable(GL_BLEND);
    view.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    if (!view.DrawsWithPrograms()) {
        view.Disable(GL_LIGHTING);
    }
    view.DrawSetupSetShaderTexture(texture, sampler);
    view.EnableClientStateInternalBuffers(true, false, true, true, program);
    if (!view.DrawsWithPrograms()) {
        // They take the transparency from the vertices, programs from the context.
        view.TexEnv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    }
}

void ImageDrawing::UseTexture(unsigned int texture, unsigned int sampler) const {
    const GLCalls gl = ViewAccess::CallGL(m_view);
    if (m_view.DrawsWithPrograms()) {
        BindTextureUnit(gl, 0, texture, sampler);
    } else {
        gl.glBindTexture(GL_TEXTURE_2D, texture);
    }
}

unsigned char ImageAlpha(const COpenGLView& view) {
    const float transparency = ViewAccess::CurrentRecord(view).attributes.textureTransparency;
    return static_cast<unsigned char>(std::lround(transparency * 255.0F));
}

void BeginQuadrilaterals(COpenGLView& view) {
    view.BeginArrays(GL_TRIANGLES, GLShaderTextureDecal);
}

void AddQuadrilateral(COpenGLView& view, const PointXYZ* corners, const GLTexCoords* coordinates) {
    const unsigned char alpha = ImageAlpha(view);
    for (const int corner : kTrianglesOfQuadrilateral) {
        view.AddTextureDataCurrentIndex(coordinates[corner].s, coordinates[corner].t);
        view.AddIndex3DVertexRGBA(corners[corner].x, corners[corner].y, corners[corner].z, 255, 255, 255, alpha);
    }
}

void AddQuadrilateral(COpenGLView& view, const PointXYZ* corners, const GLTexCoords* coordinates,
                      const glm::dvec3& origin) {
    PointXYZ relative[4];
    for (int corner = 0; corner < 4; ++corner) {
        relative[corner] = {corners[corner].x - origin.x, corners[corner].y - origin.y, corners[corner].z - origin.z};
    }
    AddQuadrilateral(view, relative, coordinates);
}

glm::dvec3 OriginInView(const COpenGLView& view, const PointXYZ& otherwise) {
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    const glm::dvec4 middle = glm::inverse(matrices.projection * matrices.modelview) * glm::dvec4(0.0, 0.0, 0.0, 1.0);
    const glm::dvec3 origin = glm::dvec3(middle) / middle.w;
    const bool finite = std::isfinite(origin.x) && std::isfinite(origin.y) && std::isfinite(origin.z);
    return finite ? origin : glm::dvec3(otherwise.x, otherwise.y, otherwise.z);
}

} // namespace KTR
